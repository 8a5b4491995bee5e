#include "completion.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "command_line.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// An option as a shell needs it.
struct Completion {
  std::vector<std::string> names;  ///< "--kernel"
  std::string text;                ///< the first sentence of its help
  bool takesValue = false;         ///< files unless there are words
  std::vector<std::string> words;  ///< that its value may be
  std::string type;                ///< of its value, "NAME|FILE"
};

/// The words among the alternatives of a type: "noise" and "corner" of "noise|corner|W".
std::vector<std::string> wordsOf(const std::string& type) {
  std::vector<std::string> words;
  for (std::size_t start = 0; start <= type.size();) {
    const std::size_t end = std::min(type.find('|', start), type.size());
    const std::string word = type.substr(start, end - start);
    if (!word.empty() && std::all_of(word.begin(), word.end(), [](unsigned char c) {
          return std::islower(c) != 0 || c == '-';
        })) {
      words.push_back(word);
    }
    start = end + 1;
  }
  return words;
}

/// The words of an option whose type in the help is one name for all of them.
std::vector<std::string> moreWords(const std::string& name, const std::string& type) {
  if (name == "--kernel") {
    std::vector<std::string> words;
    for (Kernel kernel : namedKernels()) {
      words.emplace_back(kernelName(kernel));
    }
    return words;
  }
  if (name == "--noise" && type == "SIGMA|HOW") {
    return {"difference", "fit", "ridge", "scan", "quadrature"};
  }
  if (name == "--noise" && type == "HOW") {  // of a map
    return {"projection", "quadrature"};
  }
  if (name == "--weight" && type == "HOW") {
    return {"noise", "corner"};
  }
  if (name.starts_with("--time-unit")) {
    return {"s", "ms", "us", "ns", "s/m2", "s/cm2", "s/mm2", "ms/um2"};
  }
  return {};
}

/// The help of an option in one short line without characters that a shell could read.
std::string shortText(const std::string& help) {
  std::string text = help.substr(0, help.find_first_of(".:;("));
  for (char& c : text) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-' && c != ',' && c != '%') {
      c = ' ';
    }
  }
  return std::string(trimmed(text));
}

std::vector<Completion> completionsOf(const CLI::App& line) {
  std::vector<Completion> result;
  for (const CLI::Option* option : line.get_options()) {
    if (!option->nonpositional() || option->get_group().empty()) {
      continue;
    }
    Completion one;
    for (const std::string& name : option->get_lnames()) {
      one.names.push_back("--" + name);
    }
    for (const std::string& name : option->get_snames()) {
      one.names.push_back("-" + name);
    }
    one.text = shortText(option->get_description());
    one.takesValue = option->get_items_expected_max() > 0;
    one.type = option->get_type_name();
    one.words = wordsOf(one.type);
    const std::vector<std::string> more = moreWords(one.names.front(), one.type);
    one.words.insert(one.words.end(), more.begin(), more.end());
    result.push_back(std::move(one));
  }
  return result;
}

std::vector<std::string> namesOf(const std::vector<Completion>& options) {
  std::vector<std::string> names;
  for (const Completion& option : options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

std::vector<std::string> commandNames(const CLI::App& program) {
  std::vector<std::string> names;
  for (const CLI::App* line : shownCommands(program)) {
    names.push_back(line->get_name());
  }
  return names;
}

std::string bashScript(const CLI::App& program) {
  std::string script = fmt::format(
      R"(# Completion of vorin for bash, made by: vorin completion bash
_vorin() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD-1]}} options= words=
  local command=${{COMP_WORDS[1]}}
  if [ "$COMP_CWORD" -eq 1 ]; then
    COMPREPLY=($(compgen -W "{} {}" -- "$word") $(compgen -f -- "$word"))
    return
  fi
  case $command in
)",
      fmt::join(commandNames(program), " "), fmt::join(namesOf(completionsOf(program)), " "));
  for (const CLI::App* line : shownCommands(program)) {
    const std::vector<Completion> options = completionsOf(*line);
    script += fmt::format("    {})\n      options=\"{}\"\n      case $before in\n",
                          line->get_name(), fmt::join(namesOf(options), " "));
    for (const Completion& option : options) {
      if (!option.words.empty()) {
        script += fmt::format("        {}) words=\"{}\" ;;\n", fmt::join(option.names, "|"),
                              fmt::join(option.words, " "));
      }
    }
    script += "        *) ;;\n      esac ;;\n";
  }
  return script + R"(    *) ;;
  esac
  case $word in
    -*) COMPREPLY=($(compgen -W "$options" -- "$word")) ;;
    *) COMPREPLY=($(compgen -W "$words" -- "$word") $(compgen -f -- "$word")) ;;
  esac
}
complete -o filenames -F _vorin vorin
)";
}

std::string zshScript(const CLI::App& program) {
  std::string script =
      "#compdef vorin\n# Completion of vorin for zsh, made by: vorin completion zsh\n";
  script += "_vorin() {\n  local -a commands\n  commands=(\n";
  for (const CLI::App* line : shownCommands(program)) {
    script += fmt::format("    '{}:{}'\n", line->get_name(), shortText(line->get_description()));
  }
  script +=
      "  )\n  if (( CURRENT == 2 )); then\n    _describe command commands\n    _files\n    "
      "return\n  fi\n";
  script += "  local command=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case $command in\n";
  for (const CLI::App* line : shownCommands(program)) {
    script += fmt::format("    {})\n      _arguments \\\n", line->get_name());
    for (const Completion& option : completionsOf(*line)) {
      for (const std::string& name : option.names) {
        const std::string value = !option.takesValue ? ""
                                  : option.words.empty()
                                      ? ":value:_files"
                                      : fmt::format(":value:({})", fmt::join(option.words, " "));
        script += fmt::format("        '*{}[{}]{}' \\\n", name, option.text, value);
      }
    }
    script += "        '*:file:_files'\n      ;;\n";
  }
  return script + "    *) _files ;;\n  esac\n}\n_vorin \"$@\"\n";
}

std::string fishScript(const CLI::App& program) {
  std::string script = "# Completion of vorin for fish, made by: vorin completion fish\n";
  for (const CLI::App* line : shownCommands(program)) {
    script += fmt::format("complete -c vorin -n __fish_use_subcommand -a {} -d '{}'\n",
                          line->get_name(), shortText(line->get_description()));
  }
  for (const CLI::App* line : shownCommands(program)) {
    for (const Completion& option : completionsOf(*line)) {
      script +=
          fmt::format("complete -c vorin -n '__fish_seen_subcommand_from {}'", line->get_name());
      for (const std::string& name : option.names) {
        script += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      script += option.takesValue ? " -r" : "";
      script += option.words.empty() ? "" : fmt::format(" -a '{}'", fmt::join(option.words, " "));
      script += fmt::format(" -d '{}'\n", option.text);
    }
  }
  return script;
}

}  // namespace

std::string completionScript(const CLI::App& program, std::string_view shell) {
  if (shell == "bash") {
    return bashScript(program);
  }
  if (shell == "zsh") {
    return zshScript(program);
  }
  if (shell == "fish") {
    return fishScript(program);
  }
  throw UserError(fmt::format("completion {}: write bash, zsh or fish", inQuotes(shell)));
}

}  // namespace vorin::toolkit
