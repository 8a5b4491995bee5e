// The compressed drivers: the table that tells the five variants apart, row by row.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "entry/compressed_driver.hpp"
#include "entry/compressed_settings.hpp"
#include "support/compression.hpp"
#include "support/log_file.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "vorin.h"

namespace {

using vorin::entry::CompressedSettings;
using vorin::entry::Variant;
using vorin::test::getNumber;
using vorin::test::LogFile;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::TestProblem;

using LongEntry = void(VORIN_CALL*)(std::int32_t, std::int32_t, const std::int32_t*,
                                    const std::int32_t*, const float*, const float*, const float*,
                                    float*, const float*, float*, float*, std::int32_t*);
using ShortEntry = void(VORIN_CALL*)(std::int32_t, std::int32_t, const float*, const float*, float*,
                                     std::int32_t*);

// What the five do differently, as a host sees it.
struct Member {
  const char* name;
  LongEntry longEntry;
  ShortEntry shortEntry;  // none for C3
  const Variant* variant;
  const char* skipLine;
  const char* svdLine;
  const char* prunedLine;
  bool closesLog;
};

const Member members[] = {
    {"C", VorinyC_s, VorinC_s, &vorin::entry::variantC, "", "with pruning from ",
     "with pruning from ", false},
    {"C2", VorinyC2_s, VorinC2_s, &vorin::entry::variantC2, "No pruning", "with svd from ",
     "with pruning from ", false},
    {"C3", VorinyC3_s, nullptr, &vorin::entry::variantC3, "No pruning", "With pruning from ",
     "With pruning from ", false},
    {"C4", VorinyC4_s, VorinC4_s, &vorin::entry::variantC4, "No pruning", "with svd from ",
     "with pruning from ", false},
    {"C5", VorinyC5_s, VorinC5_s, &vorin::entry::variantC5, "No pruning", "with svd from ",
     "with pruning from ", true},
};

struct Inverted {
  std::vector<float> F, FIT, W;
  std::int32_t status = -1;
};

Inverted invert(LongEntry entry, const TestProblem<float>& job) {
  const std::int32_t nf = job.m;
  const std::int32_t ng = job.n;
  std::vector<float> T(static_cast<std::size_t>(nf));
  std::iota(T.begin(), T.end(), 1.0f);
  const std::vector<float> G(static_cast<std::size_t>(ng), 1.0f);
  Inverted out;
  out.F.assign(static_cast<std::size_t>(ng), 0.0f);
  out.FIT.assign(static_cast<std::size_t>(nf), -9.0f);
  out.W.assign(static_cast<std::size_t>(nf), -4.0f);
  entry(nf, ng, &nf, &ng, job.K.data(), T.data(), job.d.data(), out.W.data(), G.data(),
        out.F.data(), out.FIT.data(), &out.status);
  return out;
}

float distance(const std::vector<float>& a, const std::vector<float>& b) {
  float square = 0.0f;
  for (std::size_t i = 0; i < a.size(); ++i) {
    square += (a[i] - b[i]) * (a[i] - b[i]);
  }
  return std::sqrt(square);
}

class Compressed : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    log_.emplace("COMPRESSED");
    setText("TARG", "WEIG");
    setNumber("WEIG", 0.3f);
    setNumber("SVDT", 1e-6f);
  }
  void TearDown() override {
    // Closes a log that a variant has left open.
    setNumber("REPO", 0.0f);
    invert(VorinyC5_s, vorin::test::laplaceProblem<float>(4, 2, 0.0, 1));
    vorin::test::loadSettings();
  }

  // The driver's own line behind "Start inversion".
  std::string reductionLine() const {
    const auto lines = log_->body();
    return lines.size() < 2 ? "" : lines[1];
  }

  std::optional<LogFile> log_;
  const TestProblem<float> job_ = vorin::test::laplaceProblem<float>(300, 40, 0.01, 31);
};

