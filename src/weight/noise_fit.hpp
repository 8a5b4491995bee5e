// The noise from a single fit of the data instead of a series of solves.
#pragma once

#include <cstdint>

#include "brd/problem.hpp"

namespace vorin::weight {

/// The standard error of the plain non-negative fit: with no regularisation its
/// residual is the smallest that any distribution on this kernel can reach, so it
/// estimates the noise.
///   f       out, n: the fit
///   term    in: accepted and without influence
///   sig     out: sqrt(|K f - d|^2 / m), formed from f also after a failed fit
///   status  out: that of the fit, 1 when done
void VorinCalcSEU(const brd::Problem<float>& problem, float* f, float term, float& sig,
                  std::int32_t& status);

/// The standard error of a non-negative ridge fit with the weight `ridge` on |f|^2.
/// Arguments as above; status is 0 when done.
void VorinCalcSER(const brd::Problem<float>& problem, float* f, float ridge, float& sig,
                  std::int32_t& status);

}  // namespace vorin::weight
