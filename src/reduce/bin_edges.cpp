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

// `steps` + 1 edges from lo to hi, evenly spaced in their logarithm. With steps = 0 the one
// edge is 0/0 and bounds no bin.
class LogEdges {
 public:
  LogEdges(const Range& range, int steps)
      : logLo_(log10Rounded(range.lo)), logHi_(log10Rounded(range.hi)), steps_(steps) {}

  int last() const { return steps_; }

  float operator[](int k) const {
    const float sum = logLo_ * static_cast<float>(steps_ - k) + logHi_ * static_cast<float>(k);
    return exp10Rounded(sum / static_cast<float>(steps_));
  }

  /// True when the edges rise, so that they need not be laid to be searched: the logarithm
  /// of each strays by less than three roundings of the larger end, and two neighbours' are
  /// further apart than that. (Powers of numbers that differ as singles keep their order.)
  bool surelyRise() const {
    constexpr float allowance = 8.0f * std::numeric_limits<float>::epsilon();
    const float larger = std::max(std::abs(logLo_), std::abs(logHi_));
    return steps_ > 0 && logHi_ - logLo_ > allowance * larger * static_cast<float>(steps_) &&
           logHi_ - logLo_ > 0.0f;
  }

  struct Edge {
    int number;
    float place;
  };

  /// Of rising edges the first one from number `from` on that is not below t; the number
  /// is last() + 1 if there is none.
  Edge firstNotBelow(float t, int from) const {
    if (from > steps_) {
      return {from, 0.0f};
    }
    Edge found{from, (*this)[from]};
    if (found.place >= t) {
      return found;
    }
    // Its place by the logarithm is the right one or next to it.
    const double share = (std::log10(static_cast<double>(t)) - static_cast<double>(logLo_)) /
                         (static_cast<double>(logHi_) - static_cast<double>(logLo_));
    const double guess = std::ceil(share * steps_);
    int k = guess > steps_ ? steps_ + 1 : std::max(from + 1, static_cast<int>(guess));
    found.number = steps_ + 1;
    while (k > from + 1 && takes(k - 1, t, found)) {
      --k;
    }
    while (found.number != k && k <= steps_ && !takes(k, t, found)) {
      ++k;
    }
    return found;
  }

 private:
  // Edge k as the one found, when it is not below t.
  bool takes(int k, float t, Edge& found) const {
    const float place = (*this)[k];
    if (!(place >= t)) {
      return false;
    }
    found = {k, place};
    return true;
  }

  float logLo_;
  float logHi_;
  int steps_;
};

void logEdges(const Range& range, int steps, float* out) {
  const LogEdges edges(range, steps);
  for (int k = 0; k <= steps; ++k) {
    out[k] = edges[k];
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

bool hasLogarithms(const Range& range) {
  return range.lo > 0.0f && range.hi > 0.0f;
}

// edgeCount is 1 at least.
void buildEdges(const PruneRequest& request, const Range& range, int edgeCount,
                std::vector<float>& edges) {
  // Not-a-number edges bound no bin: what a mode without edges leaves.
  edges.assign(static_cast<std::size_t>(edgeCount), std::numeric_limits<float>::quiet_NaN());
  // Required: a range that reaches zero or below has no logarithm, and no point
  // falls into any bin. Plain arithmetic would lay edges at 10^-inf = 0.
  const bool hasLogarithm = hasLogarithms(range);
  if (request.mode == pruneLinear) {
    linearEdges(range, edgeCount - 1, edges.data());
  } else if (request.mode == pruneLog && hasLogarithm) {
    logEdges(range, edgeCount - 1, edges.data());
  } else if (request.mode == pruneLeading && hasLogarithm) {
    leadingEdges(request, range, edges);
  }
}

constexpr float leftOut = -1e20f;

// The filled bins between rising edges: from one point on no edge is looked at but those
// around the next point, however many there are.
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
void fillBins(const PruneRequest& request, const Range& range, int edgeCount,
              const BinFinder& finder, std::vector<FilledBin>& bins) {
  bins.clear();
  if (edgeCount < 1) {
    return;
  }
  if (request.mode == pruneLog && finder.rising() && hasLogarithms(range)) {
    const LogEdges edges(range, edgeCount - 1);
    if (edges.surelyRise()) {
      walkLogBins(edges, finder, bins);
      return;
    }
  }
  std::vector<float> edges;
  buildEdges(request, range, edgeCount, edges);
  float from = leftOut;
  for (const float to : edges) {
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

// The first of points lo .. points for which isPast, which is false before it and true from
// it on: steps that double enclose it, beginning at `near`, before it is searched.
template <class IsPast>
int firstOf(int points, int near, IsPast isPast) {
  int lo = 0;
  int hi = points;
  if (near < points && !isPast(near)) {
    lo = near + 1;
    for (int step = 1; lo + step < points; step *= 2) {
      if (isPast(lo + step)) {
        hi = lo + step;
        break;
      }
      lo += step + 1;
    }
  } else {
    hi = near;
    for (int step = 1; hi - step >= 0; step *= 2) {
      if (!isPast(hi - step)) {
        lo = hi - step + 1;
        break;
      }
      hi -= step;
    }
  }
  while (lo < hi) {
    const int middle = lo + (hi - lo) / 2;
    if (isPast(middle)) {
      hi = middle;
    } else {
      lo = middle + 1;
    }
  }
  return lo;
}

}  // namespace

BinFinder::BinFinder(int points, const float* t) : points_(points), t_(t), rising_(true) {
  // A NaN compares as false and sends the search to the scan.
  for (int i = 0; i < points && rising_; ++i) {
    rising_ = i == 0 ? t[0] == t[0] : t[i - 1] <= t[i];
  }
}

int BinFinder::firstFrom(float from, int near) const {
  return firstOf(points_, near, [&](int i) { return t_[i] >= from; });
}

int BinFinder::firstPast(float past, int near) const {
  return firstOf(points_, near, [&](int i) { return t_[i] > past; });
}

BinFinder::Run BinFinder::run(float from, float to) const {
  if (std::isnan(from) || std::isnan(to)) {
    return {0, 0};
  }
  const int begin = firstFrom(from, last_);
  const int end = firstPast(to, begin);
  last_ = begin;
  return {begin, std::max(begin, end)};
}

bool BinFinder::holdsPoint(float from, float to) const {
  return std::any_of(t_, t_ + points_, [=](float t) { return t >= from && t <= to; });
}

void BinFinder::list(float from, float to, std::vector<int>& points) const {
  for (int i = 0; i < points_; ++i) {
    if (t_[i] >= from && t_[i] <= to) {
      points.push_back(i);
    }
  }
}

std::vector<FilledBin> layBins(const PruneRequest& request, const BinFinder& finder) {
  const Range range = rangeOf(request);
  std::vector<FilledBin> bins;
  if (!request.adjust) {
    fillBins(request, range, request.target, finder, bins);
    return bins;
  }
  const float target = static_cast<float>(request.target);
  const std::int64_t wanted = 6 * static_cast<std::int64_t>(request.maxBins);
  const int limit =
      static_cast<int>(std::min<std::int64_t>(wanted, std::numeric_limits<std::int32_t>::max()));
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
      return bins;  // every further try would lay the same edges
    }
    edgeCount = next;
  }
}

}  // namespace vorin::reduce