TEST_F(Compressed, WithoutReductionAllFiveRunThePlainSolve) {
  setText("PRMO", "NONE");
  const std::int32_t nf = 300, ng = 40;
  std::vector<float> expected(40), fit(300), W(300), T(300, 1.0f), G(40, 1.0f);
  std::int32_t status = -1;
  Voriny_s(nf, ng, &nf, &ng, job_.K.data(), T.data(), job_.d.data(), W.data(), G.data(),
           expected.data(), fit.data(), &status);
  for (const Member& member : members) {
    const Inverted got = invert(member.longEntry, job_);
    EXPECT_EQ(got.F, expected) << member.name;
    EXPECT_EQ(got.FIT, fit) << member.name;
    EXPECT_EQ(got.status, status) << member.name;
    EXPECT_EQ(getNumber("CSTA"), static_cast<float>(status));
    // C writes no line for that.
    const std::string line = reductionLine();
    if (member.skipLine[0] == '\0') {
      EXPECT_EQ(line.find("Vorin::M::"), std::string::npos) << line;
    } else {
      EXPECT_EQ(line, std::string("Vorin::M::") + member.skipLine);
    }
    EXPECT_EQ(log_->body().back(), "Vorin::M::Successful inversion, status =   0");
  }
}

TEST_F(Compressed, CompressionAloneHasALineOfItsOwnInEachVariant) {
  setText("PRMO", "NONE");
  setNumber("SVDN", 20.0f);
  setNumber("SVDT", 0.0f);
  for (const Member& member : members) {
    invert(member.longEntry, job_);
    EXPECT_EQ(reductionLine(), std::string("Vorin::M::") + member.svdLine + "  300 to 20");
  }
}

TEST_F(Compressed, PruningHasALineOfItsOwnInEachVariant) {
  setText("PRMO", "LOG");
  setNumber("PRPO", 60.0f);
  for (const float vectors : {0.0f, 12.0f}) {
    setNumber("SVDN", vectors);
    setNumber("SVDT", 0.0f);
    for (const Member& member : members) {
      invert(member.longEntry, job_);
      const std::string start = std::string("Vorin::M::") + member.prunedLine + "  300 to";
      EXPECT_EQ(reductionLine().substr(0, start.size()), start);
      if (vectors > 0.0f) {
        EXPECT_EQ(reductionLine().substr(start.size()), " 12");
      }
    }
  }
}

TEST_F(Compressed, AllRowsOfTheCompressionKeepTheMinimiser) {
  // With every singular vector kept, Kc'Kc = K'K and Kc'dc = K'd, so that the same
  // distribution is found, up to the single precision of the factors.
  setText("PRMO", "NONE");
  const Inverted plain = invert(VorinyC5_s, job_);
  setNumber("SVDN", 40.0f);
  setNumber("SVDT", 0.0f);
  const std::vector<float> zero(40, 0.0f);
  for (const Member& member : members) {
    const Inverted got = invert(member.longEntry, job_);
    EXPECT_EQ(got.status, 0);
    EXPECT_LT(distance(got.F, plain.F), 1e-4f * distance(plain.F, zero)) << member.name;
  }
}

TEST_F(Compressed, TheDefaultThresholdKeepsOneRow) {
  setText("PRMO", "NONE");
  setNumber("SVDN", 20.0f);
  setNumber("SVDT", 999.0f);
  for (const Member& member : members) {
    invert(member.longEntry, job_);
    EXPECT_EQ(reductionLine(), std::string("Vorin::M::") + member.svdLine + "  300 to  1");
  }
}

TEST_F(Compressed, LinearAndMixedBinsAreModesTwoAndThree) {
  // The compressed drivers hand the code on, so LILO is mode 3 here.
  setNumber("PRPO", 60.0f);
  setNumber("PRLO", 9.0f);
  std::vector<std::vector<float>> found;
  for (const char* mode : {"LOG", "LIN", "LILO"}) {
    setText("PRMO", mode);
    found.push_back(invert(VorinyC5_s, job_).F);
  }
  EXPECT_NE(found[0], found[1]);
  EXPECT_NE(found[1], found[2]);
  EXPECT_NE(found[0], found[2]);
}

