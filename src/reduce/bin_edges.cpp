#include "reduce/bin_edges.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "toolbox/convert.hpp"

namespace vorin::reduce {
namespace {

constexpr int maxTries = 9;

// Formed in double and rounded once, so that an edge does not depend on which
// single-precision variant of the mathematical library the CPU gets.
float log10Rounded(float x) {
  return static_cast<float>(std::log10(static_cast<double>(x)));
}
float exp10Rounded(float x) {
  return static_cast<float>(std::pow(10.0, static_cast<double>(x)));
}

// The range of the bins and the spacing at its start.
struct Range {
  float lo;
  float hi;
  float spacing;
};

Range rangeOf(const PruneRequest& request) {
  const float* t = request.t;
  // With one point there is no second position to look at.
  const float step = request.points > 1 ? std::min(t[0], t[1] - t[0]) : t[0];
  const float spacing = 0.5f * step;
  const bool inside = request.firstPoint >= 1 && request.firstPoint <= request.points;
  float base = inside ? t[request.firstPoint - 1] : t[0];
  if (base < 1e-10f) {
    base = std::numeric_limits<float>::max();
    for (int i = 0; i < request.capacityPoints; ++i) {
      base = std::min(base, t[i]);
    }
  }
  return {base - spacing, t[request.points - 1] + spacing, spacing};
}

// `steps` + 1 edges from lo to hi, written from `out` on. With steps = 0 the one edge
// is 0/0 and bounds no bin.
void logEdges(const Range& range, int steps, float* out) {
  const float logLo = log10Rounded(range.lo);
  const float logHi = log10Rounded(range.hi);
  for (int k = 0; k <= steps; ++k) {
    const float sum = logLo * static_cast<float>(steps - k) + logHi * static_cast<float>(k);
    out[k] = exp10Rounded(sum / static_cast<float>(steps));
  }
}

void linearEdges(const Range& range, int steps, float* out) {
  for (int k = 0; k <= steps; ++k) {
    const float sum = range.lo * static_cast<float>(steps - k) + range.hi * static_cast<float>(k);
    out[k] = sum / static_cast<float>(steps);
  }
}

// Points before the first one of the bins get an edge each, just before the point.
// A first point below 1 counts as 1; one above the points leaves no leading edges.
void leadingEdges(const PruneRequest& request, const Range& range, std::vector<float>& edges) {
  const int edgeCount = static_cast<int>(edges.size());
  const int first =
      request.firstPoint >= 1 && request.firstPoint <= request.points ? request.firstPoint : 1;
  for (int k = 0; k <= first - 2 && k < edgeCount; ++k) {
    edges[static_cast<std::size_t>(k)] = request.t[k] - range.spacing / 2.0f;
  }
  if (edgeCount >= first) {
    logEdges(range, edgeCount - first, edges.data() + (first - 1));
  }
}

void buildEdges(const PruneRequest& request, const Range& range, int edgeCount,
                std::vector<float>& edges) {
  // Not-a-number edges bound no bin: what a mode without edges leaves.
  edges.assign(static_cast<std::size_t>(std::max(edgeCount, 0)),
               std::numeric_limits<float>::quiet_NaN());
  if (edges.empty()) {
    return;
  }
  // Required: a range that reaches zero or below has no logarithm, and no point
  // falls into any bin. Plain arithmetic would lay edges at 10^-inf = 0.
  const bool hasLogarithm = range.lo > 0.0f && range.hi > 0.0f;
  if (request.mode == kPruneLinear) {
    linearEdges(range, edgeCount - 1, edges.data());
  } else if (request.mode == kPruneLog && hasLogarithm) {
    logEdges(range, edgeCount - 1, edges.data());
  } else if (request.mode == kPruneLeading && hasLogarithm) {
    leadingEdges(request, range, edges);
  }
}

int countRows(const std::vector<float>& edges, const BinFinder& finder) {
  int count = 1;
  forEachBin(edges, [&](float from, float to) { count += finder.holdsPoint(from, to) ? 1 : 0; });
  return count;
}

}  // namespace

BinFinder::BinFinder(int points, const float* t) : points_(points), t_(t), rising_(true) {
  // A NaN compares as false and sends the search to the scan.
  for (int i = 0; i < points && rising_; ++i) {
    rising_ = i == 0 ? t[0] == t[0] : t[i - 1] <= t[i];
  }
}

BinFinder::Run BinFinder::run(float from, float to) const {
  if (std::isnan(from) || std::isnan(to)) {
    return {0, 0};
  }
  const float* end = t_ + points_;
  const auto begin = std::lower_bound(t_, end, from) - t_;
  const auto past = std::upper_bound(t_, end, to) - t_;
  return {static_cast<int>(begin), static_cast<int>(std::max(begin, past))};
}

bool BinFinder::holdsPoint(float from, float to) const {
  if (rising_) {
    const Run found = run(from, to);
    return found.begin < found.end;
  }
  return std::any_of(t_, t_ + points_, [=](float t) { return t >= from && t <= to; });
}

void BinFinder::list(float from, float to, std::vector<int>& points) const {
  for (int i = 0; i < points_; ++i) {
    if (t_[i] >= from && t_[i] <= to) {
      points.push_back(i);
    }
  }
}

std::vector<float> layEdges(const PruneRequest& request, const BinFinder& finder) {
  const Range range = rangeOf(request);
  std::vector<float> edges;
  if (!request.adjust) {
    buildEdges(request, range, request.target, edges);
    return edges;
  }
  const float target = static_cast<float>(request.target);
  const std::int64_t wanted = 6 * static_cast<std::int64_t>(request.maxBins);
  const int limit =
      static_cast<int>(std::min<std::int64_t>(wanted, std::numeric_limits<std::int32_t>::max()));
  int edgeCount = std::min(truncateToInt(target * 1.3f), limit);
  for (int attempt = 1;; ++attempt) {
    buildEdges(request, range, edgeCount, edges);
    const int count = countRows(edges, finder);
    if (count == request.target || attempt >= maxTries) {
      return edges;
    }
    const float scaled = target * static_cast<float>(edgeCount) / static_cast<float>(count);
    const int next = std::min(truncateToInt(scaled + 0.5f), limit);
    if (next == edgeCount) {
      return edges;  // every further try would lay the same edges
    }
    edgeCount = next;
  }
}

}  // namespace vorin::reduce
