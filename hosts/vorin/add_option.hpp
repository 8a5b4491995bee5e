// How the commands add their options.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vorin::toolkit {

/// Adds an option whose value is a word, a number or a name: the help shows `type` for it.
template <class Value>
CLI::Option* addOption(CLI::App& line, const std::string& name, Value& value,
                       const std::string& type, const std::string& text) {
  return line.add_option(name, value, text)->type_name(type);
}

}  // namespace vorin::toolkit
