// The log: its name, its header, its levels, its lines, and what becomes of them
// when the file can't be had.
#include "params/log.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "params/digit_shape.hpp"
#include "params/log_file.hpp"
#include "params/store_fixture.hpp"

#ifdef _WIN32
// Declared here, since <windows.h> has macros of the names that tests use.
extern "C" __declspec(dllimport) int __stdcall GetProcessHandleCount(void*, unsigned long*);
extern "C" __declspec(dllimport) void* __stdcall GetCurrentProcess();
#endif

namespace {

namespace fs = std::filesystem;
using namespace vorin::params;

/// Each test works in an empty folder of its own.
class Log : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    home_ = fs::current_path();
    const auto* const info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = home_ / (std::string("log-") + info->name());
    fs::remove_all(folder_);
    fs::create_directory(folder_);
    fs::current_path(folder_);
  }

  void TearDown() override {
    VorinLogOpen(false);
    fs::current_path(home_);
    fs::remove_all(folder_);
    StoreTest::TearDown();
  }

  static std::vector<std::string> lines(const fs::path& name) {
    std::ifstream file(name);
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);) {
      all.push_back(line);
    }
    return all;
  }

  /// The lines behind the header.
  static std::vector<std::string> entries(const fs::path& name) {
    std::vector<std::string> all = lines(name);
    all.erase(all.begin(), all.begin() + std::min<std::ptrdiff_t>(4, std::ssize(all)));
    return all;
  }

  static std::vector<std::string> filesHere() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(".")) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  /// The one file that opening the log under `flog` makes.
  static std::string nameFor(const std::string& flog) {
    setText("FLOG", flog);
    VorinLogOpen(true);
    VorinLogOpen(false);
    const std::vector<std::string> names = filesHere();
    EXPECT_EQ(names.size(), 1U) << flog;
    for (const std::string& name : names) {
      fs::remove(name);
    }
    return names.empty() ? "" : names.front();
  }

 private:
  fs::path home_;
  fs::path folder_;
};

using Lines = std::vector<std::string>;

// ---- header and levels ----------------------------------------------------------

TEST_F(Log, BeginsWithAHeaderOfFourLines) {
  VorinLogOpen(true);
  VorinLogOpen(false);
  const Lines header = lines("Vorin.log");
  ASSERT_EQ(header.size(), 4U);
  const std::string rule = " ----------------------------";
  ASSERT_EQ(rule.size(), 29U);
  EXPECT_EQ(header[0], rule);
  EXPECT_EQ(header[1].substr(0, 35), "Vorin10.56                         ");
  EXPECT_GT(header[1].size(), 35U);
  EXPECT_LE(header[1].size(), 64U);
  EXPECT_NE(header[1].back(), ' ');
  EXPECT_EQ(digitShape(header[2]), "date =99999999  999999.999");
  EXPECT_EQ(header[3], rule);
}

TEST_F(Log, WithRepoZeroTheFileHoldsExactlyTheHeader) {
  setNumber("REPO", 0.0F);
  VorinLogOpen(true);
  EXPECT_FALSE(logIsOpen());
  VorinLogLine("Vorin", "M", "Start inversion");
  VorinLogText("text");
  writeRecord("record");
  VorinLogOpen(false);
  EXPECT_EQ(lines("Vorin.log").size(), 4U);
}

TEST_F(Log, ClosesBehindTheHeaderUpToALevelOfOneHalf) {
  for (const float level : {0.5F, -1.0F, -1e30F}) {
    setNumber("REPO", level);
    VorinLogOpen(true);
    EXPECT_FALSE(logIsOpen()) << level;
  }
  for (const float level : {0.51F, 1.0F, 4.0F}) {
    setNumber("REPO", level);
    VorinLogOpen(true);
    EXPECT_TRUE(logIsOpen()) << level;
  }
}

// ---- name -----------------------------------------------------------------------

