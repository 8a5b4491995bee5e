// Non-negative least squares: NNLS of Lawson and Hanson (Solving Least Squares
// Problems, Prentice-Hall 1974, chapter 23; SIAM Classics 15, 1995).
#pragma once

#include <cstdint>

#include "toolbox/views.hpp"

namespace vorin::brd {

/// What `mode` holds after NNLS. Success is 1, unlike anywhere else here.
enum NnlsMode : std::int32_t {
  nnlsSolved = 1,
  nnlsEmpty = 2,           ///< A has no rows or no columns; nothing else was touched
  nnlsIterationLimit = 3,  ///< more than 3n solves on set P; logged once
};

/// Minimises |A x - b| subject to x >= 0. The m-by-n shape is that of the view `A`.
///   A      in and out: m by n; overwritten with Q A, Q orthogonal
///   b      in and out: m; overwritten with Q b
///   x      out: solution, n. After nnlsIterationLimit that of the last
///          complete solve.
///   rnorm  out: Euclidean norm of the residual
///   w      out: dual vector A'(b - A x), n; 0 for the positive elements of x, at
///          most 0 for the others; all 0 when P holds as many columns as A has rows
///   index  out: n column numbers, counted from 1: first those of the positive set
///          P, then those of the zero set Z
///   mode   out: an NnlsMode
void NNLS_s(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
            VectorView<float> w, VectorView<std::int32_t> index, std::int32_t& mode);
void NNLS_d(MatrixView<double> A, VectorView<double> b, VectorView<double> x, double& rnorm,
            VectorView<double> w, VectorView<std::int32_t> index, std::int32_t& mode);

}  // namespace vorin::brd
