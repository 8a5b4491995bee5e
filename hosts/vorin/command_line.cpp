#include "command_line.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "toolkit/reading/edit_distance.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The nearest of `names` to `word`, or none where all are far: more than a third of its letters
/// (two at least) have to be changed.
std::string nearest(std::string_view word, const std::vector<std::string>& names) {
  constexpr std::size_t lettersAChange = 3;
  constexpr std::size_t fewest = 2;
  std::string best;
  std::size_t least = std::max(word.size() / lettersAChange, fewest) + 1;
  for (const std::string& name : names) {
    if (const std::size_t distance = editDistance(word, name); distance < least) {
      least = distance;
      best = name;
    }
  }
  return best;
}

std::vector<std::string> longNames(const CLI::App& line) {
  std::vector<std::string> names;
  for (const CLI::Option* option : line.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
  }
  return names;
}

bool mayBeFile(const std::string& word) {
  std::error_code error;
  return word == "-" || word.find_first_of("./\\*") != std::string::npos ||
         std::filesystem::exists(word, error);
}

const CLI::App* commandNamed(const CLI::App& program, const std::string& name) {
  const std::vector<const CLI::App*> found =
      program.get_subcommands([&](const CLI::App* line) { return line->get_name() == name; });
  return found.empty() ? nullptr : found.front();
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<const CLI::App*> shownCommands(const CLI::App& program) {
  return program.get_subcommands([](const CLI::App* line) { return !line->get_group().empty(); });
}

std::vector<std::string> withCommand(const CLI::App& program, std::vector<std::string> words) {
  if (words.empty() || commandNamed(program, words.front()) != nullptr) {
    return words;
  }
  const std::string& first = words.front();
  const bool isOption = first.size() > 1 && first[0] == '-';
  if (isOption ? program.get_option_no_throw(first.substr(0, first.find('='))) != nullptr
               : first.empty()) {
    return words;
  }
  if (!isOption && !mayBeFile(first)) {
    std::vector<std::string> names;
    for (const CLI::App* line : shownCommands(program)) {
      names.push_back(line->get_name());
    }
    const std::string near = nearest(first, names);
    throw UserError(
        fmt::format("{}: there is no such command or file{}; vorin --help lists the "
                    "commands, vorin COMMAND --help its options",
                    inQuotes(first), near.empty() ? "" : fmt::format(" (did you mean {}?)", near)));
  }
  words.insert(words.begin(), "invert");
  return words;
}

std::string suggestion(const CLI::App& program, const std::vector<std::string>& words) {
  const CLI::App* line = &program;
  if (!words.empty()) {
    if (const CLI::App* command = commandNamed(program, words.front())) {
      line = command;
    }
  }
  std::vector<std::string> names = longNames(*line);
  const std::vector<std::string> ofProgram = longNames(program);
  names.insert(names.end(), ofProgram.begin(), ofProgram.end());
  for (const std::string& word : words) {
    const std::string name = word.substr(0, word.find('='));
    if (name.size() > 2 && name.compare(0, 2, "--") == 0 && !contains(names, name)) {
      const std::string near = nearest(name, names);
      return near.empty() ? "" : fmt::format(" (did you mean {}?)", near);
    }
  }
  return "";
}

}  // namespace vorin::toolkit
