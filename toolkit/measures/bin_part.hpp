// The part of a bin (logBinEdges()) that lies below a value: the rule of cutoffs, percentiles and
// the regions of maps.
#pragma once

#include <algorithm>

namespace vorin::toolkit {

/// The part of the bin from `left` to `right` that lies at and below `at`, all logarithms; `at` may
/// be infinite. Of a bin of no width, a value without neighbours, all or nothing, or half at
/// `left`.
inline double partBelow(double left, double right, double at) {
  if (!(right > left)) {
    return at > left ? 1.0 : at < left ? 0.0 : 0.5;
  }
  return std::clamp((at - left) / (right - left), 0.0, 1.0);
}

}  // namespace vorin::toolkit
