// Whole inversions by the library (normal equations on the active set, factors kept, bins
// as runs, the highest instruction-set level) against the reference implementation: the
// full m-by-m system factored anew in every pass, dense pruning, whole decompositions. The
// numbers may differ in how a double was rounded; status and iteration counts may not.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/log_file.hpp"
#include "support/problems.hpp"
#include "support/reference.hpp"
#include "support/store.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "vorin.h"

namespace {

using vorin::kernels::Level;
using vorin::test::getNumber;
using vorin::test::Reference;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::TestProblem;

using Entry = void(VORIN_CALL*)(std::int32_t, std::int32_t, const float*, const float*, float*,
                                std::int32_t*);

/// A way through the library: an entry and the settings that choose the rest.
struct Path {
  const char* name;
  Entry entry;
  const char* reference;  // the function of the reference implementation
  std::function<void()> set;
};

const Path paths[] = {
    {"noise", Vorin_s, "referenceVorin_s", [] {}},
    {"linear bins", Vorin_s, "referenceVorin_s", [] { setText("PRMO", "LIN"); }},
    {"not pruned", Vorin_s, "referenceVorin_s", [] { setText("PRMO", "NONE"); }},
    {"single iteration", Vorin_s, "referenceVorin_s", [] { setNumber("BRDA", 1.0f); }},
    {"quadratic program", Vorin_s, "referenceVorin_s", [] { setNumber("BRDA", 3.0f); }},
    {"scan", Vorin_s, "referenceVorin_s", [] { setText("NALG", "ASYM"); }},
    {"fixed", Vorin_s, "referenceVorin_s",
     [] {
       setText("TARG", "WEIG");
       setNumber("WEIG", 0.3f);
     }},
    {"small fixed", Vorin_s, "referenceVorin_s",
     [] {
       setText("TARG", "WEIG");
       setNumber("WEIG", 1e-5f);
     }},
    {"corner", Vorin_s, "referenceVorin_s", [] { setText("TARG", "2"); }},
    // A threshold below what a triangular factor resolves: both decompose the kernel itself.
    {"compressed", VorinC5_s, "VorinC5_s",
     [] {
       setNumber("SVDN", 8.0f);
       setNumber("SVDT", 1e-8f);
     }},
    {"tight", Vorin_s, "referenceVorin_s", [] { setNumber("TOL", 1e-12f); }},
};

const Path& pathNamed(const std::string& name) {
  return *std::find_if(std::begin(paths), std::end(paths),
                       [&](const Path& path) { return path.name == name; });
}

constexpr const char* results[] = {"CSTA", "CITE", "CWIT", "CWEI", "CSE", "CSIG", "DSE"};

struct Outcome {
  std::int32_t status = -1;
  std::vector<float> F;
  std::vector<float> numbers;  // of `results`

  float operator[](const std::string& key) const {
    const auto place = std::find(std::begin(results), std::end(results), key);
    return numbers[static_cast<std::size_t>(place - std::begin(results))];
  }
};

class FastAgainstReference : public testing::Test {
 protected:
  void TearDown() override {
    vorin::kernels::useLevel(vorin::kernels::highestLevel());
    vorin::test::loadSettings();
  }

  void prepare(const Path& path, float sig, const std::function<void()>& more) {
    vorin::test::loadSettings();
    setText("FLOG", log_.path());
    setNumber("REPO", 0.0f);
    setNumber("PRPO", 30.0f);
    setNumber("SIG", sig);
    path.set();
    more();
  }

  // One inversion from fresh settings.
  Outcome invert(
      const Path& path, const TestProblem<float>& job, float sig,
      const std::function<void()>& more = [] {}) {
    prepare(path, sig, more);
    Outcome out;
    out.F.assign(static_cast<std::size_t>(job.n), 0.0f);
    path.entry(job.m, job.n, job.K.data(), job.d.data(), out.F.data(), &out.status);
    for (const char* key : results) {
      out.numbers.push_back(getNumber(key));
    }
    return out;
  }

  // The same by the reference implementation.
  Outcome invertByReference(
      const Path& path, const TestProblem<float>& job, float sig,
      const std::function<void()>& more = [] {}) {
    prepare(path, sig, more);
    const Reference& reference = Reference::instance();
    reference.takeSettings();
    Outcome out;
    out.F.assign(static_cast<std::size_t>(job.n), 0.0f);
    reference.find<std::remove_pointer_t<Entry>>(path.reference)(
        job.m, job.n, job.K.data(), job.d.data(), out.F.data(), &out.status);
    for (const char* key : results) {
      out.numbers.push_back(reference.getNumber(key));
    }
    return out;
  }

