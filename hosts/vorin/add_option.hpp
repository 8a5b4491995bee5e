// How the commands add their options.
#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <vector>

namespace vorin::toolkit {

/// Adds an option whose value is a word, a number or a name: the help shows `type` for it.
template <class Value>
CLI::Option* addOption(CLI::App& line, const std::string& name, Value& value,
                       const std::string& type, const std::string& text) {
  return line.add_option(name, value, text)->type_name(type);
}

/// Puts the options that `add()` adds to `line` under a heading of their own in the help.
template <class Add>
void addGroup(CLI::App& line, const std::string& heading, Add add) {
  const std::vector<CLI::Option*> before = line.get_options();
  add();
  for (CLI::Option* option : line.get_options()) {
    if (option->nonpositional() &&
        std::find(before.begin(), before.end(), option) == before.end()) {
      option->group(heading);
    }
  }
}

}  // namespace vorin::toolkit
