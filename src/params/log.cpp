// Opening and closing the log under the name that FLOG gives, its header, and
// its lines.
#include "params/log.hpp"

#include <array>
#include <string>

#include "params/log_file.hpp"
#include "params/store.hpp"
#include "params/text.hpp"
#include "toolbox/instance.hpp"

namespace vorin::params {
namespace {

constexpr std::string_view rule = " ----------------------------";
constexpr std::size_t versionWidth = 35;
constexpr std::size_t bannerLineWidth = 64;
constexpr std::string_view banner = "relaxation-time distributions";
static_assert(versionWidth + banner.size() <= bannerLineWidth);

/// What a query of the text key `key` answers in a field of `width` characters.
std::string queryText(std::string_view key, std::size_t width) {
  std::string text(width, ' ');
  float value = 0;
  std::int32_t status = 0;
  setQuery('Q', key, text.data(), static_cast<std::int32_t>(width), value, status);
  return text;
}

void writeHeader() {
  constexpr std::size_t dateWidth = 35;
  const std::string versionLine = queryText("VERS", versionWidth) + std::string(banner);
  VorinLogText(rule);
  VorinLogText(versionLine);
  VorinLogText("date =" + DateTimeText(dateWidth));
  VorinLogText(rule);
}

}  // namespace

std::string logFileName() {
  constexpr std::size_t nameWidth = 80;
  const std::string field = queryText("FLOG", nameWidth);
  std::string name(trimmed(field));
  // Required: NONE doesn't silence the log but sends it to the default file.
  if (name.empty() || EqualNoCase(name, "NONE")) {
    return "Vorin.log";
  }
  constexpr std::size_t longestNameWithoutExtension = 3;
  if (name.size() <= longestNameWithoutExtension ||
      EqualNoCase(std::string_view(name).substr(name.size() - 4), ".LOG")) {
    return name;
  }
  // A name of 77 characters or more loses part of the extension.
  return (name + ".log").substr(0, nameWidth);
}

bool logIsPlaced() {
  const Instance* const instance = currentInstance();
  return instance != nullptr && instance->logFile.has_value();
}

void VorinLogOpen(bool open) {
  closeLogUnit();  // the log is per inversion: one left open ends here
  if (!open) {
    return;
  }
  const std::string name = logIsPlaced() ? *currentInstance()->logFile : logFileName();
  if (name.empty()) {
    return;
  }
  std::int32_t result = 0;
  FOPEN(logUnit(), name, "UNKNOWN", result);
  writeHeader();
  constexpr float headerOnlyLevel = 0.5F;
  if (queryReal("REPO") <= headerOnlyLevel) {
    closeLogUnit();
  }
}

void VorinLogLine(std::string_view module, std::string_view kind, std::string_view message) {
  if (!logIsOpen()) {
    return;
  }
  constexpr std::size_t lineWidth = 500;
  std::string line;
  line.reserve(lineWidth);
  for (const std::string_view piece :
       {module, std::string_view("::"), kind, std::string_view("::"), message}) {
    line += piece.substr(0, lineWidth - line.size());
  }
  VorinLogText(line);
}

void VorinLogText(std::string_view text) {
  writeLine(trimmed(text));
}

void flushLog() {
  flushLogUnit();
}

bool logIsOpen() {
  return unitIsOpen(logUnit());
}

}  // namespace vorin::params
