// The log unit over C stdio: buffered, and closed by itself when the library is
// unloaded.
#include "params/log_file.hpp"

#include <cstdio>
#include <string>

#include "params/rewritten_file.hpp"
#include "params/text.hpp"
#include "toolbox/file_name.hpp"
#include "toolbox/instance.hpp"
#include "toolbox/nrerror.hpp"

namespace vorin::params {
namespace {

struct LogUnit {
  std::int32_t number = 100;
  File file;
};

LogUnit& theUnit() {
  static LogUnit unit;
  return stateOf(InstancePart::log, unit);
}

struct OpeningRow {
  std::string_view word;
  const char* mode;  ///< null: written anew, by openRewritten()
  bool atEnd;
};

// "r+" demands an existing file and cuts nothing off; "x" demands a missing one.
constexpr OpeningRow openings[] = {
    {"OLD", "r+", false},   {"UNKNOWN", nullptr, false}, {"NEW", "wx", false},
    {"APPEND", "r+", true}, {"", "r+", false},
};

File openedAs(const OpeningRow& opening, const std::string& name) {
  return opening.mode == nullptr ? openRewritten(name) : File(openFile(name, opening.mode));
}

const OpeningRow* openingFor(std::string_view statusWord) {
  for (const OpeningRow& row : openings) {
    if (EqualNoCase(statusWord, row.word)) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace

std::int32_t& logUnit() {
  return theUnit().number;
}

bool unitIsOpen(std::int32_t unit) {
  return unit == logUnit() && theUnit().file != nullptr;
}

void closeLogUnit() {
  theUnit().file.reset();
}

void FOPEN(std::int32_t unit, std::string_view name, std::string_view statusWord,
           std::int32_t& result) {
  result = 0;
  const OpeningRow* const opening = openingFor(statusWord);
  if (opening == nullptr) {
    // Required: the one message that goes to standard output. The library itself
    // passes only words of the table, so that a host never sees it.
    const std::string message = " FOPEN::unknown key=" + std::string(trimmed(statusWord)) + '\n';
    std::fputs(message.c_str(), stdout);
    return;
  }
  if (unit != logUnit()) {
    result = 1;
    return;
  }
  closeLogUnit();
  setRecordSink(&writeRecord);
  theUnit().file = openedAs(*opening, std::string(trimmed(name)));
  std::FILE* const file = theUnit().file.get();
  if (file == nullptr || (opening->atEnd && std::fseek(file, 0, SEEK_END) != 0)) {
    closeLogUnit();
    result = 1;
  }
}

void writeLine(std::string_view line) {
  if (std::FILE* const file = theUnit().file.get()) {
    std::fwrite(line.data(), 1, line.size(), file);
    std::fputc('\n', file);
  }
}

void writeRecord(std::string_view text) {
  if (theUnit().file != nullptr) {
    const std::string line = ' ' + std::string(text);
    writeLine(trimmed(line));
  }
}

void flushLogUnit() {
  if (std::FILE* const file = theUnit().file.get()) {
    std::fflush(file);
  }
}

}  // namespace vorin::params
