// The primary driver and its entries at a fixed weight: branches, report, log.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "support/log_file.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "vorin.h"

namespace {

using vorin::test::area;
using vorin::test::getNumber;
using vorin::test::LogFile;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::TestProblem;

struct Inverted {
  std::vector<float> F, FIT, W;
  std::int32_t status = -1;
};

std::vector<float> pointIndex(int nf) {
  std::vector<float> t(static_cast<std::size_t>(nf));
  std::iota(t.begin(), t.end(), 1.0f);
  return t;
}

Inverted invert(const TestProblem<float>& job, float weightOfPoints = -4.0f) {
  const std::int32_t nf = job.m;
  const std::int32_t ng = job.n;
  const std::vector<float> T = pointIndex(nf);
  const std::vector<float> G(static_cast<std::size_t>(ng), 1.0f);
  Inverted out;
  out.F.assign(static_cast<std::size_t>(ng), 0.0f);
  out.FIT.assign(static_cast<std::size_t>(nf), -9.0f);
  out.W.assign(static_cast<std::size_t>(nf), weightOfPoints);
  Voriny_s(nf, ng, &nf, &ng, job.K.data(), T.data(), job.d.data(), out.W.data(), G.data(),
           out.F.data(), out.FIT.data(), &out.status);
  return out;
}

struct PrunedProblem {
  int rows = 0;
  std::vector<float> K, Y;
};

// The pruned problem by the exported map and a plain dense product.
PrunedProblem pruneDense(const TestProblem<float>& job, int target, int mode) {
  const int bins = 5000;
  const std::vector<float> T = pointIndex(job.m);
  const std::vector<float> ones(T.size(), 1.0f);
  std::vector<float> y(5000), tSum(5000), norm(5000), P(area(bins, job.m));
  PrunedProblem out;
  std::int32_t status = -1;
  VorinPruneZ(job.m, job.m, bins, job.d.data(), T.data(), ones.data(), 1, -1, target, mode,
              &out.rows, y.data(), tSum.data(), norm.data(), P.data(), &status);
  out.Y.assign(y.begin(), y.begin() + out.rows);
  out.K.assign(area(out.rows, job.n), 0.0f);
  for (int j = 0; j < job.n; ++j) {
    for (int r = 0; r < out.rows; ++r) {
      float sum = 0.0f;
      for (int i = 0; i < job.m; ++i) {
        sum += P[static_cast<std::size_t>(r) + area(bins, i)] *
               job.K[static_cast<std::size_t>(i) + area(job.m, j)];
      }
      out.K[static_cast<std::size_t>(r) + area(out.rows, j)] = sum;
    }
  }
  return out;
}

float meanSquaredNorm(int rows, int columns, const std::vector<float>& K) {
  double total = 0.0;
  for (const float value : K) {
    total += double(value) * double(value);
  }
  EXPECT_EQ(K.size(), area(rows, columns));
  return static_cast<float>(total / columns);
}

class Driver : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    log_.emplace("DRIVER");
    setText("TARG", "WEIG");
    setNumber("WEIG", 0.3f);
  }
  void TearDown() override { vorin::test::loadSettings(); }

  std::optional<LogFile> log_;
  const TestProblem<float> job_ = vorin::test::laplaceProblem<float>(300, 40, 0.01, 31);
};

TEST_F(Driver, PointWeightsOfTheHostAreOverwrittenAndWithoutInfluence) {
  const Inverted first = invert(job_, 5.0f);
  const Inverted second = invert(job_, -1e10f);
  EXPECT_EQ(first.F, second.F);
  EXPECT_EQ(first.W, std::vector<float>(300, 1.0f));
  EXPECT_EQ(second.W, std::vector<float>(300, 1.0f));
}

TEST_F(Driver, WithoutPruningItSolvesTheFullProblemAndPutsTheReferenceBack) {
  setText("PRMO", "NONE");
  const Inverted got = invert(job_);
  EXPECT_EQ(getNumber("WREF"), 1.0f);
  std::vector<float> f(40);
  float weight = 0.3f, rss = 0, slope = 0;
  std::int32_t status = -1;
  vrBRDw_sp_dll(300, 40, job_.K.data(), job_.d.data(), f.data(), &weight, &rss, &slope, &status);
  EXPECT_EQ(got.F, f);
  EXPECT_EQ(got.status, status);
  EXPECT_EQ(getNumber("CSE"), std::sqrt(rss / 300.0f));
}

// The dense sums of the pruned kernel hold zero times infinity, which is not a number.
TEST_F(Driver, AnInfiniteKernelElementMakesThePrunedReferenceNotANumber) {
  setNumber("PRPO", 60.0f);
  TestProblem<float> job = job_;
  job.K[vorin::test::area(300, 7) + 150] = std::numeric_limits<float>::infinity();
  invert(job);
  EXPECT_TRUE(std::isnan(getNumber("WREF")));
}

