// The L-curve of an inversion: how the norm of the distribution falls and that of the
// residual rises with the weight, and the corner that the library's search takes.
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/model/decay.hpp"

namespace vorin::toolkit {

/// One solve of the reduced problem, in the unit of the data.
struct LCurvePoint {
  double weight = 0.0;
  double residualNorm = 0.0;  ///< |K f - d|, root of the sum over the reduced samples
  double solutionNorm = 0.0;  ///< |f|, root of the sum over the grid
};

struct LCurve {
  std::vector<LCurvePoint> points;  ///< at the 17 weights of the library's corner search, rising
  std::size_t corner = 0;           ///< the point that the corner search takes
  LCurvePoint used;                 ///< at the weight of the inversion
};

/// The curve on the very problem that `inversion`, which invert(decay, settings) returned, was
/// solved on: the same samples, bins and compressed rows. The weights are 10^e times
/// 50 |K|^2 / (m snr^2) for e from -2 to 2 in steps of 0.25, where snr is the first fitted
/// sample over the standard error of a first fit (compare Hansen and O'Leary, SIAM J. Sci.
/// Comput. 14, 1487, 1993).
/// Throws UserError where these weights are not positive numbers: a first fit without residual or
/// without signal.
LCurve lCurve(const Decay& decay, const InversionSettings& settings, const Inversion& inversion);

}  // namespace vorin::toolkit
