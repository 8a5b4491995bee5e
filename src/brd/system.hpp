// The linear algebra of one pass of the Butler-Reeds-Dawson iteration, with the
// work arrays that all solves of one problem share.
//
// Notation: K kernel (m x n), d data (m), f distribution (n), c dual vector (m),
// w weight, H the diagonal 0/1 matrix of the columns with f > 0, G = K H K'.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "toolbox/aligned.hpp"

namespace vorin::brd {

template <class Real>
class System {
 public:
  /// Borrows K (m x n by columns) and d (m).
  System(int m, int n, const Real* K, const Real* d);

  /// Converts K and d from the caller's precision into copies of its own.
  template <class Other>
  static System converted(int m, int n, const Other* K, const Other* d);

  int m() const { return m_; }
  int n() const { return n_; }
  const Real* d() const { return d_; }

  /// f = max(0, K' c), element by element; a NaN stays a NaN.
  void distributionFromDual(const Real* c, Real* f);

  /// Factors G + w I for the mask of `f`. A column with f = 0 takes no part: its
  /// terms are zeros, so that leaving them out keeps the bits of the full sum.
  void factor(const Real* f, Real weight);

  /// x = (G + w I)^-1 right, with the factors of the last `factor`.
  void solve(const Real* right, Real* x) const;

  /// Two work vectors of m elements for the iteration.
  Real* newDual() { return newDual_.data(); }
  Real* secondSolution() { return secondSolution_.data(); }

 private:
  void transpose();
  void packActive(const Real* f);

  int m_;
  int n_;
  std::vector<Real> ownKernel_;
  std::vector<Real> ownData_;
  const Real* K_;
  const Real* d_;
  int paddedColumns_ = 0;
  AlignedVector<Real> kernelByRows_;  // m x paddedColumns_, zeros in the padding
  AlignedVector<Real> product_;       // paddedColumns_: K' c
  int activeColumns_ = 0;
  AlignedVector<Real> packed_;  // the active columns in panels of rows, for the gram kernel
  std::vector<Real> G_;         // m x m; its LU factors after `factor`
  std::vector<std::int32_t> pivots_;
  std::vector<Real> newDual_;
  std::vector<Real> secondSolution_;
};

}  // namespace vorin::brd