TEST_F(Compressed, OnlyTheFifthClosesTheLog) {
  for (const Member& member : members) {
    invert(member.longEntry, job_);
    const std::size_t before = log_->lines().size();
    // A single solve writes into a log that is open and opens none.
    float rss = 0, slope = 0, weight = 1.0f;
    std::int32_t status = -1;
    std::vector<float> f(40);
    vrBRDw_sp_dll(300, 40, job_.K.data(), job_.d.data(), f.data(), &weight, &rss, &slope, &status);
    // The next inversion closes the log, which brings every line to the file.
    {
      const LogFile other("OTHER");
      invert(VorinyC5_s, job_);
    }
    EXPECT_EQ(log_->lines().size() > before, !member.closesLog) << member.name;
    setText("FLOG", log_->path());
  }
}

TEST_F(Compressed, OnlyTheFifthSavesAboveLevelThree) {
  for (const Member& member : members) {
    for (const float level : {3.0f, 4.0f}) {
      setNumber("REPO", level);
      setNumber("SAVE", 1.0f);  // plays no part here
      invert(member.longEntry, job_);
      const auto lines = log_->lines();
      const auto begins = [&](const std::string& text) {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.find(text) == 1; });
      };
      EXPECT_EQ(begins("!  Vorin save1"), member.closesLog && level > 3.0f ? 1 : 0) << member.name;
      if (begins("[COEF]") == 0) {
        continue;
      }
      // Each row of the distribution's table: grid, zero, amplitude.
      auto row = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("[COEF]") != std::string::npos;
      });
      std::istringstream fields(*(row + 3));
      double grid = -1, second = -1, amplitude = -1;
      EXPECT_TRUE(fields >> grid >> second >> amplitude) << *(row + 3);
      EXPECT_EQ(grid, 1.0);
      EXPECT_EQ(second, 0.0);
    }
  }
}

TEST_F(Compressed, TheReferenceIsLeftAlone) {
  setNumber("WREF", 123.0f);
  for (const char* mode : {"NONE", "LOG"}) {
    setText("PRMO", mode);
    for (const Member& member : members) {
      invert(member.longEntry, job_);
      EXPECT_EQ(getNumber("WREF"), 123.0f);
    }
  }
}

TEST_F(Compressed, DifferenceNoiseGoesToItsKey) {
  for (const Member& member : members) {
    for (const char* algorithm : {"D2", "D3", "NONE", "FIT"}) {
      setText("NALG", algorithm);
      setNumber("CSI2", 99.0f);
      invert(member.longEntry, job_);
      const int order = std::string(algorithm) == "D2" ? 2 : 3;
      EXPECT_EQ(getNumber("CSI2"), VorinSEDiff(order, 300, job_.d.data())) << member.name;
    }
  }
}

TEST_F(Compressed, ShortEntriesUseThePointIndex) {
  for (const Member& member : members) {
    if (member.shortEntry == nullptr) {
      continue;
    }
    const Inverted expected = invert(member.longEntry, job_);
    std::vector<float> F(40, 0.0f);
    std::int32_t status = -1;
    member.shortEntry(300, 40, job_.K.data(), job_.d.data(), F.data(), &status);
    EXPECT_EQ(F, expected.F) << member.name;
    EXPECT_EQ(status, expected.status);
  }
}

TestProblem<float> spiked(const TestProblem<float>& job,
                          std::initializer_list<std::size_t> places) {
  TestProblem<float> out = job;
  for (const std::size_t place : places) {
    out.d[place] += 0.5f;  // fifty times the noise
  }
  return out;
}

