// Brent's method for a root of a function of one variable, in single precision.
#pragma once

#include <cstdint>
#include <functional>

namespace vorin {

/// The root of func between x1 and x2, to tol (absolute) or to the precision of the
/// numbers, whichever is coarser: inverse quadratic interpolation or the secant
/// where they do better than bisection (R. P. Brent, Algorithms for Minimization
/// without Derivatives, Prentice-Hall 1973, chapter 4).
///   status  0, or 1 when 100 passes were not enough; the best point so far is
///           returned then, and no record is left.
/// Two values of one sign at x1 and x2 leave a record, do not touch status, and the
/// iteration starts all the same.
///
/// No routine of the library calls it; it belongs to the toolbox.
float zbrent(const std::function<float(float)>& func, float x1, float x2, float tol,
             std::int32_t& status);

}  // namespace vorin