TEST_F(Driver, WithPruningItSolvesTheBinnedProblemAndLeavesItsReference) {
  const struct {
    const char* text;
    int mode;
  } modes[] = {{"LOG", VORIN_PRUNE_LOG}, {"LIN", VORIN_PRUNE_LINEAR}, {"LILO", VORIN_PRUNE_LINEAR}};
  setNumber("PRPO", 60.0f);
  for (const auto& mode : modes) {
    setText("PRMO", mode.text);
    const Inverted got = invert(job_);
    const PrunedProblem pruned = pruneDense(job_, 60, mode.mode);
    EXPECT_NEAR(getNumber("WREF") / meanSquaredNorm(pruned.rows, 40, pruned.K), 1.0f, 1e-5f);
    std::vector<float> f(40);
    float weight = 0.3f, rss = 0, slope = 0;
    std::int32_t status = -1;
    vrBRDw_sp_dll(pruned.rows, 40, pruned.K.data(), pruned.Y.data(), f.data(), &weight, &rss,
                  &slope, &status);
    EXPECT_EQ(got.F, f) << mode.text;
    EXPECT_EQ(getNumber("CSE"), std::sqrt(rss / static_cast<float>(pruned.rows)));
  }
}

TEST_F(Driver, TheResetTextOfThePruningModePrunesLogarithmically) {
  setText("PRMO", "LOG");
  const Inverted expected = invert(job_);
  std::int32_t status = -1;
  float value = 0.0f;
  VorinSQR("I", "    ", &value, &status);
  setText("TARG", "WEIG");
  setNumber("WEIG", 0.3f);
  setText("FLOG", log_->path());
  EXPECT_EQ(invert(job_).F, expected.F);
  EXPECT_EQ(vorin::test::getText("PRMO"), "NONE");
}

TEST_F(Driver, FitIsTheKernelTimesTheDistributionOnAllPoints) {
  const Inverted got = invert(job_);
  std::vector<float> fit(300, 0.0f);
  for (int j = 0; j < 40; ++j) {
    for (std::size_t i = 0; i < 300; ++i) {
      fit[i] += got.F[static_cast<std::size_t>(j)] * job_.K[i + area(300, j)];
    }
  }
  EXPECT_EQ(got.FIT, fit);
}

int loggedCount(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    if (line.find("With pruning from ") != std::string::npos) {
      const std::string field = line.substr(line.find(" to") + 3);
      return field == "***" ? 1000 : std::stoi(field);
    }
  }
  return -1;
}

TEST_F(Driver, TheWantedCountIsClippedToTenFromBelow) {
  setNumber("PRPO", 3.0f);
  const Inverted three = invert(job_);
  EXPECT_LE(loggedCount(log_->body()), 10);
  EXPECT_GT(loggedCount(log_->body()), 3);
  setNumber("PRPO", 10.9f);
  EXPECT_EQ(invert(job_).F, three.F);
  setNumber("PRPO", -1e30f);
  EXPECT_EQ(invert(job_).F, three.F);
}

TEST_F(Driver, TheWantedCountIsClippedToTheCapacityFromAbove) {
  // With the two highest counts alike the pruned kernels are alike, and with them the
  // reference. A tolerance that needs no pass keeps the solve cheap: what is left of it
  // is one factorisation.
  const TestProblem<float> job = vorin::test::laplaceProblem<float>(700, 2, 0.01, 2);
  setText("PRMO", "LIN");
  setNumber("TOL", 1e20f);
  setNumber("PRPO", 5000.0f);
  invert(job);
  const float reference = getNumber("WREF");
  setNumber("PRPO", 100000.0f);
  invert(job);
  EXPECT_EQ(getNumber("WREF"), reference);
  setNumber("PRPO", 300.0f);
  invert(job);
  EXPECT_NE(getNumber("WREF"), reference);
}

TEST_F(Driver, LogLinesOfAPrunedSuccess) {
  invert(job_);
  const auto lines = log_->body();
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines[0], "Vorin::M::Start inversion");
  const PrunedProblem pruned = pruneDense(job_, 200, VORIN_PRUNE_LOG);
  EXPECT_EQ(lines[1], "Vorin::M::With pruning from   300 to" + std::to_string(pruned.rows));
  EXPECT_EQ(lines[2], "Vorin_SEtoW::Comment::WEIG: target W=  0.3000");
  // The double route logs the weight that it uses: 0.3f, widened.
  EXPECT_EQ(lines[3], "vrBRD_w::M::Solving with  weight = 0.30000001192092896");
  EXPECT_EQ(lines.back(), "Vorin::M::Successful inversion, status =   0");
}

