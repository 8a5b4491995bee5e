// A kernel's triangular factor, cut where its rounding begins, for compressions that need
// singular values and right vectors but no left ones.
//
// With K = Q R (Q of orthonormal columns) the decomposition R = W S V' gives
//     K = (Q W) S V',   U'd = W'(Q'd),
// so that only R and Q'd are needed, and R has a few tens of rows where K has thousands. R is
// the Cholesky factor of K'K with diagonal pivoting (Higham, Accuracy and Stability of
// Numerical Algorithms, 2nd ed., 2002, section 10.3), and Q'd solves R' y = K'd.
//
// K'K has the square of the kernel's condition; in double precision that is what single
// precision has to spare. Products of single-precision numbers are exact in double, so that
// singular values down to 1e-8 of the largest show in K'K, where a single-precision decomposition
// ends at 1e-7; what the factor leaves out is below the latter's rounding.
#pragma once

#include <vector>

namespace vorin::reduce {

struct PivotedFactor {
  int rank = 0;
  std::vector<float> transposed;  ///< R', n x rank, column-major; R'R = K'K
  std::vector<double> projected;  ///< rank: Q'd
};

/// Factors K (m x n, column-major, leading dimension ldK) and projects d (m). False, when there
/// is nothing to factor, when a number is not finite, and when squares or norms come near an
/// end of the range of their precision.
bool pivotedCholesky(int m, int n, const float* K, int ldK, const float* d, PivotedFactor& out);

}  // namespace vorin::reduce
