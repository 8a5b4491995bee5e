// The two layouts of the save section, line by line, and where each goes.
#include "params/save_section.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/save_reader.hpp"
#include "params/store_fixture.hpp"
#include "support/own_folder.hpp"

namespace {

using vorin::params::logIsOpen;
using vorin::params::logUnit;
using vorin::params::VorinLogOpen;
using vorin::params::VorinSave;
using vorin::test::Lines;
using vorin::test::OwnFolder;
using vorin::test::sectionOf;

/// An inversion of three data points and two grid points.
struct Small {
  std::int32_t nf = 3;
  std::int32_t ng = 2;
  std::vector<float> K = {1.0F, 0.5F, 0.25F, -12.5F, 1e-7F, 0.0F};
  std::vector<float> T = {1.5F, 2.0F, 123456.0F};
  std::vector<float> Y = {-0.25F, 1e20F, 0.0F};
  std::vector<float> FIT = {4.0F, -1e-20F, 0.125F};
  std::vector<float> G = {10.0F, 100.0F};
  std::vector<float> F2 = {0.0F, 7.0F};
  std::vector<float> F = {0.75F, 3.0F};

  void save(std::int32_t unit = logUnit()) const {
    VorinSave(unit, nf, ng, K.data(), T.data(), Y.data(), FIT.data(), G.data(), F2.data(), F.data(),
              0);
  }
};

// The 32 keys and their texts at the load values, with SAVE as the test sets it.
Lines parameterLines(const std::string& save, const std::string& flog = "Vorin") {
  return {"TARG   NOISE",
          "NAlg   URF",
          "WEIG    0.10000E-01",
          "RSIG     1.0500",
          "SIG     0.10000E-01",
          "PRMO   LOG",
          "PRHI      0",
          "PRLO      1",
          "PRPO    200",
          "MAXI     50",
          "TOL     0.10000E-05",
          "WTOL      0",
          "REPO      1",
          "LOG",
          "FLOG   " + flog,
          "SAVE      " + save,
          "WRAT     10.000",
          "WFRA     1.0000",
          "SVDT    999",
          "SVDN      0",
          "L1A1",
          "L2MO      0",
          "L2NS      3",
          "WMAX    0.10000E+31",
          "WMIN    0.10000E-29",
          "WNMA    0.10000E+31",
          "WNMI    0.10000E-29",
          "DSE      99.000",
          "CDE",
          "CSE      99.000",
          "CSTA     99",
          "CWEI     99.000"};
}

/// A free-form line of reals: a blank and 16 columns each, nothing behind the last.
/// Fixed notation leaves its last four columns blank.
std::string columns(const Lines& items) {
  std::string line;
  for (const std::string& item : items) {
    line += std::string(17 - item.size(), ' ') + item;
  }
  return line.substr(0, line.find_last_not_of(' ') + 1);
}

class SaveSection : public StoreTest {
 protected:
  void TearDown() override {
    VorinLogOpen(false);
    StoreTest::TearDown();
  }

  /// What `job` writes into an open log, from the title on.
  static Lines fullSection(const Small& job) {
    VorinLogOpen(true);
    EXPECT_TRUE(logIsOpen());
    job.save();
    VorinLogOpen(false);
    return sectionOf(OwnFolder::lines("Vorin.log"));
  }

  static vorin::test::SavedSection readBack(const Small& job) {
    return vorin::test::readSection(fullSection(job));
  }

