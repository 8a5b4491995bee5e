// vorin keys: the library's keys, their values and what they mean.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands.hpp"
#include "toolkit/inverting/keys.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

/// Two lines: key, value, kind, range and unit; the meaning.
std::string keyText(const KeyInfo& info) {
  std::string text =
      fmt::format("{:<5} {:<11} {}", info.key, keyValueText(info), kindName(info.kind));
  text += info.settable ? "" : ", read-only";
  if (!info.range.empty()) {
    text += fmt::format(": {}", info.range);
  }
  if (!info.unit.empty()) {
    text += fmt::format(" [{}]", info.unit);
  }
  return text + fmt::format("\n      {}\n", info.meaning);
}

ExitStatus runKeys(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    const KeyInfo* const info = findKey(name);
    if (info == nullptr) {
      const std::vector<std::string_view> near = keysNear(name);
      throw UserError(fmt::format(
          "{}: the library has no such key; {}", inQuotes(name),
          near.empty()
              ? "vorin keys lists them all"
              : fmt::format("near it are {} (vorin keys lists them all)", fmt::join(near, ", "))));
    }
    text += keyText(*info);
  }
  if (names.empty()) {
    for (const KeyInfo& info : keyInfos()) {
      text += keyText(info);
    }
  }
  fmt::print("{}", text);
  return ExitStatus::success;
}

}  // namespace

Command addKeysCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "keys", "List the library's keys: value, kind, range, unit and meaning");
  const auto names = std::make_shared<std::vector<std::string>>();
  line->add_option("KEY", *names, "The keys to list (default: all)")->type_name("");
  return {line, [names] { return runKeys(*names); }};
}

}  // namespace vorin::toolkit
