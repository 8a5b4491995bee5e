// Grids of relaxation times, or of what else a distribution is over.
#pragma once

#include <string_view>
#include <vector>

#include "toolkit/model/kernel.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// `points` times from `from` to `to`, evenly spaced in their logarithm, both ends exact.
struct LogGrid {
  double from = 0.0;
  double to = 0.0;
  int points = 0;

  std::vector<double> times() const;
};

/// Reads "FROM:TO:N", two values with or without a unit ("1ms:10s:100"; without one they
/// are in SI units) and a count of 2 or more. Throws UserError, which names `option`, for
/// anything else.
LogGrid parseGrid(std::string_view text, std::string_view option,
                  Quantity quantity = Quantity::time);

/// The values that `text` describes: "FROM:TO:N", or the name of a file whose first
/// column holds them in SI units, rising and above 0. Throws UserError for anything else.
std::vector<double> gridValues(std::string_view text, std::string_view option, Quantity quantity);

/// The grid for a decay sampled at `times`: from a third of the first time above 0
/// to three times the last, 100 points. Outside this range a relaxation time is
/// not distinguished from its neighbours by the samples. For diffusion
/// `times` are b values and the range is that of the reciprocals.
LogGrid gridFor(const std::vector<double>& times, Kernel kernel = Kernel::t2);

}  // namespace vorin::toolkit
