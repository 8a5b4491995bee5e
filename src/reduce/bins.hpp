// The pruning bins that hold points. Their number is adjusted until the count of such bins
// is the requested one.
#pragma once

#include <vector>

#include "reduce/bin_search.hpp"
#include "reduce/prune_plan.hpp"

namespace vorin::reduce {

/// A bin that holds points: their run on rising positions; on others those with
/// from <= t <= to.
struct FilledBin {
  BinFinder::Run run;
  float from;
  float to;
};

/// The bins that hold points, in order, for the edges of the last try. Bin k reaches from
/// edge k - 1 to edge k, both included; bin 0 from -1e20, the mark of points to leave out.
std::vector<FilledBin> filledBins(const PruneRequest& request, const BinFinder& finder);

}  // namespace vorin::reduce
