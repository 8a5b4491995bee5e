// When the primary driver writes the save section, and what a program that reads the
// section gets back of the call.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "params/save_reader.hpp"
#include "support/own_folder.hpp"
#include "support/problems.hpp"
#include "support/store.hpp"
#include "vorin.h"

namespace {

using vorin::test::area;
using vorin::test::Lines;
using vorin::test::OwnFolder;
using vorin::test::SavedSection;
using vorin::test::sectionOf;
using vorin::test::setNumber;
using vorin::test::setText;
using vorin::test::TestProblem;

/// All arrays of one call, with abscissae that fill their 24 bits.
struct Call {
  explicit Call(int nf, int ng) : job(vorin::test::laplaceProblem<float>(nf, ng, 0.01, 9)) {
    for (int i = 0; i < nf; ++i) {
      T.push_back(0.1F * static_cast<float>(i + 1) + 1e-3F);
    }
    for (int k = 0; k < ng; ++k) {
      G.push_back(std::pow(10.0F, static_cast<float>(k) / 7.0F - 2.0F));
    }
    W.assign(T.size(), 0.0F);
    F.assign(G.size(), 0.0F);
    FIT.assign(T.size(), 0.0F);
  }

  void run() {
    Voriny_s(job.m, job.n, &job.m, &job.n, job.K.data(), T.data(), job.d.data(), W.data(), G.data(),
             F.data(), FIT.data(), &status);
  }

  TestProblem<float> job;
  std::vector<float> T, W, G, F, FIT;
  std::int32_t status = -1;
};

std::string withoutOuterBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

class Save : public testing::Test {
 protected:
  void SetUp() override {
    vorin::test::loadSettings();
    setText("FLOG", "SAVING");
    setText("TARG", "WEIG");
    setNumber("WEIG", 0.3F);
  }
  void TearDown() override {
    setText("FLOG", "Vorin");
    setNumber("SAVF", 1.0F);
    vorin::test::loadSettings();
  }

  static Lines log() { return OwnFolder::lines("SAVING.log"); }
  static Lines section() { return sectionOf(log()); }

  /// Runs an inversion at these two levels; the section it writes.
  static Lines sectionAt(float save, float report) {
    setNumber("SAVE", save);
    setNumber("REPO", report);
    Call call(40, 8);
    call.run();
    EXPECT_EQ(call.status, VORIN_OK);
    return section();
  }

