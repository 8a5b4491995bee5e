// Processes on Windows.
#include <windows.h>

#include <algorithm>
#include <thread>

#include "toolbox/file_name.hpp"
#include "toolkit/system/process.hpp"
#include "toolkit/system/quoted_windows.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// A handle that is closed at the end; INVALID_HANDLE_VALUE and null are none.
class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (*this) {
      CloseHandle(handle_);
    }
  }
  HANDLE operator*() const { return handle_; }
  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr; }

 private:
  HANDLE handle_;
};

HANDLE opened(const wchar_t* name, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::string lastError() {
  return std::error_code(static_cast<int>(GetLastError()), std::system_category()).message();
}

}  // namespace

std::int64_t processId() {
  return GetCurrentProcessId();
}

bool processExists(std::int64_t id) {
  const Handle process(
      OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(id)));
  if (!process) {
    return GetLastError() != ERROR_INVALID_PARAMETER;  // which says that there is none
  }
  DWORD status = 0;
  return GetExitCodeProcess(*process, &status) == 0 || status == STILL_ACTIVE;
}

std::size_t processorCount() {
  DWORD_PTR allowed = 0;
  DWORD_PTR present = 0;
  if (GetProcessAffinityMask(GetCurrentProcess(), &allowed, &present) == 0 || allowed == 0) {
    return std::max(1U, std::thread::hardware_concurrency());
  }
  std::size_t count = 0;
  for (; allowed != 0; allowed &= allowed - 1) {
    ++count;
  }
  return count;
}

std::string runProgram(const fs::path& program, const std::vector<std::string>& arguments,
                       const fs::path& folder, const std::string& log) {
  const Handle input(opened(L"NUL", GENERIC_READ, OPEN_EXISTING));
  const Handle output(opened((folder / log).c_str(), GENERIC_WRITE, CREATE_ALWAYS));
  if (!input || !output) {
    return lastError();
  }
  std::wstring line = quotedWord(program.wstring());
  for (const std::string& word : arguments) {
    line += L' ' + quotedWord(wideName(word));
  }
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = *input;
  start.hStdOutput = *output;
  start.hStdError = *output;
  PROCESS_INFORMATION child{};
  if (CreateProcessW(fs::absolute(program).c_str(), line.data(), nullptr, nullptr, TRUE,
                     CREATE_NEW_PROCESS_GROUP | CREATE_NO_WINDOW, nullptr, folder.c_str(), &start,
                     &child) == 0) {
    return lastError();
  }
  const Handle process(child.hProcess);
  const Handle thread(child.hThread);
  DWORD status = 1;
  WaitForSingleObject(*process, INFINITE);
  GetExitCodeProcess(*process, &status);
  return status == 0 ? "" : "it failed";
}

}  // namespace vorin::toolkit
