// A self-contained singular value decomposition on views: Householder reduction to
// bidiagonal form, then implicit QR (Golub and Reinsch, Numer. Math. 14, 403, 1970).
//
// No routine of the library calls it: the library decomposes by LAPACK (svd_factors.hpp). It
// belongs to the toolbox, for sections of larger arrays.
#pragma once

#include "toolbox/views.hpp"

namespace vorin {

/// a = U diag(w) V'.
///   a  in and out, m by n: U on return. With m below n at most m of its columns are
///      orthonormal; the others belong to values of 0.
///   w  out, n: singular values, not sorted, not negative
///   v  out, n by n: V, and not V'
/// When the sizes of a, v and w don't agree, a record with the tag "svdcmp_sp" (or
/// "svdcmp_dp") goes to the log and nothing is written. When a value doesn't converge
/// within 30 passes, as with a matrix that is not finite, a record says so and the work
/// goes on with the value reached, possibly negative. The shift of a pass squares
/// singular values, so their squares must lie in the range of the type.
void svdcmp_sp(MatrixView<float> a, VectorView<float> w, MatrixView<float> v);
void svdcmp_dp(MatrixView<double> a, VectorView<double> w, MatrixView<double> v);

}  // namespace vorin
