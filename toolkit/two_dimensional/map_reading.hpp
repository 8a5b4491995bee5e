// Files of two-dimensional data.
#pragma once

#include <filesystem>
#include <string>

#include "toolkit/two_dimensional/map_preparation.hpp"

namespace vorin::toolkit {

/// How a file of two-dimensional data is to be read.
struct MapFormat {
  Kernel kernel1 = Kernel::t1Inversion;
  Kernel kernel2 = Kernel::t2;
  double unit1 = 1.0;  ///< SI units in one of the file's first axis
  double unit2 = 1.0;
  std::string times1;  ///< file of the times of the first axis; none: they stand in the matrix
  std::string times2;
  std::string imaginary;  ///< file of the imaginary channel, a matrix of the same form
};

/// The data in `path` ("-": standard input), of one of these forms:
///  - a matrix whose first row holds the values of the second axis and whose first column those
///    of the first; the cell in the corner is free and may be empty;
///  - a plain matrix, a row a value of the first axis, with the files of both axes;
///  - either as an array of numpy's (.npy), which may be complex;
///  - the T1IRT2.dat of a Spinsolve, which has acqu.par beside it, or their folder: real and
///    imaginary parts in turn, times from acqu.par.
/// Throws UserError, which names file and line, for what can't be read, fields that are no finite
/// number, axes that are negative or do not rise, and matrices that do not fit together.
MeasuredMap readMap(const std::filesystem::path& path, const MapFormat& format);

}  // namespace vorin::toolkit
