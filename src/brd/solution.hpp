// What every route of one solve reports, and how it follows from the dual vector.
#pragma once

#include <cstdint>

namespace vorin::brd {

/// How an iterative solve ends; the values are those a host reads.
enum SolveStatus : std::int32_t {
  solveConverged = 0,
  solveFailed = 1,  ///< reached the limit of passes or of stalls
};

/// What a caller reads of a solve that reaches the limit of passes.
enum class Failure {
  reported,  ///< all of it
  discarded  ///< the status and the number of passes alone: no numbers need be computed
};

/// What a caller reads of a solve that converges.
enum class Success {
  reported,  ///< all of it
  deferred   ///< rss and its slope; its distribution later, if at all
};

struct Reads {
  Failure failure = Failure::reported;
  Success success = Success::reported;
};

template <class Real>
struct Solution {
  Real rss = 0;                          ///< w^2 (c . c), the residual sum of squares |K f - d|^2
  Real rssSlope = 0;                     ///< d rss / d w with the mask held
  std::int32_t status = solveConverged;  ///< or a QpStatus
  bool isDeferred = false;               ///< f has the mask of the solution in place of it
};

/// w^2 (c . c)
template <class Real>
Real residual(int m, const Real* c, Real weight) {
  Real square = 0;
  for (int j = 0; j < m; ++j) {
    square += c[j] * c[j];
  }
  return weight * weight * square;
}

/// rss and its derivative in w for c = (G + w I)^-1 d and x = (G + w I)^-1 c, m elements each.
/// With the mask held, K f - d = -w c and dc/dw = -x, so that
///   rss = w^2 (c . c),   d rss / d w = 2 w (c . c - w c . x).
template <class Real>
Solution<Real> residualAndSlope(int m, const Real* c, const Real* x, Real weight,
                                std::int32_t status) {
  Real square = 0;
  Real slope = 0;
  for (int j = 0; j < m; ++j) {
    square += c[j] * c[j];
    slope += (c[j] - x[j] * weight) * c[j];
  }
  return {weight * weight * square, weight * Real(2) * slope, status};
}

}  // namespace vorin::brd
