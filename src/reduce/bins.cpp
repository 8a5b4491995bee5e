#include "reduce/bins.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "reduce/bin_edges.hpp"
#include "toolbox/convert.hpp"

namespace vorin::reduce {
namespace {

constexpr int maxTries = 9;
constexpr float leftOut = -1e20f;

// The filled bins between rising edges. After a point only the edges around the next point
// are computed, so that the cost does not grow with their number.
void walkLogBins(const LogEdges& edges, const BinFinder& finder, std::vector<FilledBin>& bins) {
  int begin = finder.firstFrom(leftOut, 0);
  for (int k = 0; begin < finder.points(); ++k) {
    const LogEdges::Edge to = edges.firstNotBelow(finder.at(begin), k);
    if (to.number > edges.last()) {
      return;
    }
    k = to.number;
    const int end = finder.firstPast(to.place, begin);
    bins.push_back({{begin, end}, 0.0f, to.place});
    // A point on the edge belongs to the next bin as well.
    begin = finder.firstFrom(to.place, end);
  }
}

// The filled bins of one try.
void fillBins(const PruneRequest& request, const BinRange& range, int edgeCount,
              const BinFinder& finder, std::vector<FilledBin>& bins) {
  bins.clear();
  if (edgeCount < 1) {
    return;
  }
  if (request.mode == pruneLog && finder.rising() && range.hasLogarithms()) {
    const LogEdges edges(range, edgeCount - 1);
    if (edges.surelyRise()) {
      walkLogBins(edges, finder, bins);
      return;
    }
  }
  float from = leftOut;
  for (const float to : binEdges(request, range, edgeCount)) {
    if (finder.rising()) {
      const BinFinder::Run run = finder.run(from, to);
      if (run.begin < run.end) {
        bins.push_back({run, from, to});
      }
    } else if (finder.holdsPoint(from, to)) {
      bins.push_back({{}, from, to});
    }
    from = to;
  }
}

}  // namespace

std::vector<FilledBin> filledBins(const PruneRequest& request, const BinFinder& finder) {
  const BinRange range = rangeOf(request);
  std::vector<FilledBin> bins;
  if (!request.adjust) {
    fillBins(request, range, request.target, finder, bins);
    return bins;
  }
  const float target = static_cast<float>(request.target);
  const std::int64_t mostEdges = 6 * static_cast<std::int64_t>(request.maxBins);
  const int limit =
      static_cast<int>(std::min<std::int64_t>(mostEdges, std::numeric_limits<std::int32_t>::max()));
  int edgeCount = std::min(truncateToInt(target * 1.3f), limit);
  for (int attempt = 1;; ++attempt) {
    fillBins(request, range, edgeCount, finder, bins);
    const int count = 1 + static_cast<int>(bins.size());
    if (count == request.target || attempt >= maxTries) {
      return bins;
    }
    const float scaled = target * static_cast<float>(edgeCount) / static_cast<float>(count);
    const int next = std::min(truncateToInt(scaled + 0.5f), limit);
    if (next == edgeCount) {
      return bins;  // every further try would use the same edges
    }
    edgeCount = next;
  }
}

}  // namespace vorin::reduce
