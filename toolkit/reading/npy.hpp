// Arrays as numpy saves them: files of the format NPY, versions 1 to 3 (numpy.lib.format).
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

/// The numbers of one array in row-major order, whatever the order in the file.
struct NumberArray {
  std::string name;  ///< the path, for messages
  std::vector<std::size_t> shape;
  std::vector<double> real;
  std::vector<double> imaginary;  ///< as many numbers; empty for an array of real ones
};

/// What the header of a file says of its array.
struct NpyHeader {
  char kind = 'f';         ///< f, c, i, u or b
  std::size_t size = 8;    ///< bytes of a number
  bool swapped = false;    ///< of the other byte order than this machine's
  bool byColumns = false;  ///< the first axis is the fastest
  std::vector<std::size_t> shape;
  std::size_t length = 0;  ///< bytes in front of the numbers
};

/// The header at the start of `content`, of an array of one dimension or more. Throws UserError,
/// which begins with `name`, for one that is cut and for arrays of anything but numbers.
NpyHeader npyHeader(std::string_view content, const std::string& name);

/// True when the file at `path` begins as such files do.
bool isNpy(const std::filesystem::path& path);

/// The same for content, and the array in it; `name` is that of the file in messages.
bool isNpyContent(std::string_view content);
NumberArray npyArray(std::string_view content, const std::string& name);

/// The array in `path`: integers, single or double precision, real or complex, of either byte
/// order, of one or two dimensions. Throws UserError for any other and for files that are cut.
NumberArray readNpy(const std::filesystem::path& path);

}  // namespace vorin::toolkit
