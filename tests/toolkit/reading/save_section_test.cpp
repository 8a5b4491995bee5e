// The reader of save sections: what it takes, and the one sentence for what it refuses.
// That it gives back what the library writes stands in tests/params and tests/entry.
#include "toolkit/reading/save_section.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + '\n';
  }
  return text;
}

/// Two grid points, three data points; the title stands on line 2.
const Lines fullSection = {"Vorin::M::Successful inversion, status =   0",
                           " !  Vorin save1",
                           "",
                           " [PARAM]",
                           " nf     2",
                           " ng     3",
                           "TARG   NOISE",
                           "LOG",
                           "CSTA     0",
                           "",
                           " [COEF]",
                           "",
                           "",
                           " 10 0 0.75",
                           " 100 0 3",
                           "",
                           " [DATA]",
                           "",
                           "",
                           " 1 4 4.5",
                           " 2 3 2.5",
                           " 3 2 2",
                           "",
                           " [K]",
                           "  0.9 0.99",
                           "  0.8 0.98",
                           "  0.7 0.97",
                           "",
                           " [EOF]"};

const Lines compactSection = {" !  Vorin save1",
                              " [DATA]",
                              "",
                              "",
                              " 1,4",
                              " 2,3",
                              " 3,2",
                              "",
                              " *[COEFF T2DIST  VORIN]",
                              " *nf,2",
                              " *ng,3",
                              "*TARG,NOISE",
                              "*LOG,",
                              " 10,0.75",
                              " 100,3"};

/// `lines` with line `number`, from 1, replaced.
Lines with(Lines lines, std::size_t number, const std::string& text) {
  lines.at(number - 1) = text;
  return lines;
}

Lines first(const Lines& lines, std::size_t count) {
  return {lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(count)};
}

std::string complaint(const std::string& content, std::size_t number = 1) {
  try {
    readSaveSection(content, "run.log", number);
  } catch (const UserError& error) {
    return error.what();
  }
  return "none";
}

std::string complaint(const Lines& lines) {
  return complaint(joined(lines));
}

