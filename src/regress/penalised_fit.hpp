// Penalised linear fits by the normal equations, and the plain non-negative fit.
//
// Given a design matrix X (m by n), data y (m) and weights lambda(0 .. K):
//
//     A = X'X + sum over k of lambda(k) P(k),   c = X'y
//
// with the k-th order difference penalty P(k) = D(k)'D(k): lambda(0) is a ridge
// term, lambda(1) weighs differences of neighbours, lambda(2) curvature.
//
// All arguments are views, since callers pass sections of larger arrays; nothing
// but x is written to. The routines report by status alone.
#pragma once

#include <cstdint>

#include "toolbox/views.hpp"

namespace vorin::regress {

/// The x >= 0 that minimises |A x - c|.
///
/// Required: A x = c is treated as a least-squares problem in its own right. What
/// is minimised is a norm in the space of the normal equations, not |X x - y| with
/// penalties, so the result differs from a non-negative fit of X to y as soon as a
/// bound is active, and the condition number of X is squared. Noise estimates and
/// hosts rely on the numbers this gives.
///
///   X       in: m by n; m below 1 leaves the penalties alone and c = 0
///   y       in: at least m elements
///   x       out: at least n elements; after status 4 the last solve as it came
///   lambda  in: K + 1 weights, index 0 first; its extent alone is the number of orders
///           added. A weight of an order of n or above has no effect.
///   status  out: a BvlsStatus (bvls.hpp), 0 when done
void plsPen_sp(MatrixView<const float> X, VectorView<const float> y, VectorView<float> x,
               VectorView<const float> lambda, std::int32_t& status);
void plsPen_dp(MatrixView<const double> X, VectorView<const double> y, VectorView<double> x,
               VectorView<const double> lambda, std::int32_t& status);

/// The x, of either sign, that solves A x = c by LU with partial pivoting, in single
/// precision. Arguments as for plsPen_sp, except that status is always 0.
///
/// Required: the result codes of the factorisation are not looked at. A singular A
/// gives whatever its factors give, infinities and NaN included, with status 0.
void LUPen_sp(MatrixView<const float> X, VectorView<const float> y, VectorView<float> x,
              VectorView<const float> lambda, std::int32_t& status);

/// The x >= 0 that minimises |A x - b|, by NNLS_s on private copies of A and b: no
/// penalty and no normal equations.
///   x       out: at least n elements; untouched when A has no rows or no columns
///   rnorm   out: norm of the residual; untouched as x is
///   iterationLimit  in: accepted and without influence; NNLS_s keeps its own 3n
///   status  out: a brd::NnlsMode (nnls.hpp), 1 when done
void plsN_sp(MatrixView<const float> A, VectorView<const float> b, VectorView<float> x,
             float& rnorm, std::int32_t iterationLimit, std::int32_t& status);

/// The limit that the penalised fits ask of BVLS: 5n, and 50 at least.
std::int32_t fitIterationLimit(std::int64_t n);

}  // namespace vorin::regress
