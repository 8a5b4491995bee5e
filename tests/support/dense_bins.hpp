// Pruning bins by a literal reading of their definition: every point is tried in every
// bin, and the map is a full matrix.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "vorin.h"

namespace vorin::test {

struct DenseBins {
  std::vector<float> t;
  int prLo = 1;
  int mode = VORIN_PRUNE_LOG;

  /// The N edges of one try, by the formulas.
  std::vector<float> edges(int N) const {
    const int n = static_cast<int>(t.size());
    const float h = 0.5f * std::min(t[0], t[1] - t[0]);
    float base = prLo >= 1 && prLo <= n ? t[static_cast<std::size_t>(prLo - 1)] : t[0];
    if (base < 1e-10f) {
      base = *std::min_element(t.begin(), t.end());
    }
    const float lo = base - h;
    const float hi = t.back() + h;
    const auto mix = [](float a, float b, int k, int steps) {
      return (a * static_cast<float>(steps - k) + b * static_cast<float>(k)) /
             static_cast<float>(steps);
    };
    const auto log10f = [](float x) { return static_cast<float>(std::log10(double(x))); };
    const auto pow10f = [](float x) { return static_cast<float>(std::pow(10.0, double(x))); };
    std::vector<float> g(static_cast<std::size_t>(std::max(N, 0)));
    const int leading = mode == VORIN_PRUNE_LEADING ? prLo - 1 : 0;
    for (int k = 0; k < N; ++k) {
      float& edge = g[static_cast<std::size_t>(k)];
      if (k < leading) {
        edge = t[static_cast<std::size_t>(k)] - h / 2.0f;
      } else if (mode == VORIN_PRUNE_LINEAR) {
        edge = mix(lo, hi, k, N - 1);
      } else {
        edge = pow10f(mix(log10f(lo), log10f(hi), k - leading, N - 1 - leading));
      }
    }
    return g;
  }

  static bool inBin(const std::vector<float>& g, std::size_t k, float x) {
    return k == 0 ? x >= -1e20f && x <= g[0] : g[k - 1] <= x && x <= g[k];
  }

  bool holds(const std::vector<float>& g, std::size_t k) const {
    return std::any_of(t.begin(), t.end(), [&](float x) { return inBin(g, k, x); });
  }

  /// The edges that up to nine tries for `target` leave.
  std::vector<float> adjustedEdges(int wanted, int maxBins) const {
    const int target = std::min(wanted, maxBins);
    int N = static_cast<int>(static_cast<float>(target) * 1.3f);
    for (int attempt = 1;;) {
      N = std::min(N, 6 * maxBins);
      const std::vector<float> g = edges(N);
      int c = 1;
      for (std::size_t k = 0; k < g.size(); ++k) {
        c += holds(g, k) ? 1 : 0;
      }
      if (c == target || ++attempt > 9) {
        return g;
      }
      N = static_cast<int>(
          static_cast<float>(target) * static_cast<float>(N) / static_cast<float>(c) + 0.5f);
    }
  }

  /// Adds 1 to P (leading dimension `bins`) for each point of each bin, a row a bin that
  /// holds points, `most` rows at most. Returns the rows.
  std::size_t fill(const std::vector<float>& g, std::size_t bins, std::size_t most,
                   std::vector<float>& P) const {
    std::size_t r = 0;
    for (std::size_t k = 0; k < g.size() && r < most; ++k) {
      if (!holds(g, k)) {
        continue;
      }
      for (std::size_t i = 0; i < t.size(); ++i) {
        P[r + i * bins] += inBin(g, k, t[i]) ? 1.0f : 0.0f;
      }
      ++r;
    }
    return r;
  }
};

}  // namespace vorin::test
