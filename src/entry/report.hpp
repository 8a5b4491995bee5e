// What every driver does at the start and at the end of an inversion, and its log lines.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "entry/driver.hpp"

namespace vorin::entry {

/// Writes `message`, cut to the drivers' 70 characters, as a line of module Vorin.
void report(std::string_view message);

/// `start`, then the number of points and the number of rows they became.
std::string reductionLine(std::string_view start, int points, int rows);

/// Opens the log, sets every point weight to 1, says that the inversion starts.
void beginInversion(const Inversion& job);

/// Forms the fit on the full data, a second passage over the kernel, unless neither the
/// host nor, with `saves`, the save section reads it. Says how the inversion ended.
void endInversion(const Inversion& job, bool saves, std::int32_t status);

}  // namespace vorin::entry