  OwnFolder folder_;
};

TEST_F(SaveSection, FullLayoutLineByLine) {
  setNumber("SAVE", 1.0F);
  Lines expected = {" !  Vorin save1", "", " [PARAM]", " nf     2", " ng     3"};
  for (const std::string& line : parameterLines("1")) {
    expected.push_back(line);
  }
  const Lines tables = {"",
                        " [COEF]",
                        "",
                        "",                                                                //
                        columns({"10.0000000    ", "0.00000000    ", "0.750000000    "}),  //
                        columns({"100.000000    ", "7.00000000    ", "3.00000000    "}),   //
                        "",
                        " [DATA]",
                        "",
                        "",                                                                  //
                        columns({"1.50000000    ", "-0.250000000    ", "4.00000000    "}),   //
                        columns({"2.00000000    ", "0.100000002E+21", "-0.999999968E-20"}),  //
                        columns({"123456.000    ", "0.00000000    ", "0.125000000    "}),    //
                        "",
                        " [K]",                        //
                        "   1.0000      -12.500    ",  //
                        "  0.50000      0.10000E-06",  //
                        "  0.25000       0.0000    ",  //
                        "",
                        " [EOF]"};
  expected.insert(expected.end(), tables.begin(), tables.end());
  const Lines section = fullSection(Small());
  ASSERT_EQ(section.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(section[i], expected[i]);
  }
}

TEST_F(SaveSection, StandsBehindTheLastLineOfTheLog) {
  VorinLogOpen(true);
  vorin::params::VorinLogLine("Vorin", "M", "last line");
  Small().save();
  EXPECT_TRUE(logIsOpen());
  VorinLogOpen(false);
  const Lines all = OwnFolder::lines("Vorin.log");
  ASSERT_GT(all.size(), 6U);
  EXPECT_EQ(all[4], "Vorin::M::last line");
  EXPECT_EQ(all[5], vorin::test::sectionTitle);
  EXPECT_EQ(all.back(), " [EOF]");
}

// Programs that read sections go by these labels: nf the coefficients, ng the points.
TEST_F(SaveSection, RequiredLabelsOfTheSizesAreReversed) {
  const auto section = readBack(Small());
  EXPECT_EQ(section.coefficients, 2);
  EXPECT_EQ(section.points, 3);
}

TEST_F(SaveSection, RequiredListOfKeysStandsAsItIs) {
  const auto section = readBack(Small());
  ASSERT_EQ(section.settings.size(), 32U);
  // In mixed case, and answered all the same.
  EXPECT_EQ(section.settings[1].key, "NAlg");
  EXPECT_EQ(section.settings[1].text, "URF");
  // Names that are no keys.
  for (const std::size_t place : {13U, 20U, 28U}) {
    EXPECT_EQ(section.settings[place].text, "") << section.settings[place].key;
  }
  EXPECT_EQ(section.settings[13].key, "LOG");
  EXPECT_EQ(section.settings[20].key, "L1A1");
  EXPECT_EQ(section.settings[28].key, "CDE");
}

TEST_F(SaveSection, RequiredAnOpenUnitGetsTheFullLayoutWhateverSaveSays) {
  for (const float save : {0.0F, 1.0F, 2.0F, -3.0F}) {
    setNumber("SAVE", save);
    EXPECT_EQ(fullSection(Small())[2], " [PARAM]") << save;
    EXPECT_EQ(OwnFolder::files(), Lines{"Vorin.log"});
  }
}

TEST_F(SaveSection, ValuesAreCutAt32Characters) {
  const std::string name = "AN_UNUSUALLY_LONG_NAME_FOR_A_LOG_FILE.LOG";
  setText("FLOG", name);
  VorinLogOpen(true);
  Small().save();
  VorinLogOpen(false);
  const auto section = vorin::test::readSection(sectionOf(OwnFolder::lines(name)));
  EXPECT_EQ(section.settings[14].text, name.substr(0, 32));
}

TEST_F(SaveSection, EverySingleReadsBackAsItself) {
  Small job;
  job.nf = 0;
  job.G.clear();
  for (float x = std::numeric_limits<float>::denorm_min(); x < 3e38F; x *= 1.37F) {
    x += std::numeric_limits<float>::denorm_min();
    job.G.push_back(x);
  }
  job.G.push_back(std::numeric_limits<float>::max());
  job.G.push_back(16777217.0F);
  job.G.push_back(999999999.0F);
  job.ng = static_cast<std::int32_t>(job.G.size());
  job.F = job.G;
  for (float& value : job.F) {
    value = -value;
  }
  job.F2.assign(job.G.size(), 0.0F);
  const auto section = readBack(job);
  ASSERT_EQ(section.grid.size(), job.G.size());
  for (std::size_t k = 0; k < job.G.size(); ++k) {
    EXPECT_EQ(static_cast<float>(section.grid[k]), job.G[k]);
    EXPECT_EQ(section.second[k], 0.0);
    EXPECT_EQ(static_cast<float>(section.distribution[k]), job.F[k]);
  }
}

TEST_F(SaveSection, InfinitiesAndNaNShowByName) {
  Small job;
  job.Y = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
           -std::numeric_limits<float>::infinity()};
  job.K[0] = job.Y[0];
  job.K[1] = job.Y[2];
  const auto section = readBack(job);
  EXPECT_TRUE(std::isnan(section.data[0]));
  EXPECT_EQ(section.data[1], std::numeric_limits<double>::infinity());
  EXPECT_EQ(section.data[2], -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(section.kernel[0]));
  EXPECT_EQ(section.kernel[2], -std::numeric_limits<double>::infinity());
}

TEST_F(SaveSection, SizesBelowOneLeaveTheTablesEmpty) {
  Small job;
  job.nf = -4;
  job.ng = 0;
  const auto section = readBack(job);
  EXPECT_EQ(section.coefficients, 0);
  EXPECT_EQ(section.points, -4);
  EXPECT_TRUE(section.grid.empty());
  EXPECT_TRUE(section.data.empty());
  EXPECT_TRUE(section.kernel.empty());
}

// Four columns of the row format hold 9999; beyond them lines only get longer.
TEST_F(SaveSection, AGridOfTenThousandPointsIsWrittenInTheSameColumns) {
  Small job;
  job.nf = 1;
  job.ng = 10000;
  job.K.assign(10000, 0.5F);
  job.K.back() = 0.25F;
  job.G.assign(10000, 1.0F);
  job.F2 = job.F = job.G;
  const auto section = readBack(job);
  ASSERT_EQ(section.kernel.size(), 10000U);
  EXPECT_EQ(section.kernel[9998], 0.5);
  EXPECT_EQ(section.kernel[9999], 0.25);
}

