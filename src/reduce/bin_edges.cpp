#include "reduce/bin_edges.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace vorin::reduce {
namespace {

// A first position below this is replaced by the least position.
constexpr float leastBase = 1e-10f;

// Computed in double precision and rounded once, so that an edge does not depend on which
// single-precision variant of the mathematical library the CPU gets.
float log10Rounded(float x) {
  return static_cast<float>(std::log10(static_cast<double>(x)));
}
float exp10Rounded(float x) {
  return static_cast<float>(std::pow(10.0, static_cast<double>(x)));
}

void logEdges(const BinRange& range, int steps, float* out) {
  const LogEdges edges(range, steps);
  for (int k = 0; k <= steps; ++k) {
    out[k] = edges[k];
  }
}

void linearEdges(const BinRange& range, int steps, float* out) {
  for (int k = 0; k <= steps; ++k) {
    const float sum = range.lo * static_cast<float>(steps - k) + range.hi * static_cast<float>(k);
    out[k] = sum / static_cast<float>(steps);
  }
}

// The positions that a host has given.
int positions(const PruneRequest& request) {
  return std::max(request.points, request.capacityPoints);
}

// Each point before the first one of the logarithmic bins gets an edge just before it, a
// point past the last one in use included. A first point below 1, or one whose edges would
// need positions that were not given, counts as 1.
void leadingEdges(const PruneRequest& request, const BinRange& range, std::vector<float>& edges) {
  const int edgeCount = static_cast<int>(edges.size());
  const bool given = request.firstPoint >= 1 && request.firstPoint - 1 <= positions(request);
  const int first = given ? request.firstPoint : 1;
  for (int k = 0; k <= first - 2 && k < edgeCount; ++k) {
    edges[static_cast<std::size_t>(k)] = request.t[k] - range.spacing / 2.0f;
  }
  if (edgeCount >= first) {
    logEdges(range, edgeCount - first, edges.data() + (first - 1));
  }
}

}  // namespace

BinRange rangeOf(const PruneRequest& request) {
  const float* t = request.t;
  // A single position has no second one to look at.
  const float step = positions(request) > 1 ? std::min(t[0], t[1] - t[0]) : t[0];
  const float spacing = 0.5f * step;
  const bool inside = request.firstPoint >= 1 && request.firstPoint <= request.points;
  float base = inside ? t[request.firstPoint - 1] : t[0];
  if (base < leastBase) {
    base = std::numeric_limits<float>::max();
    for (int i = 0; i < request.capacityPoints; ++i) {
      base = std::min(base, t[i]);
    }
  }
  return {base - spacing, t[request.points - 1] + spacing, spacing};
}

LogEdges::LogEdges(const BinRange& range, int steps)
    : logLo_(log10Rounded(range.lo)), logHi_(log10Rounded(range.hi)), steps_(steps) {}

float LogEdges::operator[](int k) const {
  const float sum = logLo_ * static_cast<float>(steps_ - k) + logHi_ * static_cast<float>(k);
  return exp10Rounded(sum / static_cast<float>(steps_));
}

bool LogEdges::surelyRise() const {
  constexpr float allowance = 8.0f * std::numeric_limits<float>::epsilon();
  const float larger = std::max(std::abs(logLo_), std::abs(logHi_));
  return steps_ > 0 && logHi_ - logLo_ > allowance * larger * static_cast<float>(steps_) &&
         logHi_ - logLo_ > 0.0f;
}

LogEdges::Edge LogEdges::firstNotBelow(float t, int from) const {
  if (from > steps_) {
    return {from, 0.0f};
  }
  Edge found{from, (*this)[from]};
  if (found.place >= t) {
    return found;
  }
  // Its number by the logarithm is the right one or next to it.
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

bool LogEdges::takes(int k, float t, Edge& found) const {
  const float place = (*this)[k];
  if (!(place >= t)) {
    return false;
  }
  found = {k, place};
  return true;
}

std::vector<float> binEdges(const PruneRequest& request, const BinRange& range, int edgeCount) {
  std::vector<float> edges(static_cast<std::size_t>(edgeCount),
                           std::numeric_limits<float>::quiet_NaN());
  if (request.mode == pruneLinear) {
    linearEdges(range, edgeCount - 1, edges.data());
  } else if (request.mode == pruneLog && range.hasLogarithms()) {
    logEdges(range, edgeCount - 1, edges.data());
  } else if (request.mode == pruneLeading && range.hasLogarithms()) {
    leadingEdges(request, range, edges);
  }
  return edges;
}

}  // namespace vorin::reduce
