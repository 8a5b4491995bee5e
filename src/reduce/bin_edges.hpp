// The edges of pruning bins, laid anew until the number of bins that hold points
// is the wanted one.
#pragma once

#include <vector>

#include "reduce/prune_plan.hpp"

namespace vorin::reduce {

/// Finds the points of a bin. On rising positions they are one run, found by two
/// binary searches; other positions are scanned.
class BinFinder {
 public:
  BinFinder(int points, const float* t);

  bool rising() const { return rising_; }

  /// The run of points with from <= t <= to; meant for rising positions.
  struct Run {
    int begin;
    int end;
  };
  Run run(float from, float to) const;

  /// True when some point has from <= t <= to.
  bool holdsPoint(float from, float to) const;

  /// Appends the points with from <= t <= to, in rising order of their index.
  void list(float from, float to, std::vector<int>& points) const;

 private:
  int points_;
  const float* t_;
  bool rising_;
};

/// The edges that the last try leaves. Bin k reaches from edge k - 1 to edge k, both
/// included; bin 0 from -1e20, below which points are marked as left out.
std::vector<float> layEdges(const PruneRequest& request, const BinFinder& finder);

/// Calls visit(from, to) for each bin of `edges`, in order.
template <class Visit>
void forEachBin(const std::vector<float>& edges, Visit visit) {
  float from = -1e20f;
  for (const float to : edges) {
    visit(from, to);
    from = to;
  }
}

}  // namespace vorin::reduce
