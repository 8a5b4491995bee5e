// The command as a child process on Windows, for child.hpp.
#include <windows.h>

#include <array>
#include <string>

#include "support/child.hpp"
#include "toolbox/file_name.hpp"
#include "toolkit/system/quoted_windows.hpp"

namespace vorin::toolkit::test {

int runInWindows(const fs::path& folder, const std::string& program,
                 const std::vector<std::string>& arguments, const fs::path& channels) {
  std::wstring line = quotedWord(wideName(program));
  for (const std::string& word : arguments) {
    line += L' ' + quotedWord(wideName(word));
  }
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const auto opened = [&](const char* name, DWORD access, DWORD disposition) {
    return CreateFileW((channels / name).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inherited, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  };
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = opened("in", GENERIC_READ, OPEN_EXISTING);
  start.hStdOutput = opened("out", GENERIC_WRITE, CREATE_ALWAYS);
  start.hStdError = opened("err", GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION child{};
  DWORD status = static_cast<DWORD>(-1);
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                     folder.c_str(), &start, &child) != 0) {
    WaitForSingleObject(child.hProcess, INFINITE);
    GetExitCodeProcess(child.hProcess, &status);
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
  }
  for (const HANDLE handle : {start.hStdInput, start.hStdOutput, start.hStdError}) {
    CloseHandle(handle);
  }
  return static_cast<int>(status);
}

}  // namespace vorin::toolkit::test