  vorin::test::LogFile log_{"REFERENCE"};
};

bool sameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

double norm(const std::vector<float>& values) {
  double square = 0.0;
  for (const float value : values) {
    square += double(value) * double(value);
  }
  return std::sqrt(square);
}

double distance(const std::vector<float>& a, const std::vector<float>& b) {
  std::vector<float> difference(a.size());
  std::transform(a.begin(), a.end(), b.begin(), difference.begin(), std::minus<>());
  return norm(difference);
}

// Units in the last place of single precision between two numbers; 0 for two NaNs.
float ulps(float a, float b) {
  if (a == b || (std::isnan(a) && std::isnan(b))) {
    return 0.0f;
  }
  const float size = std::max(std::abs(a), std::abs(b));
  return std::abs(a - b) / (size * std::numeric_limits<float>::epsilon());
}

// The same status and counts, and numbers that differ by how a double was rounded before it
// was stored in single precision. A search turns one such difference of rss into one of the
// weight, which moves f by no more than its own relative size: |df| <= |f| dw / w.
void expectSameInversion(const Outcome& fast, const Outcome& reference, float noiseUlps = 0.0f) {
  EXPECT_EQ(fast.status, reference.status);
  for (const char* key : {"CSTA", "CITE", "CWIT"}) {
    EXPECT_EQ(ulps(fast[key], reference[key]), 0.0f) << key;
  }
  for (const char* key : {"CSIG", "DSE"}) {
    EXPECT_LE(ulps(fast[key], reference[key]), noiseUlps) << key;
  }
  // Where the noise itself is rounded, the search has another target, and its weight follows.
  if (noiseUlps == 0.0f) {
    EXPECT_LE(ulps(fast["CWEI"], reference["CWEI"]), 8.0f);
  }
  EXPECT_LE(ulps(fast["CSE"], reference["CSE"]), 8.0f + noiseUlps);
  if (!std::isfinite(norm(reference.F))) {
    EXPECT_EQ(std::isnan(norm(fast.F)), std::isnan(norm(reference.F)));
    return;
  }
  const double relative = 1.0 + double(ulps(fast["CWEI"], reference["CWEI"]));
  EXPECT_LE(distance(fast.F, reference.F),
            relative * double(std::numeric_limits<float>::epsilon()) * norm(reference.F));
}

// The noise that a scan finds is |K f - d| / sqrt(m): one unit in the last place of f moves
// it by up to that of |d|. No other path computes its noise.
float noiseUlpsOf(const Path& path, const TestProblem<float>& job, const Outcome& reference) {
  const bool scans = std::string(path.name) == "scan" && std::isfinite(norm(job.d));
  return scans && reference["CSIG"] > 0.0f
             ? static_cast<float>(norm(job.d) / std::sqrt(double(job.m))) / reference["CSIG"]
             : 0.0f;
}

TEST_F(FastAgainstReference, SameStatusCountsAndDistributionOnEveryPath) {
  int compared = 0;
  std::uint64_t seed = 1;
  for (const Path& path : paths) {
    for (const int nf : {12, 40, 90}) {
      for (const int ng : {5, 16, 33}) {
        for (const double sigma : {0.001, 0.01, 0.1}) {
          for (const double assumed : {0.7, 1.1, 2.0}) {
            const auto job = vorin::test::laplaceProblem<float>(nf, ng, sigma, ++seed);
            const auto sig = static_cast<float>(sigma * assumed);
            const Outcome fast = invert(path, job, sig);
            const Outcome reference = invertByReference(path, job, sig);
            SCOPED_TRACE(testing::Message() << path.name << ", " << nf << " x " << ng << ", sigma "
                                            << sigma << ", assumed " << sig);
            expectSameInversion(fast, reference, noiseUlpsOf(path, job, reference));
            ++compared;
          }
        }
      }
    }
  }
  EXPECT_EQ(compared, 11 * 3 * 3 * 3 * 3);
}

// Either decomposition perturbs the kernel by the rounding of single precision; at a fixed
// weight w this gives |df| <= |E| (|K f - d| / w + |f| / sqrt(w)) for a change E of K.
TEST_F(FastAgainstReference, EitherDecompositionOfACompressionGivesTheSameDistribution) {
  constexpr float weight = 0.01f;
  const Path path = {"compressed at a weight", VorinC5_s, "VorinC5_s", [] {
                       setText("TARG", "WEIG");
                       setNumber("WEIG", weight);
                       setNumber("SVDN", 20.0f);
                       setNumber("SVDT", 1e-6f);
                       setNumber("TOL", 1e-12f);
                     }};
  std::uint64_t seed = 9000;
  for (const char* pruning : {"LOG", "NONE"}) {
    for (const int nf : {80, 300}) {
      for (const int ng : {5, 20, 60}) {
        for (const double sigma : {0.001, 0.03}) {
          const auto job = vorin::test::laplaceProblem<float>(nf, ng, sigma, ++seed);
          const auto prune = [=] { setText("PRMO", pruning); };
          const Outcome fast = invert(path, job, 0.01f, prune);
          const Outcome whole = invertByReference(path, job, 0.01f, prune);
          SCOPED_TRACE(testing::Message()
                       << pruning << ", " << nf << " x " << ng << ", sigma " << sigma);
          EXPECT_EQ(fast.status, whole.status);
          EXPECT_EQ(fast["CSTA"], whole["CSTA"]);
          EXPECT_EQ(fast["CITE"], whole["CITE"]);
          const double change = 10.0 * double(std::numeric_limits<float>::epsilon()) * norm(job.K);
          const double allowed =
              change * (norm(job.d) / double(weight) + norm(whole.F) / std::sqrt(double(weight)));
          EXPECT_LE(distance(fast.F, whole.F), allowed);
          EXPECT_LE(distance(fast.F, whole.F), 0.001 * norm(whole.F));
        }
      }
    }
  }
}

// Each solve of a scan leaves a line in the log; so many solves make it one.
TEST_F(FastAgainstReference, TheScanOfThePathsRuns) {
  const auto job = vorin::test::laplaceProblem<float>(40, 16, 0.01, 17);
  const auto solvesOf = [&](const Path& path) {
    invert(path, job, 0.01f, [] { setNumber("REPO", 1.0f); });
    const std::vector<std::string> lines = log_.body();
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
      return line.find("-> cse=") != std::string::npos;
    });
  };
  EXPECT_EQ(solvesOf(pathNamed("noise")), 0);
  EXPECT_GE(solvesOf(pathNamed("scan")), 3);
}

