// The least-squares solution from a singular value decomposition (Golub and Reinsch,
// Numer. Math. 14, 403, 1970).
#pragma once

#include "toolbox/views.hpp"

namespace vorin {

/// x = V diag(1/w) U' b, where a w of exactly 0 drops its direction. Which small values
/// count as 0 is the caller's business: any other value divides, however small.
///   u  m by n, w  n, v  n by n (V, not V'), b  m: inputs only
///   x  out, n
/// Sizes that don't agree leave a record in the log, and the routine goes on with what
/// all of its arguments have. No routine of the library calls the form in double precision.
void svbksb_sp(MatrixView<const float> u, VectorView<const float> w, MatrixView<const float> v,
               VectorView<const float> b, VectorView<float> x);
void svbksb_dp(MatrixView<const double> u, VectorView<const double> w, MatrixView<const double> v,
               VectorView<const double> b, VectorView<double> x);

}  // namespace vorin
