// Problems whose solutions are known in closed form, and the calls the weight tests
// share.
//
// The identity kernel: with K = I of n columns and data d, the distribution at weight
// w is max(0, d) / (1 + w). A positive element leaves the residual d w / (1 + w), a
// negative one all of itself.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

#include "brd/problem.hpp"
#include "reduce/prune_plan.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "weight/noise_mode.hpp"
#include "weight/weight_search.hpp"

namespace vorin::test {

inline TestProblem<float> identityProblem(const std::vector<float>& d) {
  const int n = static_cast<int>(d.size());
  TestProblem<float> problem{n, n, std::vector<float>(area(n, n), 0.0f), d};
  for (std::size_t i = 0; i < d.size(); ++i) {
    problem.K[i * d.size() + i] = 1.0f;
  }
  return problem;
}

/// rss of the identity problem at weight w.
inline double identityRss(const std::vector<float>& d, double w) {
  double rss = 0.0;
  for (const float value : d) {
    const double residual = double(value) * (value > 0.0f ? w / (1.0 + w) : 1.0);
    rss += residual * residual;
  }
  return rss;
}

/// Data for the identity kernel: rss(w) = 16 w^2 / (1 + w)^2, which is 4 with slope 4 at
/// w = 1; standard error 2 w / (1 + w).
inline const std::vector<float> twos(4, 2.0f);

/// `full` reduced to about `target` rows on a logarithmic axis, as the driver does it.
inline TestProblem<float> prunedProblem(const TestProblem<float>& full, int target) {
  std::vector<float> positions(static_cast<std::size_t>(full.m));
  std::iota(positions.begin(), positions.end(), 1.0f);
  const std::vector<float> ones(positions.size(), 1.0f);
  reduce::PruneRequest request;
  request.points = full.m;
  request.capacityPoints = full.m;
  request.maxBins = 5000;
  request.t = positions.data();
  request.scale = ones.data();
  request.target = target;
  const reduce::PrunePlan plan(request);
  TestProblem<float> pruned;
  pruned.m = plan.count();
  pruned.n = full.n;
  pruned.K.resize(area(pruned.m, pruned.n));
  pruned.d.resize(static_cast<std::size_t>(pruned.m));
  plan.apply(full.d.data(), pruned.d.data());
  plan.apply(full.n, full.K.data(), full.m, pruned.K.data(), pruned.m);
  return pruned;
}

/// Starts each test from the load values of the keys.
class LoadedSettings : public ::testing::Test {
 protected:
  void SetUp() override { loadSettings(); }
};

/// A problem with the distribution and dual vector as the weight driver starts them.
struct Workplace {
  explicit Workplace(TestProblem<float> given)
      : data(std::move(given)),
        problem(data.m, data.n, data.K.data(), data.d.data()),
        f(static_cast<std::size_t>(std::max(data.n, 0)), 0.0f),
        c(static_cast<std::size_t>(std::max(data.m, 0)), 1.0f) {}

  TestProblem<float> data;
  brd::Problem<float> problem;
  std::vector<float> f;
  std::vector<float> c;
};

struct Searched {
  float w = -1.0f;
  float signow = -1.0f;
  float iter = -1.0f;
  std::int32_t status = -1;
};

inline Searched search(Workplace& place, float w, float sigwant, float limit = 40.0f) {
  Searched out;
  out.w = w;
  weight::Vorin_TargSE(place.problem, place.f.data(), place.c.data(), out.w, sigwant, limit,
                       out.signow, out.iter, out.status);
  return out;
}

/// The end of a search: its status, the number of its iterations and its last weight.
inline void expectEnd(const Searched& out, std::int32_t status, float iter, float w) {
  EXPECT_EQ(out.status, status);
  EXPECT_EQ(out.iter, iter);
  EXPECT_EQ(out.w, w);
}

inline Searched runNoiseMode(Workplace& place) {
  Searched out;
  weight::ModeResult result;
  result.w = getNumber("WEIG");
  weight::noiseMode(place.problem, place.f.data(), place.c.data(), result, out.status);
  out.w = result.w;
  out.signow = result.signow;
  out.iter = result.iter;
  return out;
}

/// sqrt(|K f - d|^2 / m) in double precision.
inline double standardErrorOf(const TestProblem<float>& problem, const std::vector<float>& f) {
  double square = 0.0;
  for (int i = 0; i < problem.m; ++i) {
    double r = -double(problem.d[static_cast<std::size_t>(i)]);
    for (int j = 0; j < problem.n; ++j) {
      r += double(problem.K[static_cast<std::size_t>(i) + area(problem.m, j)]) *
           double(f[static_cast<std::size_t>(j)]);
    }
    square += r * r;
  }
  return std::sqrt(square / problem.m);
}

/// What follows `label` in a log line, read as a number.
inline double valueBehind(const std::string& line, const std::string& label) {
  const std::size_t place = line.find(label);
  return place == std::string::npos ? std::nan("") : std::stod(line.substr(place + label.size()));
}

inline const std::string searchTag = "Vorin_TargSE::";

using Lines = std::vector<std::string>;

/// The lines of the search's iterations among `lines`.
inline Lines iterations(const Lines& lines) {
  Lines found;
  for (const std::string& line : lines) {
    if (line.rfind(searchTag + "I::iw=", 0) == 0) {
      found.push_back(line);
    }
  }
  return found;
}

}  // namespace vorin::test