TEST_F(Compressed, OutliersAreDownWeightedToNearZeroInC5) {
  const TestProblem<float> job = spiked(job_, {100, 222});
  setNumber("L2MO", 1.0f);
  setNumber("L2NS", 5.0f);
  const Inverted got = invert(VorinyC5_s, job);
  EXPECT_EQ(got.W[100], 1000000.0f);
  EXPECT_EQ(got.W[222], 1000000.0f);
  EXPECT_TRUE(std::all_of(got.W.begin(), got.W.end(),
                          [](float w) { return w == 1.0f || w == 1000000.0f; }));
  EXPECT_LT(std::count(got.W.begin(), got.W.end(), 1000000.0f), 10);
  for (const float other : {0.0f, 2.0f}) {
    setNumber("L2MO", other);
    EXPECT_EQ(invert(VorinyC5_s, job).W, std::vector<float>(300, 1.0f));
  }
  setNumber("L2MO", 1.0f);
  for (const Member& member : members) {
    if (!member.variant->rejectsOutliers) {
      EXPECT_EQ(invert(member.longEntry, job).W, std::vector<float>(300, 1.0f)) << member.name;
    }
  }
}

// What VorinCompSVD3_s makes of a problem, as a problem with contiguous columns.
TestProblem<float> compressed(const TestProblem<float>& job, float threshold) {
  vorin::test::CompressionCall call = vorin::test::callOf(job);
  call.SVDT = threshold;
  const vorin::test::Compressed out = vorin::test::compress(vorin::test::Variant::scratch, call);
  TestProblem<float> small{out.count, job.n, {}, {}};
  for (int j = 0; j < job.n; ++j) {
    const auto column = out.Kc.begin() + static_cast<std::ptrdiff_t>(j) * call.ldC;
    small.K.insert(small.K.end(), column, column + out.count);
  }
  small.d.assign(out.dc.begin(), out.dc.begin() + out.count);
  return small;
}

// The single-precision iteration starts from a dual vector of ones, so that the signs of the
// rows decide its path: they must be those of the exported compression.
TEST_F(Compressed, WithTheSinglePrecisionIterationTheRowsAreThoseOfTheExportedCompression) {
  setText("PRMO", "NONE");
  setNumber("BRDA", 1.0f);
  setNumber("SVDT", 1e-5f);
  setNumber("SVDN", 40.0f);
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const auto job = vorin::test::laplaceProblem<float>(200, 40, 0.01, seed);
    const Inverted expected = invert(Voriny_s, compressed(job, 1e-5f));
    const float passes = getNumber("CITE");
    for (const Member& member : members) {
      const Inverted got = invert(member.longEntry, job);
      EXPECT_EQ(getNumber("CITE"), passes) << member.name << " " << seed;
      EXPECT_EQ(got.status, expected.status) << member.name << " " << seed;
      EXPECT_EQ(got.F, expected.F) << member.name << " " << seed;
    }
  }
}

// Below 1e-6 of the largest singular value the rounding of a single-precision decomposition
// decides how many rows are kept.
TEST_F(Compressed, AThresholdNearTheRoundingKeepsTheRowsOfTheExportedCompression) {
  setText("PRMO", "NONE");
  int tried = 0;
  for (const int nf : {60, 120, 200, 269, 400, 600, 1000}) {
    const auto job = vorin::test::laplaceProblem<float>(nf, 40, 0.01, 3);
    const std::vector<float> S =
        vorin::test::compress(vorin::test::Variant::untruncated, vorin::test::callOf(job))
            .factors.S;
    for (const float value : S) {
      for (const float shift : {0.999f, 1.001f}) {
        const float threshold = value / S[0] * shift;
        if (threshold < 5e-7f || threshold >= 1e-6f) {
          continue;
        }
        ++tried;
        setNumber("SVDN", 40.0f);
        setNumber("SVDT", threshold);
        const int rows = compressed(job, threshold).m;
        invert(VorinyC5_s, job);
        std::string line = "Vorin::M::with svd from " +
                           std::string(nf < 100    ? "   "
                                       : nf < 1000 ? "  "
                                                   : " ") +
                           std::to_string(nf) + " to " + (rows < 10 ? " " : "") +
                           std::to_string(rows);
        EXPECT_EQ(reductionLine(), line) << threshold;
      }
    }
  }
  EXPECT_GT(tried, 5);
}

