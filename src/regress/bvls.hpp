// Least squares with bounds on every coefficient: BVLS, the active-set method of
// Lawson and Hanson (Solving Least Squares Problems, SIAM Classics in Applied
// Mathematics 15, 1995, appendix C), which extends their NNLS.
#pragma once

#include <cstdint>

#include "toolbox/views.hpp"

namespace vorin::regress {

/// What `ierr` holds after BVLS and after everything that ends in it.
enum BvlsStatus : std::int32_t {
  bvlsSolved = 0,
  bvlsEmpty = 1,           ///< A has no rows or no columns
  bvlsShortArray = 2,      ///< a vector or the bounds are too short for A
  bvlsNanBound = 3,        ///< a pair of bounds whose difference is not a number
  bvlsIterationLimit = 4,  ///< more solves than the limit allows
};

/// Minimises |A x - B| subject to BND(0, j) <= x(j) <= BND(1, j). The m-by-n shape
/// is that of the view `A`.
///   A      in, destroyed: m by n; reflections and rotations are applied in place
///   B      in, destroyed: right-hand side, m, transformed with A
///   BND    in: 2 by n, lower bounds in row 0, upper bounds in row 1. A bound at or
///          beyond the largest finite value of the type means none. A lower bound
///          at or above the upper one fixes the coefficient at the lower bound.
///   X      out: solution, n. After bvlsIterationLimit it holds the last solve on
///          set P as it came, elements outside their bounds included.
///   rnorm  out: the norm of the residual; not written when ierr is positive
///   nsetp  out: number of coefficients in the solved set P
///   W      out: dual vector A'(B - A x), n; 0 for coefficients of P and for fixed ones
///   INDEX  out: a permutation of the column numbers 1 .. n (counted from 1): set P
///          in the order of its triangular columns, then the candidates of set Z,
///          then the fixed ones
///   itmax  in: limit on the solves; below 3n it counts as 20n
///   ierr   out: a BvlsStatus. Nothing else is meaningful after 1, 2 and 3.
void BVLS_sp(MatrixView<float> A, VectorView<float> B, MatrixView<const float> BND,
             VectorView<float> X, float& rnorm, std::int32_t& nsetp, VectorView<float> W,
             VectorView<std::int32_t> INDEX, std::int32_t itmax, std::int32_t& ierr);
void BVLS_dp(MatrixView<double> A, VectorView<double> B, MatrixView<const double> BND,
             VectorView<double> X, double& rnorm, std::int32_t& nsetp, VectorView<double> W,
             VectorView<std::int32_t> INDEX, std::int32_t itmax, std::int32_t& ierr);

/// BVLS with every coefficient held in [0, largest finite value], that is, with
/// x >= 0 and no upper bound. Arguments as above; A and b are destroyed.
void plsB_sp(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
             std::int32_t itmax, std::int32_t& status);
void plsB_dp(MatrixView<double> A, VectorView<double> b, VectorView<double> x, double& rnorm,
             std::int32_t itmax, std::int32_t& status);

}  // namespace vorin::regress