  OwnFolder folder_;
};

// ---- when ---------------------------------------------------------------------------

TEST_F(Save, SaveOneWithReportZeroWritesNoSectionSinceTheLogIsClosed) {
  EXPECT_TRUE(sectionAt(1.0F, 0.0F).empty());
  EXPECT_EQ(log().size(), 4U);
  EXPECT_EQ(OwnFolder::files(), Lines{"SAVING.log"});
}

TEST_F(Save, SaveOneWithReportTwoPutsTheFullSectionAtTheEndOfTheLog) {
  const Lines written = sectionAt(1.0F, 2.0F);
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(written[2], " [PARAM]");
  EXPECT_EQ(written.back(), " [EOF]");
  const Lines all = log();
  EXPECT_EQ(all[all.size() - written.size() - 1], "Vorin::M::Successful inversion, status =   0");
}

TEST_F(Save, SaveTwoWithReportTwoWritesNoSection) {
  EXPECT_TRUE(sectionAt(2.0F, 2.0F).empty());
  EXPECT_EQ(OwnFolder::files(), Lines{"SAVING.log"});
}

TEST_F(Save, SaveTwoWithReportFourWritesTheFullSectionSinceTheUnitIsOpen) {
  const Lines written = sectionAt(2.0F, 4.0F);
  ASSERT_FALSE(written.empty());
  EXPECT_EQ(written[2], " [PARAM]");
  EXPECT_EQ(OwnFolder::files(), Lines{"SAVING.log"});
}

TEST_F(Save, RequiredSaveZeroWithReportFourStillWritesTheSection) {
  EXPECT_FALSE(sectionAt(0.0F, 4.0F).empty());
}

TEST_F(Save, ReportThreeBringsNoSection) {
  EXPECT_TRUE(sectionAt(0.0F, 3.0F).empty());
}

TEST_F(Save, BothLevelsCountAsRounded) {
  EXPECT_FALSE(sectionAt(0.0F, 3.5F).empty());
  EXPECT_TRUE(sectionAt(0.0F, 3.25F).empty());
  EXPECT_FALSE(sectionAt(0.5F, 1.0F).empty());
  EXPECT_FALSE(sectionAt(1.25F, 1.0F).empty());
  EXPECT_TRUE(sectionAt(1.5F, 1.0F).empty());
  EXPECT_TRUE(sectionAt(-1.0F, 1.0F).empty());
}

TEST_F(Save, RequiredSavfIsNotConsulted) {
  for (const float savf : {0.0F, 1.0F, 2.0F}) {
    setNumber("SAVF", savf);
    EXPECT_FALSE(sectionAt(1.0F, 1.0F).empty());
    EXPECT_TRUE(sectionAt(0.0F, 1.0F).empty());
  }
}

TEST_F(Save, WithALogThatCannotBeOpenedSaveTwoAtReportFourWritesTheCompactFile) {
  std::filesystem::create_directory("SAVING.log");
  for (const float save : {0.0F, 1.0F}) {
    sectionAt(save, 4.0F);
    EXPECT_TRUE(OwnFolder::files().empty()) << save;
  }
  sectionAt(2.0F, 2.0F);
  EXPECT_TRUE(OwnFolder::files().empty());
  sectionAt(2.0F, 4.0F);
  EXPECT_EQ(OwnFolder::files(), Lines{"SAVING.sav"});
  const Lines compact = OwnFolder::lines("SAVING.sav");
  ASSERT_EQ(compact.size(), 4U + 40 + 4 + 32 + 8);
  EXPECT_EQ(compact[0], vorin::test::sectionTitle);
  EXPECT_EQ(compact[46], " *nf,8");
  EXPECT_EQ(compact[47], " *ng,40");
}

// ---- what ---------------------------------------------------------------------------

TEST_F(Save, OneHundredPointsOnThirtyGridPointsReadBackToThePrecisionOfTheirFields) {
  setNumber("SAVE", 1.0F);
  Call call(100, 30);
  call.run();
  const SavedSection saved = vorin::test::readSection(section());
  EXPECT_EQ(saved.coefficients, 30);
  EXPECT_EQ(saved.points, 100);
  ASSERT_EQ(saved.grid.size(), 30U);
  ASSERT_EQ(saved.data.size(), 100U);
  ASSERT_EQ(saved.kernel.size(), 3000U);
  for (std::size_t k = 0; k < 30; ++k) {
    EXPECT_EQ(static_cast<float>(saved.grid[k]), call.G[k]);
    EXPECT_EQ(static_cast<float>(saved.second[k]), call.F[k]);
    EXPECT_EQ(static_cast<float>(saved.distribution[k]), call.F[k]);
  }
  for (std::size_t i = 0; i < 100; ++i) {
    EXPECT_EQ(static_cast<float>(saved.time[i]), call.T[i]);
    EXPECT_EQ(static_cast<float>(saved.data[i]), call.job.d[i]);
    EXPECT_EQ(static_cast<float>(saved.fit[i]), call.FIT[i]);
    for (std::size_t k = 0; k < 30; ++k) {
      const double exact = static_cast<double>(call.job.K[i + 100 * k]);
      const double unitOfFifthPlace = std::pow(10.0, std::floor(std::log10(exact)) - 4.0);
      EXPECT_LE(std::fabs(saved.kernel[30 * i + k] - exact), 0.5000001 * unitOfFifthPlace)
          << i << ' ' << k;
    }
  }
}

TEST_F(Save, ShortEntriesSaveTheFitThatTheyThrowAway) {
  // Without a section it is not read and not formed.
  for (const auto entry : {Vorin_s, VorinC5_s}) {
    setNumber("REPO", 4.0F);
    Call call(60, 12);
    entry(call.job.m, call.job.n, call.job.K.data(), call.job.d.data(), call.F.data(),
          &call.status);
    const SavedSection saved = vorin::test::readSection(section());
    ASSERT_EQ(saved.data.size(), 60U);
    for (std::size_t i = 0; i < 60; ++i) {
      float fit = 0.0F;
      for (std::size_t k = 0; k < 12; ++k) {
        fit += call.F[k] * call.job.K[i + 60 * k];
      }
      EXPECT_EQ(static_cast<float>(saved.fit[i]), fit) << i;
    }
  }
}

TEST_F(Save, ParametersAreWhatAQueryAnswersAfterwards) {
  setNumber("SAVE", 1.0F);
  setText("PRMO", "LIN");
  Call call(100, 30);
  call.run();
  const SavedSection saved = vorin::test::readSection(section());
  ASSERT_EQ(saved.settings.size(), 32U);
  for (const auto& [key, text] : saved.settings) {
    std::string answer(VORIN_SQC2_TEXT_LENGTH, '?');
    std::int32_t status = -1;
    VorinSQC2("Q", vorin::test::paddedKey(key).c_str(), answer.data(), &status);
    EXPECT_EQ(text, withoutOuterBlanks(answer)) << key;
  }
  EXPECT_EQ(saved.settings[5].text, "LIN");
  EXPECT_EQ(saved.settings[30].text, "0");  // CSTA, already that of this call
}

TEST_F(Save, RequiredTheTextOfTheKeyLogIsBlank) {
  const Lines written = sectionAt(1.0F, 1.0F);
  EXPECT_EQ(std::count(written.begin(), written.end(), "LOG"), 1);
}

TEST_F(Save, TheHostKeepsTheStatusOfItsInversion) {
  setNumber("SAVE", 1.0F);
  setNumber("MAXI", 1.0F);
  Call call(100, 30);
  call.run();
  EXPECT_EQ(call.status, VORIN_SOLVER_FAILED);
  // The section is written after a failure too, with what there is.
  const SavedSection saved = vorin::test::readSection(section());
  EXPECT_EQ(saved.settings[30].text, "1");
  ASSERT_EQ(saved.grid.size(), 30U);
  EXPECT_EQ(static_cast<float>(saved.distribution[4]), call.F[4]);
}

TEST_F(Save, ShortEntriesShowThePointIndexAndAGridFromOneToTen) {
  setNumber("SAVE", 1.0F);
  Call call(40, 8);
  Vorin_s(40, 8, call.job.K.data(), call.job.d.data(), call.F.data(), &call.status);
  const SavedSection saved = vorin::test::readSection(section());
  ASSERT_EQ(saved.data.size(), 40U);
  ASSERT_EQ(saved.grid.size(), 8U);
  for (std::size_t i = 0; i < 40; ++i) {
    EXPECT_EQ(saved.time[i], static_cast<double>(i + 1));
  }
  EXPECT_EQ(saved.grid.front(), 1.0);
  EXPECT_EQ(saved.grid.back(), 10.0);
  EXPECT_NEAR(saved.grid[3], std::pow(10.0, 3.0 / 7.0), 1e-6);
}

TEST_F(Save, AGridOfOnePointShowsThatItHasNoAbscissa) {
  setNumber("SAVE", 1.0F);
  Call call(40, 1);
  Vorin_s(40, 1, call.job.K.data(), call.job.d.data(), call.F.data(), &call.status);
  const SavedSection saved = vorin::test::readSection(section());
  ASSERT_EQ(saved.grid.size(), 1U);
  EXPECT_TRUE(std::isnan(saved.grid[0]));
  EXPECT_EQ(static_cast<float>(saved.distribution[0]), call.F[0]);
}

TEST_F(Save, SizesBelowOneLeaveASectionWithoutTables) {
  setNumber("SAVE", 1.0F);
  for (const int nf : {0, -3}) {
    for (const int ng : {0, -3}) {
      Call call(5, 3);
      Vorin_s(nf, ng, call.job.K.data(), call.job.d.data(), call.F.data(), &call.status);
      const SavedSection saved = vorin::test::readSection(section());
      EXPECT_EQ(saved.coefficients, ng);
      EXPECT_EQ(saved.points, nf);
      EXPECT_TRUE(saved.data.empty());
      EXPECT_TRUE(saved.grid.empty());
    }
  }
}

TEST_F(Save, TheNextInversionStartsTheLogAnew) {
  EXPECT_FALSE(sectionAt(1.0F, 1.0F).empty());
  const std::size_t lines = log().size();
  EXPECT_FALSE(sectionAt(1.0F, 1.0F).empty());
  EXPECT_EQ(log().size(), lines);
  EXPECT_TRUE(sectionAt(0.0F, 1.0F).empty());
}

}  // namespace