TEST_F(Driver, LogLinesOfAnUnprunedFailure) {
  setText("PRMO", "NONE");
  setNumber("MAXI", 1.0f);
  const Inverted got = invert(job_);
  EXPECT_EQ(got.status, VORIN_SOLVER_FAILED);
  const auto lines = log_->body();
  EXPECT_EQ(lines[1], "Vorin::M::No pruning");
  EXPECT_EQ(lines.back(), "Vorin::M::Unsuccessful inversion, status =   1");
  EXPECT_EQ(getNumber("CSTA"), 1.0f);
  // Results are delivered also after a failure.
  EXPECT_GT(*std::max_element(got.F.begin(), got.F.end()), 0.0f);
}

TEST_F(Driver, APrunedCountOfAThousandShowsStars) {
  const TestProblem<float> large = vorin::test::laplaceProblem<float>(1500, 2, 0.01, 2);
  setText("PRMO", "LIN");
  setNumber("PRPO", 1200.0f);
  setNumber("MAXI", 1.0f);
  invert(large);
  EXPECT_EQ(log_->body()[1], "Vorin::M::With pruning from  1500 to***");
}

TEST_F(Driver, FixedModeWritesItsResultKeysAndLeavesTheNoiseKeys) {
  setNumber("SIG", 0.125f);
  setNumber("CSIG", 77.0f);
  setNumber("DSE", 78.0f);
  setNumber("CWIT", 79.0f);
  invert(job_);
  EXPECT_EQ(getNumber("CWIT"), 0.0f);
  EXPECT_EQ(getNumber("CWEI"), 0.3f);
  EXPECT_EQ(getNumber("CSTA"), 0.0f);
  EXPECT_EQ(getNumber("SIG"), 0.125f);
  EXPECT_EQ(getNumber("CSIG"), 77.0f);
  EXPECT_EQ(getNumber("DSE"), 78.0f);
}

TEST_F(Driver, ShortEntriesUseThePointIndex) {
  const Inverted expected = invert(job_);
  std::vector<float> F(40, 0.0f);
  std::int32_t status = -1;
  Vorin_s(300, 40, job_.K.data(), job_.d.data(), F.data(), &status);
  EXPECT_EQ(F, expected.F);
  EXPECT_EQ(status, expected.status);
  std::fill(F.begin(), F.end(), 0.0f);
  vorin_s_cdecl(300, 40, job_.K.data(), job_.d.data(), F.data(), &status);
  EXPECT_EQ(F, expected.F);
}

TEST_F(Driver, DoubleEntryRoundsFAndLeavesTheHostsArrays) {
  const Inverted expected = invert(job_);
  const std::vector<double> K(job_.K.begin(), job_.K.end());
  const std::vector<double> Y(job_.d.begin(), job_.d.end());
  std::vector<double> kernel = K;
  std::vector<double> data = Y;
  std::vector<double> F(40, 0.1);
  std::int32_t status = -1;
  Vorin_d(300, 40, kernel.data(), data.data(), F.data(), &status);
  EXPECT_EQ(kernel, K);
  EXPECT_EQ(data, Y);
  EXPECT_EQ(status, 0);
  for (std::size_t j = 0; j < F.size(); ++j) {
    EXPECT_EQ(F[j], static_cast<double>(expected.F[j]));
  }
}

TEST_F(Driver, SizesBelowOneAreNotRefused) {
  for (const char* mode : {"NONE", "LOG"}) {
    setText("PRMO", mode);
    for (const int nf : {0, -1, 5}) {
      for (const int ng : {0, -1, 3}) {
        if (nf > 0 && ng > 0) {
          continue;
        }
        std::vector<float> K(16, 1.0f), Y(5, 1.0f), F(3, 0.5f);
        std::int32_t status = -77;
        Vorin_s(nf, ng, K.data(), Y.data(), F.data(), &status);
        EXPECT_EQ(status, 0) << mode << " " << nf << " " << ng;
      }
    }
  }
}

TEST_F(Driver, AGridOfOnePointIsInverted) {
  const TestProblem<float> one = vorin::test::laplaceProblem<float>(50, 1, 0.0, 2);
  const Inverted got = invert(one);
  EXPECT_EQ(got.status, 0);
  EXPECT_GT(got.F[0], 0.0f);
}

TEST_F(Driver, TwoRunsGiveTheSameBits) {
  const Inverted first = invert(job_);
  const Inverted second = invert(job_);
  EXPECT_EQ(first.F, second.F);
  EXPECT_EQ(first.FIT, second.FIT);
}

TEST(PlainSums, AddWhatTheyAreGiven) {
  EXPECT_EQ(sum(2, 3), 5);
  EXPECT_EQ(fadd_i4b_dll(-2, 3), 1);
  EXPECT_EQ(fadd_dp_dll(40, 2), 42);
  EXPECT_EQ(sum(2147483647, 1), -2147483647 - 1);
  const std::int32_t a = 7, b = -9;
  std::int32_t c = 0;
  sadd_i4b_dll(&a, &b, &c);
  EXPECT_EQ(c, -2);
  const double x = 0.5, y = 0.25;
  double z = 0.0;
  sadd_dp_dll(&x, &y, &z);
  EXPECT_EQ(z, 0.75);
}

}  // namespace