// These exports open no log, but they write to one that a driver has left open.
TEST_F(Compressed, LinesOfALaterSolveAreInTheLogThatWasLeftOpenWhenItReturns) {
  setNumber("REPO", 1.0f);
  invert(VorinyC4_s, job_);
  const std::size_t before = log_->body().size();
  std::vector<float> f(40);
  const float weight = 0.3f;
  float rss = 0.0f;
  float slope = 0.0f;
  std::int32_t status = -1;
  vrBRDw_sp_dll(300, 40, job_.K.data(), job_.d.data(), f.data(), &weight, &rss, &slope, &status);
  ASSERT_GT(log_->body().size(), before);
  EXPECT_EQ(log_->body().back().find("vrBRD_w::"), 0u) << log_->body().back();
}

// What is left without a row count is solved whole.
TEST_F(Compressed, ARefusedCompressionWithoutPruningSolvesTheFullProblem) {
  setText("PRMO", "NONE");
  const Inverted plain = invert(VorinyC5_s, job_);
  setNumber("SVDN", 46.0f);  // above ng + 5
  EXPECT_EQ(invert(VorinyC2_s, job_).F, plain.F);
  setNumber("SVDN", 5001.0f);
  EXPECT_EQ(invert(VorinyC_s, job_).F, plain.F);
}

TEST_F(Compressed, TheResetTextOfThePruningModeLeavesVariantCWithTheFullProblem) {
  setText("PRMO", "NONE");
  const Inverted plain = invert(VorinyC5_s, job_);
  std::int32_t status = -1;
  float value = 0.0f;
  VorinSQR("I", "    ", &value, &status);
  setText("FLOG", log_->path());
  setText("TARG", "WEIG");
  setNumber("WEIG", 0.3f);
  EXPECT_EQ(invert(VorinyC_s, job_).F, plain.F);
}

TEST_F(Compressed, FewerRowsThanColumnsAreCompressed) {
  // C and C2 do not raise PRPO to ng.
  setNumber("PRPO", 15.0f);
  setNumber("SVDN", 40.0f);
  setNumber("SVDT", 0.0f);
  for (const LongEntry entry : {VorinyC_s, VorinyC2_s}) {
    const Inverted got = invert(entry, job_);
    EXPECT_EQ(got.status, 0);
    EXPECT_GT(*std::max_element(got.F.begin(), got.F.end()), 0.0f);
  }
}

TEST_F(Compressed, SizesBelowOneAreNotRefused) {
  for (const Member& member : members) {
    for (const float vectors : {0.0f, 3.0f}) {
      setNumber("SVDN", vectors);
      for (const char* mode : {"NONE", "LOG"}) {
        setText("PRMO", mode);
        for (const int nf : {0, -1, 4}) {
          TestProblem<float> job = vorin::test::laplaceProblem<float>(4, 3, 0.0, 1);
          std::vector<float> T(4, 1.0f), W(4), G(3), F(3), FIT(4);
          std::int32_t status = -77;
          const std::int32_t ng = nf == 4 ? 0 : 3;
          member.longEntry(nf, ng, &nf, &ng, job.K.data(), T.data(), job.d.data(), W.data(),
                           G.data(), F.data(), FIT.data(), &status);
          EXPECT_NE(status, -77) << member.name;
        }
      }
    }
  }
}

