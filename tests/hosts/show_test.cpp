// vorin show from end to end: what vorin invert leaves in its log comes back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/save_section.hpp"

namespace vorin::toolkit::test {
namespace {

const std::string sampleFile = std::string(VORIN_SAMPLE_DIR) + "/decay.csv";

/// Runs vorin invert with a save section in run.log, and the files f.csv and fit.csv.
void invertInto(const TemporaryFolder& folder, const std::vector<std::string>& options = {}) {
  std::vector<std::string> words{"invert", sampleFile, "--log", "run.log", "--set",
                                 "SAVE=1", "--out",    "f.csv", "--fit",   "fit.csv"};
  words.insert(words.end(), options.begin(), options.end());
  const Outcome outcome = runProgram(folder.path(), words);
  ASSERT_EQ(outcome.status, 0) << outcome.err;
}

/// The rows of a CSV file behind its comment and header lines.
std::vector<std::vector<double>> rowsOf(const fs::path& path) {
  std::vector<std::vector<double>> rows;
  std::istringstream lines(contentOf(path));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#' || std::isalpha(static_cast<unsigned char>(line[0])) != 0) {
      continue;
    }
    std::vector<double> row;
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, ',');) {
      row.push_back(std::strtod(field.c_str(), nullptr));
    }
    rows.push_back(row);
  }
  return rows;
}

/// Words that a summary shows behind `label`.
std::string behind(const std::string& summary, const std::string& label) {
  std::string start = "\n  " + label;
  start.resize(19, ' ');
  const std::size_t at = summary.find(start);
  return at == std::string::npos
             ? "(no such line)"
             : summary.substr(at + start.size(), summary.find('\n', at + 1) - at - start.size());
}

// The library is handed the whole grid by the classic method alone: the default one hands it the
// range that holds signal.
TEST(Show, GivesBackWhatInvertHasLogged) {
  const TemporaryFolder folder;
  invertInto(folder, {"--method", "classic"});
  const Outcome shown =
      runProgram(folder.path(), {"show", "run.log", "--out", "f2.csv", "--fit", "fit2.csv"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(shown.err, "");
  EXPECT_EQ(folder.names(),
            (std::vector<std::string>{"f.csv", "f2.csv", "fit.csv", "fit2.csv", "run.log"}));

  // invert hands over data whose largest magnitude is 1 and writes its files in the
  // unit of the data: the two sides differ by that factor and by single precision.
  const Decay decay = readDecay(sampleFile);
  double scale = 0.0;
  for (const double amplitude : decay.amplitude) {
    scale = std::fmax(scale, std::fabs(amplitude));
  }
  const Distribution written = readDistribution(folder / "f.csv");
  const Distribution saved = readDistribution(folder / "f2.csv");
  ASSERT_EQ(saved.time.size(), written.time.size());
  for (std::size_t k = 0; k < saved.time.size(); ++k) {
    EXPECT_NEAR(saved.time[k] / written.time[k], 1.0, 1e-7);
    EXPECT_NEAR(saved.amplitude[k] * scale, written.amplitude[k], 1e-7 * scale);
  }
  const auto fits = rowsOf(folder / "fit.csv");
  const auto savedFits = rowsOf(folder / "fit2.csv");
  ASSERT_EQ(savedFits.size(), decay.time.size());
  ASSERT_EQ(fits.size(), savedFits.size());
  for (std::size_t i = 0; i < fits.size(); ++i) {
    ASSERT_EQ(savedFits[i].size(), 4U);
    EXPECT_NEAR(savedFits[i][0] / decay.time[i], 1.0, 1e-7);
    EXPECT_NEAR(savedFits[i][1] * scale, decay.amplitude[i], 1e-7 * scale);
    EXPECT_NEAR(savedFits[i][2] * scale, fits[i][2], 2e-7 * scale);
    EXPECT_NEAR(savedFits[i][3], savedFits[i][1] - savedFits[i][2], 1e-9);
  }
  // The kernel to its five places.
  const SaveSection section = readSaveSection(contentOf(folder / "run.log"), "run.log", 1);
  for (std::size_t i = 0; i < decay.time.size(); i += 97) {
    for (std::size_t k = 0; k < 100; ++k) {
      const double exact = std::exp(-decay.time[i] / written.time[k]);
      EXPECT_NEAR(section.kernel[100 * i + k], exact, 0.5001e-4 * exact + 1e-37);
    }
  }
}

TEST(Show, PrintsResultsMeasuresAndSettings) {
  const TemporaryFolder folder;
  invertInto(folder, {"--weight", "0.25"});
  const Outcome shown = runProgram(folder.path(), {"show", "run.log"});
  ASSERT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(shown.out.substr(0, 30), "save section of run.log, lines");
  EXPECT_EQ(behind(shown.out, "data"), "3000 points from 0.0002 to 0.6");
  EXPECT_EQ(behind(shown.out, "grid"), "100 points from 6.667e-05 to 1.8");
  EXPECT_EQ(behind(shown.out, "status"), "success (0)");
  EXPECT_EQ(behind(shown.out, "aim"), "a fixed weight (TARG = WEIG)");
  EXPECT_EQ(behind(shown.out, "weight"), "0.25");
  const SaveSection section = readSaveSection(contentOf(folder / "run.log"), "run.log", 1);
  const Distribution found{section.grid, section.distribution};
  EXPECT_EQ(behind(shown.out, "log mean"), fmt::format("{:.4g}", logMean(found)));
  EXPECT_EQ(behind(shown.out, "total amplitude"), fmt::format("{:.4g}", totalAmplitude(found)));
  // The sample has a peak at 8 ms with 30 % of the amount and one at 90 ms.
  EXPECT_NEAR(std::strtod(behind(shown.out, "peaks").c_str(), nullptr), 0.008, 0.0008);
  for (const char* setting : {"TARG WEIG", "WEIG 0.25000", "SAVE 1", "LOG  -", "CDE  -"}) {
    EXPECT_NE(shown.out.find(setting), std::string::npos) << setting << '\n' << shown.out;
  }
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"f.csv", "fit.csv", "run.log"}));
}

