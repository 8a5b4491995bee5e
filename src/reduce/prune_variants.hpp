// The two prunings that also form the pruned kernel, on the same plan as VorinPruneZ.
// Neither has a closing row: the count is that of the bins with points. Both give mean
// positions.
#pragma once

#include <cstdint>

namespace vorin::reduce {

/// What a host passes, and where the pruned problem goes.
struct KernelPruning {
  int nCols = 0;                 ///< columns of the kernel
  int nPoints = 0;               ///< points
  int ldPoints = 0;              ///< capacity of the point arrays, columns of P
  int maxBins = 0;               ///< capacity of the bin arrays, leading dimension
  const float* y = nullptr;      ///< nPoints, data
  const float* t = nullptr;      ///< ldPoints, positions, rising
  const float* k = nullptr;      ///< ldPoints by nCols, kernel
  const float* scale = nullptr;  ///< nPoints, v
  int prLo = 1;                  ///< 1-based index of the point at which the bins begin
  int target = 0;                ///< requested count
  int mode = 0;                  ///< pruneLog or pruneLinear; any other one makes no bins
  float* yPruned = nullptr;      ///< maxBins, 0 past the count
  float* tMean = nullptr;        ///< maxBins, 0 past the count
  float* kPruned = nullptr;      ///< maxBins by nCols, 0 past the count
  float* binNorm = nullptr;      ///< maxBins, smallestNorm past the count
  float* P = nullptr;            ///< maxBins by ldPoints
};

/// VorinPrune: one try at `target` bins. Rows are sums over a bin divided by
/// s = sqrt(sum of v^2), which is also the bin's scale.
///   count  out: bins with points. Required: when no bin holds a point it keeps the
///          number of edges, over an all-zero problem; with a mode without edges it
///          is 0.
void pruneScaled(const KernelPruning& job, std::int32_t& count);

/// VorinPrune2: for points of unequal noise v. Data and kernel rows are divided by v,
/// summed over a bin, and divided by the square root of its number of points, so that
/// every pruned value has noise 1. The scale of a bin is 1 / sum(P / v). Nine tries, as
/// VorinPruneZ, whose count is one higher: a search that ends well leaves target - 1 bins.
///   count  in and out: the bins with points, or what it held if that is more. Rows
///          that no bin fills up to such a count divide 0 by 0.
void pruneWhitened(const KernelPruning& job, std::int32_t& count);

}  // namespace vorin::reduce
