// The edges of pruning bins for one try at their number.
#pragma once

#include <vector>

#include "reduce/prune_plan.hpp"

namespace vorin::reduce {

/// The range of the bins on the sample axis and the spacing of the samples at its start.
struct BinRange {
  float lo;
  float hi;
  float spacing;

  /// False when the range reaches zero or below. Required: no point then falls into a
  /// logarithmic bin; the formulas alone would place edges at 10^-inf = 0.
  bool hasLogarithms() const { return lo > 0.0f && hi > 0.0f; }
};

/// request.points is 1 at least.
BinRange rangeOf(const PruneRequest& request);

/// `steps` + 1 edges from lo to hi, evenly spaced in their logarithm. With steps = 0 the one
/// edge is 0/0 and bounds no bin.
class LogEdges {
 public:
  LogEdges(const BinRange& range, int steps);

  int last() const { return steps_; }

  float operator[](int k) const;

  /// True when the edges certainly rise, so that they can be searched without being stored:
  /// the logarithm of each is off by less than three roundings of the larger end, and those
  /// of two neighbours differ by more. (Powers of different single-precision numbers keep
  /// their order.)
  bool surelyRise() const;

  struct Edge {
    int number;
    float place;
  };

  /// Of rising edges the first one from number `from` on that is not below t; the number
  /// is last() + 1 if there is none.
  Edge firstNotBelow(float t, int from) const;

 private:
  // Takes edge k into `found` when it is not below t.
  bool takes(int k, float t, Edge& found) const;

  float logLo_;
  float logHi_;
  int steps_;
};

/// The `edgeCount` edges, 1 at least, in the spacing that request.mode names. A mode without
/// edges gives NaN, which bounds no bin.
std::vector<float> binEdges(const PruneRequest& request, const BinRange& range, int edgeCount);

}  // namespace vorin::reduce
