// One call of VorinPrune or VorinPrune2 over a description of it, and the same pruning by
// its definition on full matrices.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <vector>

#include "support/dense_bins.hpp"
#include "support/problems.hpp"
#include "vorin.h"

namespace vorin::test {

inline constexpr float untouched = -123.0f;
inline constexpr float leastNorm = 1e-10f;

struct PruneCall {
  std::vector<float> t = {};
  std::vector<float> y = {};  // random when empty
  std::vector<float> v = {};  // ones when empty
  int nCols = 9;
  int maxBins = 60;
  int prLo = 1;
  int prHi = -1;
  int target = 20;
  int mode = VORIN_PRUNE_LOG;
  int moreLd = 0;   // ldPoints above nPoints
  int countIn = 0;  // VorinPrune2
};

struct Pruned {
  int count = -1;
  int status = -1;
  std::vector<float> y, t, k, norm, P;
};

inline std::vector<float> evenTimes(int n) {
  std::vector<float> t(static_cast<std::size_t>(n));
  for (std::size_t i = 0; i < t.size(); ++i) {
    t[i] = static_cast<float>(i + 1);
  }
  return t;
}

inline std::vector<float> randomValues(std::size_t count, std::uint64_t seed) {
  Uniform uniform(seed);
  std::vector<float> values(count);
  std::generate(values.begin(), values.end(), [&] { return static_cast<float>(uniform()); });
  return values;
}

inline PruneCall completed(PruneCall request) {
  const std::size_t n = request.t.size();
  if (request.y.empty()) {
    request.y = randomValues(n, 5);
  }
  if (request.v.empty()) {
    request.v.assign(n, 1.0f);
  }
  return request;
}

// The kernel, with rows past the points that are not numbers.
inline std::vector<float> kernelOf(const PruneCall& request) {
  const std::size_t n = request.t.size();
  const std::size_t ld = n + static_cast<std::size_t>(request.moreLd);
  const auto columns = static_cast<std::size_t>(std::max(request.nCols, 0));
  const std::vector<float> values = randomValues(n * columns, 6);
  std::vector<float> k(ld * columns, std::numeric_limits<float>::quiet_NaN());
  for (std::size_t j = 0; j < columns; ++j) {
    std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(j * n), n,
                k.begin() + static_cast<std::ptrdiff_t>(j * ld));
  }
  return k;
}

template <class Export>
Pruned prune(Export exported, const PruneCall& given) {
  const PruneCall request = completed(given);
  const int n = static_cast<int>(request.t.size());
  const int ld = n + request.moreLd;
  const auto bins = static_cast<std::size_t>(std::max(request.maxBins, 0));
  std::vector<float> t = request.t;
  t.resize(static_cast<std::size_t>(ld), 1e30f);
  Pruned out;
  out.count = request.countIn;
  out.y.assign(bins, untouched);
  out.t.assign(bins, untouched);
  out.norm.assign(bins, untouched);
  out.k.assign(bins * static_cast<std::size_t>(std::max(request.nCols, 0)), untouched);
  out.P.assign(bins * static_cast<std::size_t>(ld), untouched);
  exported(request.nCols, n, ld, request.maxBins, request.y.data(), t.data(),
           kernelOf(request).data(), request.v.data(), request.prLo, request.prHi, request.target,
           request.mode, &out.count, out.y.data(), out.t.data(), out.k.data(), out.norm.data(),
           out.P.data(), &out.status);
  return out;
}

inline int prunedCountZ(const PruneCall& given) {
  const PruneCall request = completed(given);
  const int n = static_cast<int>(request.t.size());
  const auto bins = static_cast<std::size_t>(request.maxBins);
  int count = -1;
  int status = -1;
  std::vector<float> y(bins), t(bins), norm(bins), P(bins * request.t.size());
  VorinPruneZ(n, n, request.maxBins, request.y.data(), request.t.data(), request.v.data(),
              request.prLo, request.prHi, request.target, request.mode, &count, y.data(), t.data(),
              norm.data(), P.data(), &status);
  return count;
}

// The definitions, on full matrices.
enum class Form { prune, prune2 };

inline Pruned literal(Form form, const PruneCall& given) {
  const PruneCall request = completed(given);
  const std::size_t n = request.t.size();
  const std::size_t ld = n + static_cast<std::size_t>(request.moreLd);
  const auto bins = static_cast<std::size_t>(request.maxBins);
  const auto columns = static_cast<std::size_t>(request.nCols);
  const DenseBins dense{request.t, request.prLo, request.mode};
  const std::vector<float> K = kernelOf(request);
  const std::vector<float> g = form == Form::prune
                                   ? dense.edges(std::min(request.target, request.maxBins))
                                   : dense.adjustedEdges(request.target, request.maxBins);
  Pruned out;
  out.status = 0;
  out.P.assign(bins * ld, 0.0f);
  const std::size_t rows = dense.fill(g, bins, bins, out.P);
  out.count = static_cast<int>(rows);
  out.y.assign(bins, 0.0f);
  out.t.assign(bins, 0.0f);
  out.k.assign(bins * columns, 0.0f);
  out.norm.assign(bins, leastNorm);
  for (std::size_t r = 0; r < rows; ++r) {
    const auto P = [&](std::size_t i) -> float& { return out.P[r + i * bins]; };
    const auto& v = request.v;
    float square = 0.0f;
    float points = 0.0f;
    float position = 0.0f;
    for (std::size_t i = 0; i < n; ++i) {
      square += v[i] * v[i] * P(i);
      points += P(i);
      position += request.t[i] * P(i);
    }
    const float s = std::max(std::sqrt(square), leastNorm);
    float divided = 0.0f;
    float whitened = 0.0f;
    for (std::size_t i = 0; i < n; ++i) {
      P(i) /= form == Form::prune ? s : std::sqrt(points);
      divided += request.t[i] * P(i);
      whitened += P(i) / v[i];
    }
    out.t[r] = form == Form::prune ? divided / s : position / points;
    out.norm[r] = form == Form::prune ? s : std::max(1.0f / whitened, leastNorm);
    const auto weighted = [&](float value, std::size_t i) {
      return form == Form::prune ? value : value / v[i];
    };
    for (std::size_t i = 0; i < n; ++i) {
      out.y[r] += weighted(request.y[i], i) * P(i);
      for (std::size_t j = 0; j < columns; ++j) {
        out.k[r + j * bins] += weighted(K[i + j * ld], i) * P(i);
      }
    }
  }
  return out;
}

inline void expectEqualBits(const std::vector<float>& a, const std::vector<float>& b,
                            const char* what) {
  ASSERT_EQ(a.size(), b.size()) << what;
  EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(float)), 0) << what;
}

inline void expectEqual(const Pruned& got, const Pruned& expected) {
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.count, expected.count);
  expectEqualBits(got.y, expected.y, "yPruned");
  expectEqualBits(got.t, expected.t, "tMean");
  expectEqualBits(got.k, expected.k, "kPruned");
  expectEqualBits(got.norm, expected.norm, "binNorm");
  expectEqualBits(got.P, expected.P, "P");
}

}  // namespace vorin::test
