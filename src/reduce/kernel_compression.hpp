// Pruning and compression without an inversion: the reduced problem for a host's own use.
#pragma once

#include <cstdint>

namespace vorin::reduce {

struct Reduction {
  int n = 0;                 ///< columns of the kernel
  int nf = 0;                ///< data points
  int ldK = 0;               ///< leading dimension of K
  int cap = 0;               ///< most rows of a pruned problem, leading dimension of Kout
  const float* Y = nullptr;  ///< nf, data
  const float* T = nullptr;  ///< nf, positions, rising
  const float* K = nullptr;  ///< ldK by n
  const float* W = nullptr;  ///< nf, scale of each point
  int first = 1;             ///< 1-based index of the point at which the bins begin
  int want = 0;              ///< wanted count of pruned rows
  int pmode = 0;             ///< a PruneMode; below 1 no pruning
  float SVDT = 0.0f;         ///< threshold of the compression
  int SVDN = 0;              ///< most rows to keep; below 1 no compression
  float* Yout = nullptr;     ///< cap, reduced data
  float* Kout = nullptr;     ///< cap by n, reduced kernel
};

/// Prunes, compresses, or both.
///   count   out: rows of the result
///   status  out: 0 from the pruning; then a CompressionStatus. A compression that is
///           refused leaves the pruned problem and its count.
/// With neither step asked for, nothing is written at all.
void reduceProblem(const Reduction& job, std::int32_t& count, std::int32_t& status);

}  // namespace vorin::reduce
