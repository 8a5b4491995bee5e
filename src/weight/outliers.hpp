// Outliers of a decay: points that a lightly regularised non-negative fit misses by
// more than a number of noise deviations.
#pragma once

#include <cstdint>

namespace vorin::weight {

struct OutlierSearch {
  float thresh = 0.0f;       ///< in units of the noise
  float ridge = 0.0f;        ///< relative to the mean squared column norm of K / W
  int lda = 0;               ///< leading dimension of K
  int m = 0;                 ///< rows in use
  int n = 0;                 ///< columns
  const float* K = nullptr;  ///< lda by n, column-major
  const float* y = nullptr;  ///< m, data in the host's unit
  const float* W = nullptr;  ///< m, scale of each point: data and rows are divided by it
  float* x = nullptr;        ///< n, out: coefficients of the fit
  float* flags = nullptr;    ///< m, out: 1 for a point below the threshold, 0 for an outlier
};

/// Fits, then flags. A point exactly on the threshold is an outlier, and one whose
/// residual in units of the noise is not a number is none.
///   nGood   out: the sum of the flags
///   nBad    out: m - nGood
///   status  out: that of the penalised fit, 0 when done; flags follow from x also
///           after a failure
void serol(const OutlierSearch& search, std::int32_t& nGood, std::int32_t& nBad,
           std::int32_t& status);

}  // namespace vorin::weight