// ---- no log ---------------------------------------------------------------------------

TEST_F(SaveSection, CompactLayoutLineByLine) {
  setNumber("SAVE", 2.0F);
  Small().save();
  Lines expected = {" !  Vorin save1",
                    " [DATA]",
                    "",
                    "",                       //
                    " 1.50000,-0.250000",     //
                    " 2.00000,0.100000E+21",  //
                    " 123456.,0.00000",       //
                    "",
                    " *[COEFF T2DIST  VORIN]",
                    " *nf,2",
                    " *ng,3"};
  for (const std::string& line : parameterLines("2")) {
    const std::string value = line.size() > 7 ? line.substr(line.find_first_not_of(' ', 7)) : "";
    expected.push_back('*' + line.substr(0, std::min(line.find(' '), line.size())) + ',' + value);
  }
  expected.push_back(" 10.0000,0.750000");
  expected.push_back(" 100.000,3.00000");
  EXPECT_EQ(OwnFolder::lines("Vorin.sav"), expected);
  EXPECT_EQ(OwnFolder::files(), Lines{"Vorin.sav"});
  EXPECT_FALSE(logIsOpen());
}

TEST_F(SaveSection, CompactLayoutReadsBackToSixPlaces) {
  setNumber("SAVE", 2.0F);
  const Small job;
  job.save();
  std::string content;
  for (const std::string& line : OwnFolder::lines("Vorin.sav")) {
    content += line + '\n';
  }
  const auto section = vorin::toolkit::readSaveSection(content, "Vorin.sav", 1);
  EXPECT_TRUE(section.compact);
  EXPECT_EQ(section.lastLine, 45);
  EXPECT_EQ(section.coefficients, 2);
  EXPECT_EQ(section.points, 3);
  EXPECT_EQ(section.time, (std::vector<double>{1.5, 2.0, 123456.0}));
  EXPECT_EQ(section.data, (std::vector<double>{-0.25, 1e20, 0.0}));
  EXPECT_EQ(section.grid, (std::vector<double>{10.0, 100.0}));
  EXPECT_EQ(section.distribution, (std::vector<double>{0.75, 3.0}));
  EXPECT_TRUE(section.fit.empty() && section.second.empty() && section.kernel.empty());
  ASSERT_EQ(section.settings.size(), 32U);
  EXPECT_EQ(section.setting("NALG"), "URF");
  EXPECT_EQ(section.number("WEIG"), 0.01);
  EXPECT_EQ(section.setting("CDE"), "");
}

TEST_F(SaveSection, CompactSectionIsNamedAfterTheLogAndRewritten) {
  setNumber("SAVE", 2.0F);
  std::filesystem::create_directory("RUNS.LOG");
  const struct {
    const char* flog;
    const char* file;
  } rows[] = {{"run1.log", "RUN1.sav"}, {"run1", "RUN1.sav"}, {"ab", "AB.sav"},
              {"none", "Vorin.sav"},    {"", "Vorin.sav"},    {".log", ".sav"},
              {"a.b.log", "A.B.sav"}};
  for (const auto& row : rows) {
    setText("FLOG", row.flog);
    Small().save();
    const std::size_t lines = OwnFolder::lines(row.file).size();
    Small().save();
    EXPECT_EQ(OwnFolder::files(), Lines{row.file});
    EXPECT_EQ(OwnFolder::lines(row.file).size(), lines);
    std::filesystem::remove(row.file);
  }
  setText("FLOG", "runs.log/x");
  Small().save();
  EXPECT_TRUE(OwnFolder::files().empty());
  EXPECT_EQ(OwnFolder::lines("RUNS.LOG/X.sav").size(), 45U);
}

TEST_F(SaveSection, AClosedUnitGetsNothingUnlessSaveIsTwo) {
  for (const float save : {0.0F, 1.0F, 3.0F, -2.0F, 1e30F}) {
    setNumber("SAVE", save);
    Small().save();
    EXPECT_TRUE(OwnFolder::files().empty()) << save;
  }
}

TEST_F(SaveSection, ACompactFileThatCannotBeOpenedCostsTheSection) {
  setNumber("SAVE", 2.0F);
  setText("FLOG", "no/such/folder/x.log");
  Small().save();
  EXPECT_TRUE(OwnFolder::files().empty());
  EXPECT_FALSE(logIsOpen());
}

TEST_F(SaveSection, AUnitWithoutAFileGetsNothing) {
  VorinLogOpen(true);
  setNumber("SAVE", 1.0F);
  Small().save(logUnit() + 1);
  setNumber("SAVE", 2.0F);
  Small().save(logUnit() + 1);
  EXPECT_TRUE(logIsOpen());
  VorinLogOpen(false);
  EXPECT_EQ(OwnFolder::lines("Vorin.log").size(), 4U);
  EXPECT_EQ(OwnFolder::files(), Lines{"Vorin.log"});
}

}  // namespace