void expectTables(const SaveSection& section) {
  EXPECT_EQ(section.coefficients, 2);
  EXPECT_EQ(section.points, 3);
  EXPECT_EQ(section.grid, (std::vector<double>{10, 100}));
  EXPECT_EQ(section.distribution, (std::vector<double>{0.75, 3}));
  EXPECT_EQ(section.time, (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(section.data, (std::vector<double>{4, 3, 2}));
  EXPECT_EQ(section.setting("targ"), "NOISE");
  EXPECT_EQ(section.setting("LOG"), "");
  EXPECT_EQ(section.setting("REPO"), "");
  EXPECT_TRUE(std::isnan(section.number("TARG")));
}

TEST(SaveSectionReader, ReadsBothLayouts) {
  const SaveSection full = readSaveSection(joined(fullSection), "run.log", 1);
  EXPECT_FALSE(full.compact);
  EXPECT_EQ(full.firstLine, 2);
  EXPECT_EQ(full.lastLine, 29);
  expectTables(full);
  EXPECT_EQ(full.second, (std::vector<double>{0, 0}));
  EXPECT_EQ(full.fit, (std::vector<double>{4.5, 2.5, 2}));
  EXPECT_EQ(full.kernel, (std::vector<double>{0.9, 0.99, 0.8, 0.98, 0.7, 0.97}));
  EXPECT_EQ(full.number("CSTA"), 0.0);

  const SaveSection compact = readSaveSection(joined(compactSection), "run.sav", 1);
  EXPECT_TRUE(compact.compact);
  EXPECT_EQ(compact.firstLine, 1);
  EXPECT_EQ(compact.lastLine, 15);
  expectTables(compact);
}

TEST(SaveSectionReader, BlanksTabsAndLineEndsOfAnySystemCountForNothing) {
  std::string text;
  for (const std::string& line : fullSection) {
    text += "\t " + line + "  \r\n";
  }
  expectTables(readSaveSection(text, "run.log", 1));
  Lines dense;
  for (const std::string& line : fullSection) {
    if (!line.empty()) {
      dense.push_back(line);
    }
  }
  expectTables(readSaveSection(joined(dense), "run.log", 1));
}

TEST(SaveSectionReader, TellsSeveralSectionsApart) {
  const Lines other = with(fullSection, 15, " 100 0 5");
  const std::string text = joined(fullSection) + joined(compactSection) + joined(other);
  EXPECT_EQ(saveSectionCount(text), 3U);
  expectTables(readSaveSection(text, "run.log", 1));
  EXPECT_TRUE(readSaveSection(text, "run.log", 2).compact);
  const SaveSection third = readSaveSection(text, "run.log", 3);
  EXPECT_EQ(third.distribution, (std::vector<double>{0.75, 5}));
  EXPECT_EQ(third.lastLine, 29 + 15 + 29);
  EXPECT_EQ(complaint(text, 4), "run.log: there is no save section 4; the file holds 3");
  EXPECT_EQ(complaint(text, 0), "run.log: there is no save section 0; the file holds 3");
}

TEST(SaveSectionReader, ALogWithoutASectionTellsHowToHaveOne) {
  const std::string sentence =
      "run.log: there is no save section in this file; an inversion writes one into its log when "
      "SAVE is 1, or with --compress when REPO is 4: vorin invert FILE.csv --log run.log --set "
      "SAVE=1";
  EXPECT_EQ(complaint(""), sentence);
  EXPECT_EQ(complaint("Vorin::M::Start inversion\n"), sentence);
  EXPECT_EQ(complaint(std::string("\0\xff\n\n[EOF]", 9)), sentence);
}

TEST(SaveSectionReader, ASectionCutShortAtAnyLineIsRefused) {
  for (std::size_t lines = 2; lines < fullSection.size(); ++lines) {
    const std::string sentence = complaint(first(fullSection, lines));
    EXPECT_NE(sentence.find("run.log, line " + std::to_string(lines) +
                            ": the save section that begins on line 2 is cut short here: "),
              std::string::npos)
        << sentence;
  }
  for (std::size_t lines = 1; lines < compactSection.size(); ++lines) {
    const std::string sentence = complaint(first(compactSection, lines));
    EXPECT_NE(sentence.find("run.log, line " + std::to_string(lines) +
                            ": the save section that begins on line 1 is cut short here: "),
              std::string::npos)
        << sentence;
  }
  EXPECT_EQ(complaint(first(fullSection, 20)),
            "run.log, line 20: the save section that begins on line 2 is cut short here: row 2 of "
            "the 3 under [DATA] is missing; run the inversion again to have it whole");
}

TEST(SaveSectionReader, ASectionCutShortWithinALineIsRefused) {
  for (const Lines& lines : {fullSection, compactSection}) {
    const std::string whole = joined(lines);
    // The last byte ends the last line; without it a compact section is in doubt.
    for (std::size_t length = joined(first(lines, 2)).size(); length < whole.size() - 1; ++length) {
      EXPECT_NE(complaint(whole.substr(0, length)), "none") << length;
    }
  }
  const std::string compact = joined(compactSection);
  EXPECT_EQ(complaint(compact.substr(0, compact.size() - 1)),
            "run.log, line 15: the save section that begins on line 1 is cut short here: the end "
            "of its last line is missing; run the inversion again to have it whole");
}

TEST(SaveSectionReader, ASectionCutShortBeforeAnotherIsRefused) {
  const std::string text = joined(first(fullSection, 21)) + joined(fullSection);
  EXPECT_NE(complaint(text, 1).find("run.log, line 22: "), std::string::npos);
  expectTables(readSaveSection(text, "run.log", 2));
}

struct BadLine {
  const char* what;
  Lines lines;
  std::string sentence;  ///< behind "run.log, line "
};

void PrintTo(const BadLine& bad, std::ostream* out) {
  *out << bad.what;
}

class BadLines : public testing::TestWithParam<BadLine> {};

TEST_P(BadLines, AreRefusedInOneSentence) {
  EXPECT_EQ(complaint(GetParam().lines), "run.log, line " + GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Sections, BadLines,
    testing::ValuesIn(std::vector<BadLine>{
        {"WrongHeading", with(fullSection, 4, " [PARAMS]"),
         "4: the heading [PARAM] is required here, not \"[PARAMS]\""},
        {"NoCount", with(fullSection, 5, " nf"),
         "5: \"nf\" and a whole number are required here, not \"nf\""},
        {"HalfACount", with(fullSection, 6, " ng 3.5"),
         "6: \"ng\" and a whole number are required here, not \"ng 3.5\""},
        {"OtherLabel", with(fullSection, 5, " ng 2"),
         "5: \"nf\" and a whole number are required here, not \"ng 2\""},
        {"EndlessCount", with(fullSection, 5, " nf 99999999999999999999"),
         "5: \"nf\" and a whole number are required here, not \"nf 99999999999999999999\""},
        {"TooManyCoefficients", with(fullSection, 5, " nf 1"),
         "15: the heading [DATA] is required here, not \"100 0 3\""},
        {"TooFewCoefficients", with(fullSection, 5, " nf 1000000000000"),
         "17: a row of numbers is required under [COEF], and \"[DATA]\" is not a number"},
        {"WordInARow", with(fullSection, 14, " 10 zero 0.75"),
         "14: a row of numbers is required under [COEF], and \"zero\" is not a number"},
        {"Stars", with(fullSection, 14, " 10 0 ****************"),
         "14: a row of numbers is required under [COEF], and \"****************\" is not a number"},
        {"ShortRow", with(fullSection, 20, " 1 4"),
         "20: a row under [DATA] has 3 numbers, this one 2"},
        {"LongRow", with(fullSection, 20, " 1 4 4.5 1"),
         "20: a row under [DATA] has 3 numbers, this one 4"},
        {"ShortKernelRow", with(fullSection, 26, "  0.8"),
         "26: a row under [K] has 2 numbers, this one 1"},
        {"NoEnd", with(fullSection, 29, " 1 1"),
         "29: the heading [EOF] is required here, not \"1 1\""},
        {"CompactRowOfWords", with(compactSection, 5, " 1,a"),
         "5: a row of numbers is required under [DATA], and \"a\" is not a number"},
        {"CompactRowWithBlanks", with(compactSection, 5, " 1 4"),
         "5: a row of numbers is required under [DATA], and \"1 4\" is not a number"},
        {"CompactCount", with(compactSection, 11, " *ng,4"),
         "11: 4 data points are announced, but 3 are under [DATA]"},
        {"CompactHeading", with(compactSection, 9, " *[COEFF]"),
         "9: the heading *[COEFF T2DIST  VORIN] is required here, not \"*[COEFF]\""},
        {"CompactSetting", with(compactSection, 12, "*TARG"), "12: \"TARG\" is no line *KEY,value"},
    }),
    [](const auto& row) { return row.param.what; });

}  // namespace
}  // namespace vorin::toolkit
