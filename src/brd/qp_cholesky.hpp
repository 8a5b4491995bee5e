// Cholesky factors of blocks of a symmetric matrix, for the quadratic-program solver.
#pragma once

#include "toolbox/indexed_vector.hpp"

namespace vorin::brd {

/// The lower triangular L of Q(P, P) = L L' for an ordered index list P, computed as a
/// whole or updated by one index at a time.
class BlockFactor {
 public:
  /// Borrows Q (n x n, symmetric) and `storage` (n x n) for the factor.
  BlockFactor(int n, const double* Q, double* storage);

  const IndexedVector<int>& indices() const { return indices_; }
  int size() const { return static_cast<int>(indices_.size()); }

  void clear() { indices_.clear(); }

  /// Factors Q(P, P) for the list `indices`. False, with an empty list, when the block
  /// isn't positive definite beyond its rounding error.
  bool assign(const IndexedVector<int>& indices);

  /// Adds `index` at the end of the list; false, with nothing changed, when the larger
  /// block isn't positive definite. Costs size^2.
  bool append(int index);

  /// Removes the index at `position` from the list (Givens rotations; Golub and Van Loan,
  /// Matrix Computations, 4th ed., 2013, section 6.5.4). Costs size^2 at most.
  void remove(int position);

  /// b = L^-1 b, b = L'^-1 b, and b = Q(P, P)^-1 b; b has an element for each index.
  void solveLower(double* b) const;
  void solveUpper(double* b) const;
  void solve(double* b) const;

 private:
  double* column(int k) const { return storage_ + std::ptrdiff_t{k} * n_; }
  double entry(int i, int j) const { return Q_[i + std::ptrdiff_t{j} * n_]; }

  int n_;
  const double* Q_;
  double* storage_;  // L, column-major, leading dimension n
  IndexedVector<int> indices_;
  IndexedVector<double> row_;  // n, of a new row, or the pivots
};

}  // namespace vorin::brd
