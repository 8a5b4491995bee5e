// The log, the only output of the library beside its results: one text file of lines
// module::kind::message, which each inversion rewrites from its start.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace vorin::params {

/// The name of the log file as FLOG gives it at this moment, of its first 80
/// characters.
std::string logFileName();

/// True where this thread's instance says itself where its log goes, if anywhere
/// (Instance::logFile). FLOG names no file then.
bool logIsPlaced();

/// True opens the log under the name that FLOG gives and writes the header;
/// false closes it. A file that can't be opened costs the lines, nothing else.
void VorinLogOpen(bool open);

/// Writes "module::kind::message", cut at 500 characters and without trailing
/// blanks, if the log is open. The pieces are joined without blanks.
void VorinLogLine(std::string_view module, std::string_view kind, std::string_view message);

/// The same with the message that `compose` returns, which is called only while the log is open.
template <std::invocable Compose>
void VorinLogLine(std::string_view module, std::string_view kind, const Compose& compose);

/// Writes `text` without trailing blanks as a line of its own, if the log is open.
void VorinLogText(std::string_view text);

/// Brings what has been written to the file. Lines are buffered; a routine that
/// returns to the host with the log still open calls this, so that a reader of the
/// file sees them.
void flushLog();

/// True while the log has a file behind it.
bool logIsOpen();

template <std::invocable Compose>
void VorinLogLine(std::string_view module, std::string_view kind, const Compose& compose) {
  if (logIsOpen()) {
    VorinLogLine(module, kind, std::string_view(std::string(compose())));
  }
}

}  // namespace vorin::params