TEST_F(FastAgainstReference, EveryInstructionSetLevelGivesTheSameBits) {
  std::vector<Path> all(std::begin(paths), std::end(paths));
  all.push_back({"compressed by a triangular factor", VorinC5_s, nullptr, [] {
                   setNumber("SVDN", 8.0f);
                   setNumber("SVDT", 1e-6f);
                 }});
  std::uint64_t seed = 5000;
  for (const Path& path : all) {
    for (const int nf : {12, 50, 130}) {
      for (const int ng : {5, 17, 40}) {
        for (const double sigma : {0.001, 0.03}) {
          const auto job = vorin::test::laplaceProblem<float>(nf, ng, sigma, ++seed);
          const auto sig = static_cast<float>(sigma);
          vorin::kernels::useLevel(Level::baseline);
          const Outcome expected = invert(path, job, sig);
          for (const Level level : {Level::avx2, Level::avx512}) {
            vorin::kernels::useLevel(level);
            const Outcome got = invert(path, job, sig);
            SCOPED_TRACE(testing::Message() << path.name << ", " << nf << " x " << ng << ", sigma "
                                            << sigma << ", level " << static_cast<int>(level));
            EXPECT_EQ(got.status, expected.status);
            EXPECT_TRUE(sameBits(got.F, expected.F));
            EXPECT_TRUE(sameBits(got.numbers, expected.numbers));
          }
        }
      }
    }
  }
}

TEST_F(FastAgainstReference, SingleIterationAndQuadraticProgramHaveTheSameDistributionBits) {
  // f does not depend on how the system of c is solved.
  std::uint64_t seed = 7000;
  for (const Path& path : paths) {
    if (std::string(path.name) != "single iteration" && std::string(path.name) != "corner") {
      continue;
    }
    for (int repeat = 0; repeat < 40; ++repeat) {
      const auto job = vorin::test::laplaceProblem<float>(60, 24, 0.01, ++seed);
      const Outcome fast = invert(path, job, 0.01f);
      const Outcome reference = invertByReference(path, job, 0.01f);
      EXPECT_EQ(fast.status, reference.status) << path.name;
      EXPECT_TRUE(ulps(fast["CWEI"], reference["CWEI"]) > 0.0f || sameBits(fast.F, reference.F))
          << path.name;
    }
  }
}

