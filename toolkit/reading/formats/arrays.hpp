// Arrays by name, as numpy, MATLAB and HDF5 keep them.
#pragma once

#include <string>
#include <vector>

#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/npy.hpp"

namespace vorin::toolkit {

/// The columns of a container with `arrays`, all of one or two dimensions: those of the array that
/// `inner` names, or of the only one, or, where several vectors are equally long, these vectors by
/// their names. `kind` is what the file is called. Where exactly two vectors are equally long and
/// one of them rises, they are taken as times and amplitudes.
ColumnsFound columnsOfArrays(std::vector<NumberArray> arrays, const std::string& file,
                             const std::string& inner, const std::string& kind);

/// numpy's .npy and .npz. `inner` is the name of an array in the latter.
ColumnsFound readNumpy(const FormatInput& input, const std::string& inner);

/// A workbook as text with tabs between the cells, a line for each row of a sheet. `inner` is the
/// name of the sheet, the first unless it is given; `name` is completed by it.
std::string workbookText(const std::filesystem::path& path, const std::string& inner,
                         std::string& name);

}  // namespace vorin::toolkit