TEST_F(Log, IsNamedVorinLogByDefault) {
  VorinLogOpen(true);
  EXPECT_EQ(filesHere(), Lines{"Vorin.log"});
}

TEST_F(Log, WithABlankNameTheFileIsVorinLog) {
  EXPECT_EQ(nameFor(""), "Vorin.log");
  EXPECT_EQ(nameFor("    "), "Vorin.log");
}

TEST_F(Log, WithTheNameNoneTheFileIsVorinLog) {
  EXPECT_EQ(nameFor("NONE"), "Vorin.log");
  EXPECT_EQ(nameFor("none  "), "Vorin.log");
}

TEST_F(Log, ANameUnderFourCharactersGetsNoExtension) {
  EXPECT_EQ(nameFor("a"), "A");
  EXPECT_EQ(nameFor("ab"), "AB");
  EXPECT_EQ(nameFor("abc"), "ABC");
  EXPECT_EQ(nameFor("abcd"), "ABCD.log");
}

TEST_F(Log, ANameWithTheExtensionStays) {
  EXPECT_EQ(nameFor("x.log"), "X.LOG");
  EXPECT_EQ(nameFor(".log"), ".LOG");
  EXPECT_EQ(nameFor("run1"), "RUN1.log");
  EXPECT_EQ(nameFor("run.logs"), "RUN.LOGS.log");
}

TEST_F(Log, ANameIsCutAtEightyCharactersAndItsExtensionToo) {
  const auto letters = [](std::size_t n) { return std::string(n, 'A'); };
  EXPECT_EQ(nameFor(letters(76)), letters(76) + ".log");
  EXPECT_EQ(nameFor(letters(77)), letters(77) + ".lo");
  EXPECT_EQ(nameFor(letters(78)), letters(78) + ".l");
#ifdef _WIN32  // which drops a dot at the end of a name
  EXPECT_EQ(nameFor(letters(79)), letters(79));
#else
  EXPECT_EQ(nameFor(letters(79)), letters(79) + ".");
#endif
  EXPECT_EQ(nameFor(letters(80)), letters(80));
  EXPECT_EQ(nameFor(letters(200)), letters(80));
  // The extension stands beyond the characters that are read.
  EXPECT_EQ(nameFor(letters(78) + ".log"), letters(78) + ".L");
}

TEST_F(Log, ABlankStartOfALongNameCountsAsABlankName) {
  EXPECT_EQ(nameFor(std::string(80, ' ') + "x"), "Vorin.log");
}

// ---- lines ----------------------------------------------------------------------

TEST_F(Log, JoinsModuleKindAndMessage) {
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", "Start inversion");
  VorinLogLine("", "", "");
  VorinLogLine("a ", " b", " c   ");
  VorinLogOpen(false);
  EXPECT_EQ(entries("Vorin.log"), (Lines{"Vorin::M::Start inversion", "::::", "a :: b:: c"}));
}

TEST_F(Log, CutsALineAtFiveHundredCharacters) {
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", std::string(1000, 'x'));
  VorinLogLine(std::string(600, 'm'), "M", "message");
  VorinLogLine("Vorin", "M", std::string(480, ' ') + std::string(30, 'y'));
  VorinLogOpen(false);
  EXPECT_EQ(entries("Vorin.log"),
            (Lines{"Vorin::M::" + std::string(490, 'x'), std::string(500, 'm'),
                   "Vorin::M::" + std::string(480, ' ') + std::string(10, 'y')}));
}

TEST_F(Log, TrimsALineAfterTheCut) {
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", std::string("z") + std::string(489, ' ') + "lost");
  VorinLogOpen(false);
  EXPECT_EQ(entries("Vorin.log"), Lines{"Vorin::M::z"});
}

