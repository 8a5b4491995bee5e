// What the programs read from columns of numbers: decays, distributions, grids and kernel
// matrices. table.hpp describes the format of the files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// The columns of a decay, as numbers from 1 or as names of the header line: abscissa,
/// amplitude, and the imaginary channel of complex data, if there is one.
struct ColumnChoice {
  std::string text;  ///< as the user gave it
  std::vector<std::string> columns;
};

/// Reads "X,Y" or "X,Y,IM". Throws UserError, which names `option`, for anything else.
ColumnChoice parseColumns(std::string_view text, std::string_view option);

/// How the file of a decay is to be read.
struct DecayFormat {
  std::optional<ColumnChoice> columns;  ///< without it the file must have two
  Quantity abscissa = Quantity::time;
  double unit = 1.0;  ///< SI units in one of the file's abscissa
};

/// The decay in `path` ("-": standard input). Throws UserError, which names file and line,
/// for a file that can't be read, a column that isn't there, a field that is no finite
/// number, times that are negative or do not rise, fewer than two rows, amplitudes that
/// are all 0 or beyond all units.
MeasuredDecay readMeasuredDecay(const std::filesystem::path& path, const DecayFormat& format);

/// The decay in a file of two columns, times in seconds.
Decay readDecay(const std::filesystem::path& path);

/// The distribution in the first two columns of `path`, for comparison. Throws UserError
/// as readDecay does, and for times of 0 or amplitudes below 0.
Distribution readDistribution(const std::filesystem::path& path,
                              Quantity quantity = Quantity::time);

/// The grid in the first column of `path`, in SI units. Throws UserError as readDecay
/// does, and for values of 0.
std::vector<double> readGrid(const std::filesystem::path& path, Quantity quantity);

/// All columns of `path`. Throws UserError as readDecay does.
Matrix readMatrix(const std::filesystem::path& path);

}  // namespace vorin::toolkit
