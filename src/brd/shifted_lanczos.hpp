// (A + s I) z = b for one symmetric matrix, one right-hand side and any number of shifts s.
//
// The Lanczos vectors of A and b do not depend on the shift, and in their basis A is tridiagonal:
// with A V = V T in it, z = |b| V (T + s I)^-1 e1 (Frommer and Maass, SIAM J. Sci. Comput. 20,
// 1831, 1999, for Tikhonov regularisation). The first pass of every cold solve is such a system,
// with A = K'K, b = K'd and the weight as the shift. The eigenvalues of a smooth kernel fall so
// fast that some twenty vectors reach the rounding of a double, at a price of two factorisations.
#pragma once

#include <vector>

#include "toolbox/aligned.hpp"
#include "toolbox/indexed_vector.hpp"

namespace vorin::brd {

class ShiftedLanczos {
 public:
  /// Borrows A (n x n, symmetric, contiguous) and b (n).
  ShiftedLanczos(int n, const double* A, const double* b);

  /// z (n, out) with |(A + shift I) z - b| at the rounding of |b|; shift > 0 and A positive
  /// semidefinite. False, with z unspecified, when that takes more vectors than are worth it, and
  /// when a number is not finite.
  bool solve(double shift, double* z);

 private:
  bool extend();
  void appendVector(const double* vector, double scale);

  int n_;
  const double* A_;
  int count_ = 0;  ///< Lanczos vectors with their row of T
  double norm_ = 0;
  double refused_ = 0;  ///< the largest shift that had too few vectors
  std::vector<int> columns_;
  IndexedVector<double> diagonal_;     ///< of T
  IndexedVector<double> offDiagonal_;  ///< of T: element k couples vectors k and k + 1
  AlignedVector<double> V_;            ///< n x mostVectors + 1, column-major
  AlignedVector<double> rowsOfV_;      ///< the same, row-major with a stride of rowStride
  AlignedVector<double> work_;
  AlignedVector<double> overlap_;
};

}  // namespace vorin::brd