TEST_F(Log, WritesTextsAndRecordsAsLinesOfTheirOwn) {
  VorinLogOpen(true);
  VorinLogText("some text   ");
  VorinLogText("   ");
  writeRecord("nrerror: text  ");
  writeLine("kept as it is  ");
  VorinLogText(std::string(700, 't'));
  VorinLogOpen(false);
  EXPECT_EQ(entries("Vorin.log"),
            (Lines{"some text", "", " nrerror: text", "kept as it is  ", std::string(700, 't')}));
}

TEST_F(Log, AClosedLogTakesNoLinesAndDoesNotFail) {
  VorinLogLine("Vorin", "M", "message");
  VorinLogText("text");
  writeRecord("record");
  writeLine("line");
  VorinLogOpen(false);
  EXPECT_FALSE(logIsOpen());
  EXPECT_TRUE(filesHere().empty());
}

TEST_F(Log, FlushedLinesCanBeReadWhileTheLogIsOpen) {
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", "first");
  flushLog();
  EXPECT_EQ(entries("Vorin.log"), Lines{"Vorin::M::first"});
}

// ---- life of the file -----------------------------------------------------------

TEST_F(Log, HoldsOnlyTheLinesOfTheLastInversion) {
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", "a longer line of the first inversion");
  VorinLogLine("Vorin", "M", "another");
  VorinLogOpen(false);
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", "second");
  VorinLogOpen(false);
  EXPECT_EQ(entries("Vorin.log"), Lines{"Vorin::M::second"});
}

TEST_F(Log, OpeningClosesALogThatWasLeftOpen) {
  setText("FLOG", "first");
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", "one");
  setText("FLOG", "second");
  VorinLogOpen(true);
  VorinLogLine("Vorin", "M", "two");
  EXPECT_EQ(entries("FIRST.log"), Lines{"Vorin::M::one"});
  VorinLogOpen(false);
  EXPECT_EQ(entries("SECOND.log"), Lines{"Vorin::M::two"});
}

TEST_F(Log, AFileThatCannotBeOpenedCostsOnlyTheLines) {
  fs::create_directory("FOLDER.log");
  for (const char* name : {"folder", "no/such/folder"}) {
    setText("FLOG", name);
    VorinLogOpen(true);
    EXPECT_FALSE(logIsOpen()) << name;
    VorinLogLine("Vorin", "M", "message");
    VorinLogOpen(false);
  }
  EXPECT_EQ(filesHere(), Lines{"FOLDER.log"});
}

// What docs/hosts.md tells hosts that read no log.
TEST_F(Log, UnderTheNameOfTheRootFolderThereIsNone) {
  setText("FLOG", "/");
  setNumber("REPO", 4.0F);
  EXPECT_EQ(logFileName(), "/");
  VorinLogOpen(true);
  EXPECT_FALSE(logIsOpen());
  VorinLogLine("Vorin", "M", "message");
  VorinLogOpen(false);
  EXPECT_TRUE(filesHere().empty());
}

TEST_F(Log, AFailedOpeningClosesTheLogBeforeIt) {
  VorinLogOpen(true);
  setText("FLOG", "no/such/folder");
  VorinLogOpen(true);
  EXPECT_FALSE(logIsOpen());
}

TEST_F(Log, AFailureToWriteIsIgnored) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP() << "needs a device that is always full";
  }
  fs::create_symlink("/dev/full", "FULL.log");
  setText("FLOG", "full");
  VorinLogOpen(true);
  EXPECT_TRUE(logIsOpen());
  VorinLogLine("Vorin", "M", "message");
  VorinLogOpen(false);
  EXPECT_FALSE(logIsOpen());
}

/// How many handles this process has; none where the system does not tell.
std::optional<std::ptrdiff_t> handleCount() {
#ifdef _WIN32
  unsigned long count = 0;
  return GetProcessHandleCount(GetCurrentProcess(), &count) != 0
             ? std::optional<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(count))
             : std::nullopt;
#else
  const fs::path handles = "/proc/self/fd";
  return fs::exists(handles) ? std::optional<std::ptrdiff_t>(std::distance(
                                   fs::directory_iterator(handles), fs::directory_iterator()))
                             : std::nullopt;
