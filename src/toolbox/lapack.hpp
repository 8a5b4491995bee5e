// The few LAPACK routines the library uses, overloaded by precision.
//
// LU factorisation with partial pivoting and its solve, and the singular value
// decomposition (GETRF, GETRS, GESVD; Anderson et al., LAPACK Users' Guide, 3rd
// ed., SIAM 1999). Result codes are not looked at: a singular matrix gives
// whatever its factors give, and the callers report through their own status.
// Matrices are column-major.
#pragma once

namespace vorin {

/// Factors the n-by-n matrix `a` (leading dimension `lda`) in place; `pivots`
/// takes n row numbers. n below 1 does nothing.
void getrf(int n, float* a, int lda, int* pivots);
void getrf(int n, double* a, int lda, int* pivots);

/// Replaces `b` (n) by the solution of A x = b, from the factors and pivots that
/// getrf left. No transposition, one right-hand side. n below 1 does nothing.
void getrs(int n, const float* lu, int lda, const int* pivots, float* b);
void getrs(int n, const double* lu, int lda, const int* pivots, double* b);

/// A = U diag(s) V' of the m-by-n matrix `a` (leading dimension `lda`): with
/// k = min(m, n), the first k columns of `a` take U, its other columns are left
/// undefined; `s` takes the k singular values, the largest first; `vt` (n by n,
/// leading dimension `ldvt`) takes V' in full, all n rows orthonormal. m or n
/// below 1 does nothing. The matrix must be finite.
void gesvd(int m, int n, float* a, int lda, float* s, float* vt, int ldvt);

/// The same in its short form: with k = min(m, n), `u` (m by k, contiguous) takes the first k
/// columns of U and `vt` (k by n, contiguous) the first k rows of V'; `a` (m by n, contiguous)
/// is destroyed. Without U (`u` null) a tall matrix costs a third. Returns false when the
/// iteration for the singular values does not converge.
/// m or n below 1 does nothing and succeeds. The matrix must be finite.
bool gesvdShort(int m, int n, double* a, double* s, double* u, double* vt);

}  // namespace vorin
