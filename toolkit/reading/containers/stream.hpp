// What vorin-containers, the program that reads HDF5 and MATLAB files, answers to the toolkit: a
// stream of records on its standard output, numbers in the byte order of the machine.
//
//   "VORINC1\n", then records of one byte of kind and their content:
//     array   name, times, unit (texts), rank, extents, 0 or 1 for complex, numbers
//     listed  name, what it holds instead of numbers that can be read (texts)
//     error   a sentence without the name of the file; the last record
//     end     nothing; the last record
//   A text is its length (32 bits) and its bytes, the rank 32 bits, an extent 64 bits; complex
//   numbers follow as all real and then all imaginary parts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit::containers {

/// An array of a container, in row-major order.
struct Array {
  std::string name;   ///< path: "/scan/signal" in HDF5, "scan.signal" in MATLAB files
  std::string times;  ///< the name of the array that holds its abscissa, where the file tells it
  std::string unit;   ///< as the file spells it, or nothing
  std::vector<std::uint64_t> shape;
  std::vector<double> real;
  std::vector<double> imaginary;  ///< as many numbers; empty for an array of real ones
};

/// What a container holds beside arrays of numbers of one or two dimensions.
struct Listed {
  std::string name;
  std::string what;  ///< "text", "4 x 5 x 6 numbers"
};

struct Content {
  std::vector<Array> arrays;
  std::vector<Listed> listed;
  std::string error;  ///< why the file can't be read; empty where it can
};

/// No container gives more numbers than this, whatever its header asks for.
inline constexpr std::uint64_t mostNumbers = 50'000'000;
/// More objects than any file of decays has.
inline constexpr std::size_t mostObjects = 10'000;
inline constexpr std::size_t longestName = 1000;

/// How many numbers a file of `bytes` may unfold to: 64 MB and a hundred times its size.
std::uint64_t numbersAllowed(std::uint64_t bytes);

/// The pieces of the stream.
std::string encodedStart();
std::string encoded(const Array& array);
std::string encoded(const Listed& listed);
std::string encodedError(std::string_view sentence);
std::string encodedEnd();

/// Reads the stream. False where it is cut or is no such stream; `content` then holds a part.
bool decode(std::string_view bytes, Content& content);

}  // namespace vorin::toolkit::containers
