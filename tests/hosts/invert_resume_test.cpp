// A batch that is interrupted leaves what is done, complete, and goes on to the same bytes.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

constexpr int decays = 40;

/// d00.csv to d39.csv.
Words makeDecays(const TemporaryFolder& folder) {
  Words names;
  for (int i = 0; i < decays; ++i) {
    names.push_back(fmt::format("d{:02}.csv", i));
    EXPECT_EQ(runProgram(folder.path(), {"simulate", "--samples", "600", "--seed",
                                         std::to_string(i + 1), "--out", names.back()})
                  .status,
              0);
  }
  return names;
}

/// The batch into the folder `out`. Its bootstraps make each decay take a while.
Words batchWords(const Words& names, const std::string& out) {
  Words words{"invert"};
  words.insert(words.end(), names.begin(), names.end());
  for (const char* option :
       {"--table", "t.csv", "--json", "a.json", "--out", "{}_f.csv", "--fit", "{}_fit.csv"}) {
    words.push_back(option[0] == '-' ? option : out + "/" + option);
  }
  words.insert(words.end(), {"--bootstrap", "60", "--cutoff", "33ms"});
  return words;
}

std::size_t linesOf(const fs::path& file) {
  if (!fs::exists(file)) {
    return 0;
  }
  const std::string text = contentOf(file);
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

/// Runs the batch and sends `signal` as soon as its table has some rows. The status of wait().
int interrupted(const TemporaryFolder& folder, const Words& words, const fs::path& table,
                int signal) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(signal, SIG_DFL);  // ignored where the tests run in the background, and inherited
    std::vector<char*> arguments;
    Words all{VORIN_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    for (std::string& word : all) {
      arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    if (::chdir(folder.path().c_str()) == 0 && std::freopen("out.txt", "w", stdout) != nullptr &&
        std::freopen("err.txt", "w", stderr) != nullptr) {
      ::execv(VORIN_PROGRAM, arguments.data());
    }
    ::_exit(127);
  }
  constexpr std::size_t enough = 4;  // the header and three rows
  int status = 0;
  while (linesOf(table) < enough) {
    if (::waitpid(child, &status, WNOHANG) == child) {
      return status;  // it ended by itself
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ::kill(child, signal);
  ::waitpid(child, &status, 0);
  return status;
}

std::map<std::string, std::string> filesOf(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    files[entry.path().filename().string()] = contentOf(entry.path());
  }
  return files;
}

TEST(Leftovers, OfAKilledRunAreRemovedByTheNext) {
  const TemporaryFolder folder;
  // A process that is no more.
  const pid_t gone = ::fork();
  if (gone == 0) {
    ::_exit(0);
  }
  ::waitpid(gone, nullptr, 0);
  fs::create_directory(folder / "out");
  const std::string left = fmt::format("out/.d_t2.csv.{}.part", gone);
  const std::string ofLiving = fmt::format("out/.d_t2.csv.{}.part", ::getpid());
  const std::string ofOthers = fmt::format("out/.other.csv.{}.part", gone);
  for (const std::string& name : {left, ofLiving, ofOthers}) {
    writeFile(folder / name, "half");
  }
  writeFile(folder / "d.csv", contentOf(std::string(VORIN_SAMPLE_DIR) + "/decay.csv"));
  ASSERT_EQ(
      runProgram(folder.path(), {"invert", "d.csv", "--weight", "1", "--out", "out/{}_t2.csv"})
          .status,
      0);
  EXPECT_FALSE(fs::exists(folder / left));
  EXPECT_TRUE(fs::exists(folder / ofLiving));
  EXPECT_TRUE(fs::exists(folder / ofOthers));
  EXPECT_TRUE(fs::exists(folder / "out/d_t2.csv"));
}

class Interrupted : public testing::TestWithParam<int> {};

TEST_P(Interrupted, LeavesWhatIsDoneAndGoesOnToTheSameBytes) {
  const TemporaryFolder folder;
  const Words names = makeDecays(folder);
  Words whole = batchWords(names, "whole");
  ASSERT_EQ(runProgram(folder.path(), whole).status, 0);

  Words words = batchWords(names, "part");
  words.insert(words.end(), {"--jobs", "3"});
  int status = 0;
  // On a busy machine the batch may have ended before its rows are seen.
  for (int attempt = 0; attempt < 5 && !WIFSIGNALED(status); ++attempt) {
    fs::remove_all(folder / "part");
    status = interrupted(folder, words, folder / "part/t.csv", GetParam());
  }
  ASSERT_TRUE(WIFSIGNALED(status)) << contentOf(folder / "err.txt");
  EXPECT_EQ(WTERMSIG(status), GetParam());
  // All rows and objects are those of the whole run, and each decay that has a row has its files.
  const std::string wholeTable = contentOf(folder / "whole/t.csv");
  std::istringstream rows(contentOf(folder / "part/t.csv"));
  std::string row;
  std::size_t count = 0;
  while (std::getline(rows, row)) {
    EXPECT_NE(wholeTable.find(row + "\n"), std::string::npos) << row;
    if (count++ > 0) {
      const std::string stem = row.substr(0, row.find('.'));
      EXPECT_EQ(contentOf(folder / ("part/" + stem + "_f.csv")),
                contentOf(folder / ("whole/" + stem + "_f.csv")));
    }
  }
  EXPECT_GE(count, 4U);
  EXPECT_LT(count, static_cast<std::size_t>(decays) + 1);
  EXPECT_GE(Json::parse(contentOf(folder / "part/a.json")).size() + 1, count);
  EXPECT_TRUE(fs::exists(folder / "part/t.csv.unfinished"));

  const auto firstWritten = fs::last_write_time(folder / "part/d00_f.csv");
  words = batchWords(names, "part");
  words.push_back("--resume");
  const Outcome outcome = runProgram(folder.path(), words);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  std::map<std::string, std::string> found = filesOf(folder / "part");
  for (auto at = found.begin(); at != found.end();) {  // what a kill has cut off in the middle
    at = at->first.ends_with(".part") ? found.erase(at) : std::next(at);
  }
  EXPECT_TRUE(found == filesOf(folder / "whole"));
  EXPECT_EQ(fs::last_write_time(folder / "part/d00_f.csv"), firstWritten);  // not done again
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupted, testing::Values(SIGINT, SIGTERM, SIGKILL));

TEST(InvertResume, OtherOptionsAreRefused) {
  const TemporaryFolder folder;
  const Words names = makeDecays(folder);
  const Words words = batchWords(names, "part");
  interrupted(folder, words, folder / "part/t.csv", SIGKILL);
  Words other = words;
  other.insert(other.end(), {"--resume", "--weight", "1"});
  const Outcome outcome = runProgram(folder.path(), other);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("is of a run with other options"), std::string::npos) << outcome.err;
}

TEST(InvertResume, AJournalThatEndsInItsFirstLineCountsAsNone) {
  const TemporaryFolder folder;
  const Words names = makeDecays(folder);
  const Words words{"invert",  names[0], names[1],   "--weight", "1",
                    "--table", "t.csv",  "--resume", "--jobs",   "1"};
  writeFile(folder / "t.csv.unfinished", "{\"settings\":");
  const Outcome outcome = runProgram(folder.path(), words);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(linesOf(folder / "t.csv"), 3U);
  writeFile(folder / "t.csv.unfinished", "{\"settings\":\n");
  EXPECT_EQ(runProgram(folder.path(), words).status, 2);
}

TEST(InvertResume, NeedsAFile) {
  const TemporaryFolder folder;
  const Words names = makeDecays(folder);
  const Outcome outcome = runProgram(folder.path(), {"invert", names[0], names[1], "--resume"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("--resume: there is no file to go on with"), std::string::npos);
}

TEST(InvertJobs, DoNotChangeTheAnswersOrTheirOrder) {
  const TemporaryFolder folder;
  const Words names = makeDecays(folder);
  std::vector<std::string> out;
  for (const char* jobs : {"1", "2", "7"}) {
    Words words = batchWords(names, std::string("jobs") + jobs);
    words.insert(words.end(), {"--jobs", jobs});
    const Outcome outcome = runProgram(folder.path(), words);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");  // no bar where there is no terminal
    out.push_back(outcome.out);
  }
  EXPECT_EQ(out[0], out[1]);
  EXPECT_EQ(out[0], out[2]);
  EXPECT_TRUE(filesOf(folder / "jobs1") == filesOf(folder / "jobs2"));
  EXPECT_TRUE(filesOf(folder / "jobs1") == filesOf(folder / "jobs7"));
  for (const char* jobs : {"0", "-1", "many", "1.5"}) {
    const Outcome outcome =
        runProgram(folder.path(), {"invert", names[0], "--jobs=" + std::string(jobs)});
    EXPECT_EQ(outcome.status, 2) << jobs;
  }
}

TEST(InvertKeepGoing, ABadFileIsARowWithItsSentence) {
  const TemporaryFolder folder;
  const Words names = makeDecays(folder);
  writeFile(folder / "bad.csv", "time,amplitude\n0.001,3\n0.002,x\n");
  writeFile(folder / "flat.csv", "0.001,0\n0.002,0\n0.003,0\n");
  const Words words{"invert",   names[0], "bad.csv", "missing.csv",
                    "flat.csv", names[1], "--table", "new/folder/t.csv",
                    "--json",   "a.json", "--out",   "f/{}.csv"};
  const Outcome stopped = runProgram(folder.path(), words);
  EXPECT_EQ(stopped.status, 2);
  EXPECT_FALSE(fs::exists(folder / "new"));
  EXPECT_FALSE(fs::exists(folder / "f"));
  Words going = words;
  going.push_back("--keep-going");
  const Outcome outcome = runProgram(folder.path(), going);
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_NE(outcome.out.find("2 of 5 inversions successful"), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("\nbad.csv"), std::string::npos);
  const std::string table = contentOf(folder / "new/folder/t.csv");
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 6);
  EXPECT_NE(table.find("\nmissing.csv,,,false,,"), std::string::npos) << table;
  const Json all = Json::parse(contentOf(folder / "a.json"));
  ASSERT_EQ(all.size(), 5U);
  EXPECT_EQ(all[1]["file"], "bad.csv");
  EXPECT_EQ(all[1]["success"], false);
  EXPECT_TRUE(all[1]["status"].is_null());
  // The sentence is the one that stops a run without --keep-going.
  EXPECT_EQ("vorin: " + all[1]["status_text"].get<std::string>() + "\n", stopped.err);
  EXPECT_TRUE(fs::exists(folder / "f" / names[1]));
  EXPECT_FALSE(fs::exists(folder / "f/bad.csv"));
  EXPECT_FALSE(fs::exists(folder / "new/folder/t.csv.unfinished"));
}

}  // namespace
}  // namespace vorin::toolkit::test
