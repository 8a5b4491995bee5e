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

#include "toolbox/aligned.hpp"
#include "toolbox/views.hpp"

namespace vorin::reduce {

struct PivotedFactor {
  int rank = 0;
  std::vector<float> transposed;  ///< R', n x rank, column-major; R'R = K'K
  std::vector<double> projected;  ///< rank: Q'd
};

/// [K d]'[K d] of a kernel and its data, to which rows are added and from which they can be taken
/// away again.
class ExtendedGram {
 public:
  /// Of no rows and n columns.
  explicit ExtendedGram(int n);

  /// Adds the rows of K (m x n, column-major, leading dimension ldK) and d (m).
  void add(int m, const float* K, int ldK, const float* d);

  /// Takes away a row (n) and its datum. Its products are exact, so that what is left has the
  /// rounding of the whole.
  void takeAway(const float* row, float datum);

  /// The factor of the rows that are left, at most `mostRows` of it. False, when a number is not
  /// finite, and when squares or norms come near an end of the range of their precision.
  bool factor(int mostRows, PivotedFactor& out) const;

 private:
  int size() const { return n_ + 1; }
  int panels() const;
  void pack(ColumnMajorView<const float> K, const float* d, int rows, int j, double* out) const;
  void addPacked(int rows, ColumnMajorView<const float> next, int nextRows);
  template <class Move>
  void moveTiles(const Move& move);

  int n_;
  AlignedVector<double> packed_;
  AlignedVector<double> tiles_;  ///< of the lower triangle of sum_, panel of columns by panel
  std::vector<double> sum_;      ///< (n + 1) x (n + 1), column-major
};

/// Factors K (m x n, column-major, leading dimension ldK) and projects d (m). False, when there
/// is nothing to factor, and as ExtendedGram::factor().
bool pivotedCholesky(int m, int n, const float* K, int ldK, const float* d, PivotedFactor& out);

}  // namespace vorin::reduce