// The compressed drivers write a section above REPO 3 only.
TEST(Show, ShowsACompressedInversionLoggedAtLevelFour) {
  const TemporaryFolder folder;
  invertInto(folder, {"--compress", "20", "--set", "REPO=4"});
  const Outcome shown = runProgram(folder.path(), {"show", "run.log", "--out", "f2.csv"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(behind(shown.out, "data"), "3000 points from 0.0002 to 0.6");
  const Distribution written = readDistribution(folder / "f.csv");
  const Distribution saved = readDistribution(folder / "f2.csv");
  EXPECT_NEAR(logMean(saved) / logMean(written), 1.0, 1e-6);
}

TEST(Show, DrawsAPictureOfEachKind) {
  const TemporaryFolder folder;
  invertInto(folder);
  const std::vector<std::pair<std::string, std::string>> kinds{
      {"it's.png", "\x89PNG"}, {"p.svg", "<?xml"}, {"p.pdf", "%PDF"}};
  for (const auto& [name, start] : kinds) {
    const Outcome outcome = runProgram(folder.path(), {"show", "run.log", "--plot", name});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string content = contentOf(folder / name);
    EXPECT_EQ(content.substr(0, start.size()), start);
    EXPECT_GT(content.size(), 10000U);
  }
}

TEST(Show, TheLastOfSeveralSectionsIsShownUnlessOneIsNamed) {
  const TemporaryFolder folder;
  invertInto(folder, {"--weight", "0.5"});
  const std::string first = contentOf(folder / "run.log");
  invertInto(folder, {"--weight", "0.25"});
  writeFile(folder / "both.log", first + contentOf(folder / "run.log"));
  const Outcome last = runProgram(folder.path(), {"show", "both.log"});
  EXPECT_EQ(last.out.substr(0, 26), "save section 2 of both.log");
  EXPECT_EQ(behind(last.out, "weight"), "0.25");
  const Outcome named = runProgram(folder.path(), {"show", "both.log", "--section", "1"});
  EXPECT_EQ(named.out.substr(0, 26), "save section 1 of both.log");
  EXPECT_EQ(behind(named.out, "weight"), "0.5");
}

const std::string compactSection =
    " !  Vorin save1\n [DATA]\n\n\n 1,4\n 2,3\n 3,2\n\n *[COEFF T2DIST  VORIN]\n *nf,3\n *ng,3\n"
    "*TARG,2\n*CSTA,999\n*CWEI,0.5\n*CSE,0.1\n 1,0\n 10,3\n 100,0\n";

TEST(Show, ACompactSectionIsShownAndDrawnWithoutAFit) {
  const TemporaryFolder folder;
  writeFile(folder / "run.sav", compactSection);
  const Outcome shown =
      runProgram(folder.path(), {"show", "run.sav", "--out", "f.csv", "--plot", "p.svg"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(shown.out.substr(0, 35), "save section of run.sav, compact, l");
  EXPECT_EQ(behind(shown.out, "aim"), "the corner of the L-curve (TARG = 2)");
  EXPECT_EQ(behind(shown.out, "status"),
            "done by the corner search, which reports no success or failure (999)");
  EXPECT_EQ(behind(shown.out, "standard error"), "reached 0.1");
  EXPECT_EQ(behind(shown.out, "log mean"), "10");
  EXPECT_EQ(behind(shown.out, "peaks"), "10         100.0 %");
  EXPECT_EQ(rowsOf(folder / "f.csv"),
            (std::vector<std::vector<double>>{{1, 0}, {10, 3}, {100, 0}}));
  const std::string picture = contentOf(folder / "p.svg");
  EXPECT_NE(picture.find("measured"), std::string::npos);
  EXPECT_EQ(picture.find("residual"), std::string::npos);
}

TEST(Show, SectionsOfADistributionThatCannotBeMeasuredAreShownAllTheSame) {
  const TemporaryFolder folder;
  const struct {
    const char* row;  // in place of the second one of the distribution
    const char* why;
  } rows[] = {{" nan,3\n", "none: the grid abscissae do not rise from above 0"},
              {" 0.5,3\n", "none: the grid abscissae do not rise from above 0"},
              {" 10,nan\n", "none: the distribution is not finite"},
              {" 10,0\n", "none: the distribution is empty"}};
  for (const auto& row : rows) {
    std::string content = compactSection;
    content.replace(content.find(" 10,3\n"), 6, row.row);
    writeFile(folder / "run.sav", content);
    const Outcome shown = runProgram(folder.path(), {"show", "run.sav"});
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_EQ(behind(shown.out, "log mean"), row.why);
  }
}

TEST(Show, ASectionWithoutTablesIsShown) {
  const TemporaryFolder folder;
  writeFile(folder / "run.sav",
            " !  Vorin save1\n [DATA]\n *[COEFF T2DIST  VORIN]\n *nf,-2\n *ng,0\n");
  const Outcome shown = runProgram(folder.path(), {"show", "run.sav"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(behind(shown.out, "grid"), "no points");
  EXPECT_EQ(behind(shown.out, "log mean"), "none: the section has no distribution");
}

struct Bad {
  const char* what;
  std::vector<std::string> words;
  std::string sentence;
};

void PrintTo(const Bad& bad, std::ostream* out) {
  *out << bad.what;
}

class BadShow : public testing::TestWithParam<Bad> {};

TEST_P(BadShow, IsRefusedInOneSentenceAndLeavesNothing) {
  const TemporaryFolder folder;
  writeFile(folder / "run.sav", compactSection);
  writeFile(folder / "cut.sav", compactSection.substr(0, 60));
  std::string content = compactSection;
  content.replace(content.find(" 10,3\n"), 6, " 10,nan\n");
  writeFile(folder / "nan.sav", content);
  writeFile(folder / "plain.log", "Vorin::M::Start inversion\n");
  fs::create_directory(folder / "logs");
  const Outcome outcome = runProgram(folder.path(), GetParam().words);
  expectRefusal(outcome, GetParam().sentence);
  EXPECT_EQ(folder.names(),
            (std::vector<std::string>{"cut.sav", "logs", "nan.sav", "plain.log", "run.sav"}));
}

INSTANTIATE_TEST_SUITE_P(
    Show, BadShow,
    testing::ValuesIn(std::vector<Bad>{
        {"MissingFile",
         {"show", "no.log", "--out", "f.csv"},
         "no.log: the file can't be read (No such file or directory)"},
        {"Folder", {"show", "logs"}, "logs: this is a folder; give the name of a log in it"},
        {"NoSection",
         {"show", "plain.log", "--out", "f.csv"},
         "plain.log: there is no save section in this file; an inversion writes one into its log "
         "when SAVE is 1, or with --compress when REPO is 4: vorin invert FILE.csv --log run.log "
         "--set SAVE=1"},
        {"CutShort",
         {"show", "cut.sav", "--out", "f.csv"},
         "cut.sav, line 9: the heading *[COEFF T2DIST  VORIN] is required here, not \"*[COEFF "
         "T2DIST "
         " V\""},
        {"SectionOfNoNumber",
         {"show", "run.sav", "--section", "two"},
         "--section \"two\": a whole number of 1 or above is required"},
        {"SectionZero",
         {"show", "run.sav", "--section", "0"},
         "--section \"0\": a whole number of 1 or above is required"},
        {"SectionBehindTheLast",
         {"show", "run.sav", "--section", "2"},
         "run.sav: there is no save section 2; the file holds 1"},
        {"FitOfACompactSection",
         {"show", "run.sav", "--out", "f.csv", "--fit", "fit.csv"},
         "--fit fit.csv: run.sav is a compact save section, which holds no fit; leave out --fit"},
        {"OutputIsTheInput",
         {"show", "run.sav", "--out", "run.sav"},
         "--out run.sav: this is the file that is read; give another name"},
        {"PictureOfNoKind",
         {"show", "run.sav", "--plot", "p.bmp"},
         "--plot p.bmp: the name must end in .png, .svg or .pdf"},
        {"NothingToDraw",
         {"show", "nan.sav", "--out", "f.csv", "--plot", "p.png"},
         "nan.sav, line 1: the section can't be drawn, since the distribution is not finite; leave "
         "out --plot"},
    }),
    [](const auto& row) { return row.param.what; });

}  // namespace
}  // namespace vorin::toolkit::test
