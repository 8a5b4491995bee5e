// Arrays by name, as numpy, MATLAB and HDF5 keep them.
#pragma once

#include <string>
#include <vector>

#include "toolkit/reading/containers/stream.hpp"
#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/npy.hpp"

namespace vorin::toolkit {

/// An array with what its file tells of it.
struct NamedArray : NumberArray {
  std::string times{};  ///< the name of the array that holds its abscissa, where the file tells it
  std::string unit{};   ///< as the file spells it, or nothing
};

/// A file of arrays, all of one or two dimensions.
struct ArrayFile {
  std::string name;   ///< for messages
  std::string kind;   ///< what such a file is called
  std::string inner;  ///< the array or group that the user named, or nothing
  std::vector<NamedArray> arrays;
  std::vector<std::string> others{};  ///< what it holds besides, for messages
};

/// The columns of the decay in `file`. Of a single array, or the one that `inner` names, these are
/// its columns, preceded by its times where the file has some: the array that it refers to, or one
/// of a fitting length beside it whose name says so. Of several arrays it is the only one with
/// times, or all that share their times, or, without names that tell, the vectors of equal length,
/// where of two the one that rises holds the times. Throws UserError where the user has to choose.
ColumnsFound columnsOfArrays(ArrayFile file);

/// The same for what vorin-containers answered; `file` has no arrays yet.
ColumnsFound columnsOfContent(containers::Content content, ArrayFile file);

/// HDF5 and MATLAB files, by the program vorin-containers. `inner` is the path of an array or a
/// group, or the name of a variable or a field.
ColumnsFound readContainer(const FormatInput& input, const std::string& inner);

/// numpy's .npy and .npz. `inner` is the name of an array in the latter.
ColumnsFound readNumpy(const FormatInput& input, const std::string& inner);

/// A workbook as text with tabs between the cells, a line for each row of a sheet. `inner` is the
/// name of the sheet, the first unless it is given; `name` is completed by it.
std::string workbookText(const std::filesystem::path& path, const std::string& inner,
                         std::string& name);

}  // namespace vorin::toolkit
