// The two-dimensional problem on the factors of its kernels: K1 F K2' seen through the pairs of
// singular directions that carry signal. The matrix of the whole problem, the Kronecker product
// of the two, is never formed, and neither is its product with its transpose.
//
// Compression by the two decompositions: Venkataramanan, Song and Huerlimann, IEEE Trans. Signal
// Process. 50, 1017 (2002).
#pragma once

#include <vector>

#include "toolkit/inverting/dual_newton.hpp"
#include "toolkit/two_dimensional/kernel_factor.hpp"

namespace vorin::toolkit {

/// A map F has grid1 x grid2 cells, row after row: cell (i, k) at i * grid2 + k.
///
/// The operator A takes a map to rows: one for each pair (p, q) with s1_p s2_q above the cut,
///   (A F)(p, q) = sum over i, k of (S1 V1')(p, i) F(i, k) (S2 V2')(q, k) / scale().
/// scale() is the root of the mean squared norm of all columns of the Kronecker product, so that
/// those of A have a mean squared norm of 1 (but for what the cut takes).
class CompressedMap final : public DualOperator {
 public:
  /// Keeps the pairs with s1_p s2_q above `cut` times the largest.
  CompressedMap(const KernelFactor& first, const KernelFactor& second, double cut);

  int rows() const override { return start_.back(); }
  int cells() const override { return first_.grid * second_.grid; }
  int grid1() const { return first_.grid; }
  int grid2() const { return second_.grid; }
  double scale() const { return scale_; }

  /// The rows that data (samples1 x samples2, row after row) compress to: (U1' D U2)(p, q).
  std::vector<double> compressed(const double* data) const;

  void transposeTimes(const double* c, double* F) const override;
  void times(const double* F, double* y) const override;
  void gram(const double* F, double* G) const override;

  /// Spreads the rows of `coarse`, the same problem with fewer pairs, over those of this one;
  /// the others become 0.
  std::vector<double> spread(const CompressedMap& coarse, const std::vector<double>& rows) const;

 private:
  int pairsOf(int p) const {
    const auto at = static_cast<std::size_t>(p);
    return start_[at + 1] - start_[at];
  }

  KernelFactor first_;
  KernelFactor second_;
  double scale_ = 1.0;
  std::vector<int> start_;  ///< of the pairs of p among the rows; one behind the last at the end
};

}  // namespace vorin::toolkit
