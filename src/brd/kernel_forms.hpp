// A kernel in one precision with what all problems on it share: the copies that the kernels of
// linear algebra read, K'K and a factor of it. Each form is computed at its first use, by
// whichever thread comes first; to its users the object never changes.
#pragma once

#include <memory>
#include <mutex>

#include "brd/rank_factor.hpp"
#include "toolbox/aligned.hpp"

namespace vorin::brd {

template <class Real>
class KernelForms {
 public:
  /// Borrows K (m x n, column-major). Sizes below 1 count as empty.
  KernelForms(int m, int n, const Real* K);

  /// Converts K from the caller's precision into a copy of its own.
  template <class Other>
  static std::shared_ptr<const KernelForms> converted(int m, int n, const Other* K);

  KernelForms(const KernelForms&) = delete;
  KernelForms& operator=(const KernelForms&) = delete;

  int m() const { return m_; }
  int n() const { return n_; }
  const Real* K() const { return K_; }

  /// K in panels of kernels::panelRows columns, one after the other, each row-major; the last one
  /// is padded with zeros to paddedColumns(). These are the rows of K' as the gram kernel reads
  /// them.
  const Real* panels() const { return panels_.data(); }
  int paddedColumns() const { return paddedColumns_; }

  /// True where no element of K is infinite or NaN.
  bool isFinite() const { return finite_; }

  /// The mean squared column norm; 0 in single precision, which does not ask for it.
  double meanSquare() const { return meanSquare_; }

  /// K'K (n x n, contiguous); null in single precision, which never solves by it.
  const Real* gram() const;

  /// The factor of few rows of K'K; null in single precision, for a K that is not finite and where
  /// so many rows are needed that it saves no work.
  const RankFactor* rankFactor() const;

 private:
  KernelForms(int m, int n, AlignedVector<Real> K);
  void formPanels();
  void formMeanSquare();

  int m_;
  int n_;
  int paddedColumns_;
  bool ofSingles_ = false;  ///< single precision can hold all elements
  AlignedVector<Real> own_;
  const Real* K_;
  AlignedVector<Real> panels_;
  bool finite_ = true;
  double meanSquare_ = 0;
  mutable std::once_flag gramFormed_;
  mutable AlignedVector<Real> gram_;
  mutable std::once_flag factorFormed_;
  mutable RankFactor factor_;
};

}  // namespace vorin::brd