#endif
}

TEST_F(Log, LeavesNoFileHandleBehind) {
  const std::optional<std::ptrdiff_t> before = handleCount();
  if (!before.has_value()) {
    GTEST_SKIP() << "needs a count of this process's handles";
  }
  for (int i = 0; i < 20; ++i) {
    setText("FLOG", i % 3 == 0 ? "no/such/folder" : "name");
    setNumber("REPO", i % 2 == 0 ? 0.0F : 1.0F);
    VorinLogOpen(true);
    VorinLogOpen(true);
  }
  VorinLogOpen(false);
  EXPECT_EQ(handleCount(), before);
}

// ---- the unit and its opener ----------------------------------------------------

TEST_F(Log, TheUnitIsNumberOneHundred) {
  EXPECT_EQ(logUnit(), 100);
  EXPECT_FALSE(unitIsOpen(100));
  VorinLogOpen(true);
  EXPECT_TRUE(unitIsOpen(100));
  EXPECT_FALSE(unitIsOpen(99));
}

std::int32_t openAs(std::string_view name, std::string_view word) {
  std::int32_t result = -9;
  FOPEN(logUnit(), name, word, result);
  return result;
}

TEST_F(Log, FopenOldAndBlankNeedAnExistingFile) {
  for (const char* word : {"OLD", "old  ", "", "   "}) {
    EXPECT_NE(openAs("file", word), 0) << word;
    EXPECT_FALSE(logIsOpen());
  }
  std::ofstream("file", std::ios::binary) << "first line\nsecond line\n";
  for (const char* word : {"OLD", "old  ", "", "   "}) {
    EXPECT_EQ(openAs("file", word), 0) << word;
    EXPECT_TRUE(logIsOpen());
  }
  writeLine("FIRST LINE");  // from the start; what follows stays
  closeLogUnit();
  EXPECT_EQ(lines("file"), (Lines{"FIRST LINE", "second line"}));
}

TEST_F(Log, FopenUnknownCreatesOrRewrites) {
  EXPECT_EQ(openAs("file", "Unknown"), 0);
  writeLine("first");
  writeLine("second");
  EXPECT_EQ(openAs("file   ", "UNKNOWN  "), 0);
  writeLine("third");
  closeLogUnit();
  EXPECT_EQ(lines("file"), Lines{"third"});
}

TEST_F(Log, FopenNewNeedsAMissingFile) {
  EXPECT_EQ(openAs("file", "NEW"), 0);
  writeLine("first");
  closeLogUnit();
  EXPECT_NE(openAs("file", "NEW"), 0);
  EXPECT_FALSE(logIsOpen());
  EXPECT_EQ(lines("file"), Lines{"first"});
}

TEST_F(Log, FopenAppendWritesAtTheEndOfAnExistingFile) {
  EXPECT_NE(openAs("file", "APPEND"), 0);
  EXPECT_FALSE(fs::exists("file"));
  std::ofstream("file") << "first\n";
  EXPECT_EQ(openAs("file", "append"), 0);
  writeLine("second");
  closeLogUnit();
  EXPECT_EQ(lines("file"), (Lines{"first", "second"}));
}

TEST_F(Log, FopenTellsAnUnknownWordOnStandardOutputAndReturnsZero) {
  ::testing::internal::CaptureStdout();
  const std::int32_t result = openAs("file", "SCRATCH ");
  std::fflush(stdout);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), " FOPEN::unknown key=SCRATCH\n");
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(logIsOpen());
  EXPECT_TRUE(filesHere().empty());
}

TEST_F(Log, FopenRefusesOtherUnits) {
  std::int32_t result = -9;
  FOPEN(7, "file", "UNKNOWN", result);
  EXPECT_NE(result, 0);
  EXPECT_TRUE(filesHere().empty());
}

}  // namespace
