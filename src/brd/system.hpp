// The linear algebra of one pass of the Butler-Reeds-Dawson iteration, with the
// work arrays that all solves of one problem share.
//
// Notation: K kernel (m x n), d data (m), f distribution (n), c dual vector (m),
// w weight, H the diagonal 0/1 matrix of the columns with f > 0, G = K H K'.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "brd/active_normal_equations.hpp"
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
  const Real* K() const { return K_; }
  const Real* d() const { return d_; }

  /// K'K (n x n) and K'd (n), formed at their first use and then kept.
  const Real* gram();
  const Real* projectedData();

  /// f = max(0, K' c), element by element; a NaN stays a NaN.
  void distributionFromDual(const Real* c, Real* f);

  /// Factors G + w I for the mask of `f`, or what the smaller side has in its place. A
  /// column with f = 0 takes no part: its terms are zeros, so that leaving them out keeps
  /// the bits of the full sum. A mask and weight factored last time are not factored again.
  void factor(const Real* f, Real weight);

  /// x = (G + w I)^-1 right, with the factors of the last `factor`.
  void solve(const Real* right, Real* x);

  /// Test hook: true takes the road that states the meaning, always: the m-by-m system
  /// with all columns in it, those out of the mask as zeros, formed by plain loops and
  /// factored anew in every pass.
  static bool& plainRoad();

  /// Two work vectors of m elements for the iteration.
  Real* newDual() { return newDual_.data(); }
  Real* secondSolution() { return secondSolution_.data(); }

 private:
  void transpose();
  bool sameMask(const Real* f, Real weight) const;
  void takeMask(const Real* f, Real weight);
  void packActive();
  void formFull();
  void formFullPlainly();
  void formProjection(const Real* x, Real* out) const;
  const Real* project(const Real* right);

  int m_;
  int n_;
  AlignedVector<Real> ownKernel_;
  std::vector<Real> ownData_;
  const Real* K_;
  const Real* d_;
  bool kernelIsFinite_ = true;
  int paddedColumns_ = 0;
  AlignedVector<Real> kernelByRows_;  // m x paddedColumns_, zeros in the padding
  AlignedVector<Real> product_;       // paddedColumns_: K' c
  std::vector<Real> projectedData_;   // paddedColumns_: K' d, once it has been wanted

  // The system that is factored: mask, weight and side.
  std::vector<Real> mask_;   // 1, 0, or a NaN of f
  std::vector<int> active_;  // the columns whose mask is not 0
  Real weight_ = 0;
  bool factored_ = false;
  bool onSmallerSide_ = false;
  std::optional<SmallerSide<Real>> smallerSide_;
  AlignedVector<Real> packed_;  // the active columns in panels of rows, for the gram kernel
  AlignedVector<Real> G_;       // m x m; its LU factors after `factor`
  AlignedVector<Real> wholeG_;  // G with all columns in it, once it has been wanted
  std::vector<std::int32_t> pivots_;
  std::vector<Real> newDual_;
  std::vector<Real> secondSolution_;
};

}  // namespace vorin::brd
