#include "toolkit/c/job.hpp"

#include <atomic>
#include <chrono>
#include <system_error>

#include "toolkit/c/boundary.hpp"
#include "toolkit/reading/files.hpp"

namespace vorin::toolkit::c {

namespace fs = std::filesystem;

LogFile::LogFile(const std::string& name) {
  if (name.empty()) {
    return;
  }
  OutputFiles files;
  target_ = files.announce(name, "log");
  std::error_code error;
  if (!fs::is_directory(target_.parent_path(), error)) {
    throw UserError(fmt::format("log {}: there is no folder {}; make it, or give another name",
                                name, target_.parent_path().string()));
  }
  static std::atomic<unsigned> count = 0;  // several jobs of a process may log in one folder
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  temporary_ = target_;
  temporary_ += fmt::format(".{:x}-{}.part", now, count++);
}

LogFile::~LogFile() {
  std::error_code error;
  if (!temporary_.empty()) {
    fs::remove(temporary_, error);
  }
}

void LogFile::commit() {
  if (temporary_.empty()) {
    return;
  }
  std::error_code error;
  fs::rename(temporary_, target_, error);
  if (error) {
    throw UserError(
        fmt::format("log {}: the file can't be written ({})", target_.string(), error.message()));
  }
}

}  // namespace vorin::toolkit::c
