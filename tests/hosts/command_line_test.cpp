// The command that may be left out, suggestions for what is misspelt, kernels in any case, units
// of simulated peaks, and what shells complete.
#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

using Words = std::vector<std::string>;

void makeDecay(const TemporaryFolder& folder) {
  ASSERT_EQ(runProgram(folder.path(), {"simulate", "--out", "decay.csv"}).status, 0);
}

TEST(CommandLine, InvertMayBeLeftOut) {
  const TemporaryFolder folder;
  makeDecay(folder);
  const Outcome whole =
      runProgram(folder.path(), {"invert", "decay.csv", "--kernel", "t2", "--no-picture"});
  for (const Words& words : {Words{"decay.csv", "--kernel", "T2", "--no-picture"},
                             Words{"--no-picture", "--kernel=T2", "decay.csv"}}) {
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, whole.out);
  }
  EXPECT_NE(runProgram(folder.path(), {"no/such.csv"}).err.find("no/such.csv"), std::string::npos);
  EXPECT_EQ(runProgram(folder.path(), {"--version"}).status, 0);
}

TEST(CommandLine, WhatIsMisspeltGetsASuggestion) {
  const TemporaryFolder folder;
  makeDecay(folder);
  const auto hint = [&](const Words& words) {
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 2);
    return outcome.err;
  };
  EXPECT_NE(hint({"invrt", "decay.csv"}).find("did you mean invert?"), std::string::npos);
  EXPECT_NE(hint({"simulat2d"}).find("did you mean simulate2d?"), std::string::npos);
  EXPECT_NE(hint({"invert", "decay.csv", "--kernle", "t2"}).find("did you mean --kernel?"),
            std::string::npos);
  EXPECT_NE(hint({"decay.csv", "--boot-strap=20"}).find("did you mean --bootstrap?"),
            std::string::npos);
  EXPECT_NE(hint({"simulate", "--peek", "1:1:1"}).find("did you mean --peak?"), std::string::npos);
  EXPECT_EQ(hint({"invert", "decay.csv", "--quux"}).find("did you mean"), std::string::npos);
  EXPECT_EQ(hint({"xyzzy"}).find("did you mean"), std::string::npos);
}

TEST(CommandLine, AMatrixOfTheNameOfAKernelIsTheKernel) {
  const TemporaryFolder folder;
  makeDecay(folder);
  for (const char* kernel : {"T1-Saturation", "t1-saturation"}) {
    const Outcome outcome =
        runProgram(folder.path(), {"decay.csv", "--kernel", kernel, "--weight", "1"});
    EXPECT_NE(outcome.out.find("1 - exp(-t/T1)"), std::string::npos) << outcome.err;
  }
}

TEST(CommandLine, PeaksOfASimulationTakeUnits) {
  const TemporaryFolder folder;
  ASSERT_EQ(runProgram(folder.path(), {"simulate", "--peak", "8ms:0.15:30", "--spacing", "200us",
                                       "--out", "a.csv"})
                .status,
            0);
  ASSERT_EQ(runProgram(folder.path(), {"simulate", "--peak", "0.008:0.15:30", "--spacing", "0.0002",
                                       "--out", "b.csv"})
                .status,
            0);
  const auto rows = [&](const char* name) {
    const std::string text = contentOf(folder / name);
    return text.substr(text.find('\n'));
  };
  EXPECT_EQ(rows("a.csv"), rows("b.csv"));
  const Outcome bad =
      runProgram(folder.path(), {"simulate", "--peak", "8min:0.15:30", "--out", "c.csv"});
  EXPECT_EQ(bad.status, 2);
}

/// The long options that the help of a command shows.
std::set<std::string> optionsOf(const TemporaryFolder& folder, const std::string& command) {
  std::set<std::string> options;
  std::istringstream help(runProgram(folder.path(), {command, "--help"}).out);
  for (std::string line; std::getline(help, line);) {
    const std::size_t start = line.find_first_not_of(' ');
    if (start == std::string::npos || start == 0 || start > 4 || line[start] != '-') {
      continue;
    }
    const std::size_t name = line.find("--", start);
    std::size_t end = name;
    while (end < line.size() &&
           (std::isalnum(static_cast<unsigned char>(line[end])) != 0 || line[end] == '-')) {
      ++end;
    }
    options.insert(line.substr(name, end - name));
  }
  return options;
}

