// A kernel of one axis reduced to the few directions in which it tells samples apart: its
// truncated singular value decomposition.
#pragma once

#include <cstddef>
#include <vector>

namespace vorin::toolkit {

/// K = U S V' of a kernel of `samples` rows and `grid` columns, the first `rank` terms.
struct KernelFactor {
  int samples = 0;
  int grid = 0;
  int rank = 0;
  std::vector<double> values;    ///< S: the singular values, the largest first
  std::vector<double> left;      ///< U, orthonormal, sample after sample: (i, p) at i * width() + p
  std::vector<double> rows;      ///< S V', row after row: (p, k) at p * grid + k
  std::vector<double> columns;   ///< S V', column after column: (p, k) at k * width() + p
  std::vector<double> products;  ///< of (p, k) and (p', k), p' <= p: at k * pairs() + p(p+1)/2 + p'
  double meanSquare = 0.0;       ///< mean squared norm of the columns of the whole kernel

  /// Rank and pairs of it, padded with zeros to whole vectors of the processor.
  int width() const { return padded(rank); }
  int pairs() const { return padded(rank * (rank + 1) / 2); }

  static int padded(int count) { return (count + 7) / 8 * 8; }
};

/// Decomposes `kernel` (samples by grid, column-major, finite, not all 0) and keeps the singular
/// values above `cut` times the largest, one at least. Throws UserError when the iteration for
/// the singular values does not converge.
KernelFactor factorKernel(const std::vector<double>& kernel, int samples, int grid, double cut);

/// The first `rank` terms of `factor`, which has as many.
KernelFactor truncated(const KernelFactor& factor, int rank);

}  // namespace vorin::toolkit
