// Logarithmic grids of relaxation times.
#pragma once

#include <string_view>
#include <vector>

namespace vorin::host {

/// `points` times from `from` to `to`, evenly spaced in their logarithm, both ends exact.
struct LogGrid {
  double from = 0.0;
  double to = 0.0;
  int points = 0;

  std::vector<double> times() const;
};

/// Reads "FROM:TO:N", seconds and a count of 2 or more. Throws UserError, which
/// names `option`, for anything else.
LogGrid parseGrid(std::string_view text, std::string_view option);

/// The grid for a decay sampled at `times`: from a third of the first time above 0
/// to three times the last, 100 points. Outside this range a relaxation time leaves
/// no trace in the samples that would tell it from its neighbours.
LogGrid gridFor(const std::vector<double>& times);

}  // namespace vorin::host
