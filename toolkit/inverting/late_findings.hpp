// What only a finished inversion shows of its data.
#pragma once

#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

/// Adds to `inversion` what choose() could not see: a corner of the L-curve that is lost, signal
/// that is faster than the first sample. `start` is the time at which the decay becomes visible,
/// `residualNoise` that of the closest fit, in the unit of the data.
void addLateFindings(Inversion& inversion, Kernel kernel, double start, double residualNoise);

}  // namespace vorin::toolkit
