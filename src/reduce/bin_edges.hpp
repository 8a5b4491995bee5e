// The edges of pruning bins, laid anew until the number of bins that hold points
// is the wanted one.
#pragma once

#include <vector>

#include "reduce/prune_plan.hpp"

namespace vorin::reduce {

/// Finds the points of a bin. On rising positions they are one run, searched from where the
/// last one ended, since bins are asked for in order; other positions are scanned.
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

  /// The first point with t >= from, or with t > past, searched from point `near` on to
  /// either side; the number of points when there is none. For rising positions.
  int firstFrom(float from, int near) const;
  int firstPast(float past, int near) const;

  /// True when some point has from <= t <= to.
  bool holdsPoint(float from, float to) const;

  /// Appends the points with from <= t <= to, in rising order of their index.
  void list(float from, float to, std::vector<int>& points) const;

  int points() const { return points_; }
  float at(int point) const { return t_[point]; }

 private:
  int points_;
  const float* t_;
  bool rising_;
  mutable int last_ = 0;  // where a search begins; it decides nothing else
};

/// A bin that holds points: their run on rising positions; on others those with
/// from <= t <= to.
struct FilledBin {
  BinFinder::Run run;
  float from;
  float to;
};

/// The bins that hold points, in order, of the edges that the last try leaves. Bin k reaches
/// from edge k - 1 to edge k, both included; bin 0 from -1e20, below which points are marked
/// as left out.
std::vector<FilledBin> layBins(const PruneRequest& request, const BinFinder& finder);

}  // namespace vorin::reduce
