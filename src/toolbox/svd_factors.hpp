// The singular value decomposition that compression and the truncated solve build
// on: in single precision, in place, with room for n values whatever the shape.
#pragma once

namespace vorin {

/// Decomposes a = U diag(s) V' for the m-by-n matrix `a` (leading dimension `lda`).
///   a   in and out: U, m by n, on return
///   s   out, n: singular values, the largest first
///   vt  out, n by n, contiguous: V' in full
///
/// With fewer rows than columns there are m singular values only. The other n - m
/// are 0 and so are their columns of U; their rows of V' complete an orthonormal
/// basis, since V' is required in full. So the product holds, and a caller that forms
/// s[i] times row i of V', or drops directions with s[i] = 0, needs no special case.
/// A matrix without rows has only zero values, and V' is the identity.
///
/// A matrix that is not finite has no decomposition, and iterating on one need not
/// end well: all three are filled with NaN, which the callers pass on.
void decomposeInPlace(int m, int n, float* a, int lda, float* s, float* vt);

}  // namespace vorin