int capacity(const Variant& variant, int code, int points, int vectors, int nf, int ng,
             CompressedSettings* after = nullptr) {
  CompressedSettings settings;
  settings.code = code;
  settings.points = points;
  settings.singularVectors = vectors;
  const int rows = vorin::entry::planCapacity(variant, nf, ng, settings);
  if (after != nullptr) {
    *after = settings;
  }
  return rows;
}

TEST(CompressedCapacity, VariantC2MultipliesThePruningCode) {
  const Variant& two = vorin::entry::variantC2;
  EXPECT_EQ(capacity(two, 1, 200, 0, 1000, 300), 305);
  EXPECT_EQ(capacity(two, 2, 200, 0, 1000, 300), 405);
  EXPECT_EQ(capacity(two, 3, 200, 0, 1000, 300), 605);
}

TEST(CompressedCapacity, VariantCHasFiveThousandAndClipsThePoints) {
  CompressedSettings after;
  EXPECT_EQ(capacity(vorin::entry::variantC, 1, 3, 0, 1000, 30, &after), 5000);
  EXPECT_EQ(after.points, 10);
  capacity(vorin::entry::variantC, 1, 100000, 0, 1000, 30, &after);
  EXPECT_EQ(after.points, 5000);
}

TEST(CompressedCapacity, TheFifthCutsThePointsToHalfTheData) {
  CompressedSettings after;
  EXPECT_EQ(capacity(vorin::entry::variantC5, 1, 200, 0, 100, 30, &after), 55);
  EXPECT_EQ(after.points, 50);
}

TEST(CompressedCapacity, TheThirdToTheFifthRaiseThePointsToTheGrid) {
  for (const Variant* variant :
       {&vorin::entry::variantC3, &vorin::entry::variantC4, &vorin::entry::variantC5}) {
    CompressedSettings after;
    EXPECT_EQ(capacity(*variant, 1, 5, 99, 1000, 60, &after), 65);
    EXPECT_EQ(after.points, 60);
    EXPECT_EQ(after.singularVectors, 60);
    // Neither pruning nor compression.
    EXPECT_EQ(capacity(*variant, 0, 200, 0, 1000, 60), 5);
    // Compression alone.
    EXPECT_EQ(capacity(*variant, 0, 200, 99, 1000, 60, &after), 65);
    EXPECT_EQ(after.singularVectors, 60);
  }
}

TEST(CompressedCapacity, OnlyFromTheFourthOnAreTenPointsTheLeast) {
  CompressedSettings after;
  capacity(vorin::entry::variantC3, 1, 4, 0, 1000, 6, &after);
  EXPECT_EQ(after.points, 6);
  capacity(vorin::entry::variantC4, 1, 4, 0, 1000, 6, &after);
  EXPECT_EQ(after.points, 10);
  // ... unless the capacity is smaller.
  EXPECT_EQ(capacity(vorin::entry::variantC5, 1, 4, 0, 1000, 3, &after), 9);
  EXPECT_EQ(after.points, 9);
}

TEST(CompressedSettingsTest, TheFirstTwoTruncateAndTheOthersRound) {
  vorin::test::loadSettings();
  setNumber("PRPO", 60.7f);
  setNumber("PRLO", 3.7f);
  EXPECT_EQ(vorin::entry::readSettings(vorin::entry::variantC).points, 60);
  EXPECT_EQ(vorin::entry::readSettings(vorin::entry::variantC2).first, 3);
  EXPECT_EQ(vorin::entry::readSettings(vorin::entry::variantC3).points, 61);
  EXPECT_EQ(vorin::entry::readSettings(vorin::entry::variantC5).first, 4);
  setNumber("SVDN", 7.5f);
  EXPECT_EQ(vorin::entry::readSettings(vorin::entry::variantC).singularVectors, 8);
  EXPECT_EQ(vorin::entry::readSettings(vorin::entry::variantC5).singularVectors, 8);
  vorin::test::loadSettings();
}

}  // namespace