// Problems that no host sends on purpose.
TEST_F(FastAgainstReference, SameOnHostileProblems) {
  struct Hostile {
    const char* name;
    std::function<void(TestProblem<float>&)> spoil;
    float sig;
  };
  constexpr float inf = std::numeric_limits<float>::infinity();
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  const auto scaled = [](float by) {
    return [by](TestProblem<float>& job) {
      for (std::vector<float>* values : {&job.K, &job.d}) {
        for (float& value : *values) {
          value *= by;
        }
      }
    };
  };
  const Hostile cases[] = {
      {"NaN in the kernel", [](auto& job) { job.K[7] = nan; }, 0.01f},
      {"infinity in the kernel", [](auto& job) { job.K[7] = inf; }, 0.01f},
      {"NaN in the data", [](auto& job) { job.d[3] = nan; }, 0.01f},
      {"infinity in the data", [](auto& job) { job.d[3] = -inf; }, 0.01f},
      {"kernel of zeros", [](auto& job) { std::fill(job.K.begin(), job.K.end(), 0.0f); }, 0.01f},
      {"data of zeros", [](auto& job) { std::fill(job.d.begin(), job.d.end(), 0.0f); }, 0.01f},
      {"negative data",
       [](auto& job) {
         for (float& value : job.d) {
           value = -value;
         }
       },
       0.01f},
      {"equal columns",
       [](auto& job) {
         for (std::size_t i = 0; i < job.K.size(); ++i) {
           job.K[i] = job.K[i % static_cast<std::size_t>(job.m)];
         }
       },
       0.01f},
      {"a column of zeros", [](auto& job) { std::fill_n(job.K.begin(), job.m, 0.0f); }, 0.01f},
      {"huge", scaled(1e18f), 1e16f},
      {"squares beyond single precision", scaled(1e25f), 1e23f},
      {"tiny", scaled(1e-18f), 1e-20f},
      {"subnormal", scaled(1e-40f), 1e-40f},
      {"no points", [](auto& job) { job.m = 0; }, 0.01f},
      {"no grid", [](auto& job) { job.n = 0; }, 0.01f},
      {"one point", [](auto& job) { job.m = 1; }, 0.01f},
      {"one grid time", [](auto& job) { job.n = 1; }, 0.01f},
      {"noise of zero", [](auto&) {}, 0.0f},
      {"noise that is none", [](auto&) {}, nan},
      {"noise beyond the data", [](auto&) {}, 100.0f},
  };
  for (const Hostile& hostile : cases) {
    for (const Path& path : paths) {
      auto job = vorin::test::laplaceProblem<float>(45, 14, 0.01, 77);
      hostile.spoil(job);
      const Outcome fast = invert(path, job, hostile.sig);
      const Outcome reference = invertByReference(path, job, hostile.sig);
      SCOPED_TRACE(testing::Message() << hostile.name << ", " << path.name);
      expectSameInversion(fast, reference, noiseUlpsOf(path, job, reference));
    }
  }
}

TEST_F(FastAgainstReference, SameAtFixedWeightsOfAnySize) {
  const Path& path = pathNamed("fixed");
  const auto job = vorin::test::laplaceProblem<float>(60, 20, 0.01, 5);
  std::vector<float> weights = {0.0f, -0.0f, -1.0f, 1e-38f, 1e30f, 1e38f, 1e-45f};
  for (float weight = 1e-12f; weight < 1e6f; weight *= 3.0f) {
    weights.push_back(weight);
  }
  for (const float weight :
       {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    weights.push_back(weight);
  }
  for (const float weight : weights) {
    const auto setWeight = [weight] { setNumber("WEIG", weight); };
    const Outcome fast = invert(path, job, 0.01f, setWeight);
    const Outcome reference = invertByReference(path, job, 0.01f, setWeight);
    SCOPED_TRACE(testing::Message() << "weight " << weight);
    expectSameInversion(fast, reference, noiseUlpsOf(path, job, reference));
  }
}

}  // namespace