TEST(Completion, HoldsEveryCommandAndOption) {
  const TemporaryFolder folder;
  const std::string bash = runProgram(folder.path(), {"completion", "bash"}).out;
  const std::string zsh = runProgram(folder.path(), {"completion", "zsh"}).out;
  const std::string fish = runProgram(folder.path(), {"completion", "fish"}).out;
  for (const std::string command :
       {"invert", "invert2d", "show", "simulate", "simulate2d", "keys"}) {
    const std::set<std::string> options = optionsOf(folder, command);
    EXPECT_GE(options.size(), 1U) << command;
    EXPECT_TRUE(options.contains("--help"));
    // The part of each script that is about this command.
    const std::size_t inBash = bash.find("    " + command + ")");
    ASSERT_NE(inBash, std::string::npos) << command;
    const std::size_t line = bash.find("options=\"", inBash);
    const std::string words =
        " " + bash.substr(line + 9, bash.find('"', line + 9) - line - 9) + " ";
    const std::size_t inZsh = zsh.find("    " + command + ")\n");
    ASSERT_NE(inZsh, std::string::npos) << command;
    const std::string zshPart = zsh.substr(inZsh, zsh.find(";;", inZsh) - inZsh);
    for (const std::string& option : options) {
      EXPECT_NE(words.find(" " + option + " "), std::string::npos) << command << ' ' << option;
      EXPECT_NE(zshPart.find("'*" + option + "["), std::string::npos) << command << ' ' << option;
      const std::string inFish =
          "'__fish_seen_subcommand_from " + command + "' -l " + option.substr(2) + " ";
      EXPECT_NE(fish.find(inFish), std::string::npos) << inFish;
    }
  }
  EXPECT_TRUE(optionsOf(folder, "invert").contains("--resume"));
  EXPECT_EQ(runProgram(folder.path(), {"completion", "tcsh"}).status, 2);
}

TEST(Completion, BashCompletesOptionsAndWords) {
  const TemporaryFolder folder;
  writeFile(folder / "c.bash", runProgram(folder.path(), {"completion", "bash"}).out);
  const auto completed = [&](const std::string& words, int at) {
    const std::string run = fmt::format(
        "cd {} && bash -c 'source ./c.bash; COMP_WORDS=({}); COMP_CWORD={}; _vorin; "
        "echo \"${{COMPREPLY[@]}}\" >answer.txt'",
        folder.path().string(), words, at);
    EXPECT_EQ(std::system(run.c_str()), 0);
    return contentOf(folder / "answer.txt");
  };
  EXPECT_EQ(completed("vorin sim", 1), "simulate simulate2d\n");
  EXPECT_EQ(completed("vorin invert --keep", 2), "--keep-going\n");
  EXPECT_EQ(completed("vorin invert --weight cor", 3), "corner\n");
  EXPECT_EQ(completed("vorin invert c.b", 2), "c.bash\n");
}

bool isInstalled(const std::string& program) {
  return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

TEST(Completion, FishCompletesOptionsAndWords) {
  if (!isInstalled("fish")) {
    GTEST_SKIP() << "fish is not installed";
  }
  const TemporaryFolder folder;
  writeFile(folder / "vorin.fish", runProgram(folder.path(), {"completion", "fish"}).out);
  const auto completed = [&](const std::string& line) {
    const std::string run = fmt::format(
        "cd {} && HOME={} fish --no-config -c 'source vorin.fish; complete -C \"{}\"' >answer.txt",
        folder.path().string(), folder.path().string(), line);
    EXPECT_EQ(std::system(run.c_str()), 0);
    return contentOf(folder / "answer.txt");
  };
  EXPECT_EQ(completed("vorin sim").substr(0, 9), "simulate\t");
  EXPECT_EQ(completed("vorin invert --keep").substr(0, 13), "--keep-going\t");
  EXPECT_EQ(completed("vorin invert --weight cor").substr(0, 7), "corner\t");
  EXPECT_EQ(completed("vorin invert --prune lin").substr(0, 7), "linear\t");
  EXPECT_EQ(completed("vorin invert --kernel diff").substr(0, 10), "diffusion\t");
}

TEST(Completion, ZshCompletesOptionsAndWords) {
  if (!isInstalled("zsh")) {
    GTEST_SKIP() << "zsh is not installed";
  }
  const TemporaryFolder folder;
  writeFile(folder / "_vorin", runProgram(folder.path(), {"completion", "zsh"}).out);
  // An interactive shell behind a terminal of zsh's own; control-X shows what stands in the line.
  writeFile(folder / "run.zsh", fmt::format(R"(zmodload zsh/zpty
zpty -b shell zsh -f -i
zpty -w shell 'PS1=READY; fpath=({} $fpath); autoload -Uz compinit; compinit -u -D; show() {{ print -r -- "LINE<$BUFFER>"; BUFFER= }}; zle -N show; bindkey "^X" show'
zpty -r -m shell seen '*READY*READY*'
for line in "$@"; do
  zpty -w -n shell "$line"$'\t\C-X'
  zpty -r -m shell seen '*LINE<*>*'
  print -r -- "$seen"
done
zpty -d shell
)",
                                            folder.path().string()));
  const std::string run = fmt::format(
      "cd {} && timeout 20 zsh -f run.zsh 'vorin invert --keep-g' 'vorin invert --weight cor' "
      "'vorin invert --prune lin' 'vorin simulate2' >answer.txt 2>&1",
      folder.path().string());
  ASSERT_EQ(std::system(run.c_str()), 0) << contentOf(folder / "answer.txt");
  const std::string answer = contentOf(folder / "answer.txt");
  for (const char* line :
       {"LINE<vorin invert --keep-going >", "LINE<vorin invert --weight corner >",
        "LINE<vorin invert --prune linear >", "LINE<vorin simulate2d >"}) {
    EXPECT_NE(answer.find(line), std::string::npos) << line << " is not in\n" << answer;
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
