// Processes on POSIX systems.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#if defined(__linux__)
#include <sched.h>
#endif

#include "toolkit/system/process.hpp"

extern char** environ;

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// Starts the program; an error number where that fails.
int start(pid_t& child, const fs::path& program, const std::vector<std::string>& arguments,
          const fs::path& folder, const std::string& log) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addchdir_np(&files, folder.c_str());
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  constexpr mode_t ownerOnly = 0600;
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   ownerOnly);
  posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  std::vector<std::string> texts{program.string()};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> words;
  words.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    words.push_back(text.data());
  }
  words.push_back(nullptr);
  const fs::path whole = fs::absolute(program);  // the child is in another folder
  const int result =
      ::posix_spawn(&child, whole.c_str(), &files, &attributes, words.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return result;
}

}  // namespace

std::int64_t processId() {
  return ::getpid();
}

bool processExists(std::int64_t id) {
  return ::kill(static_cast<pid_t>(id), 0) == 0 || errno != ESRCH;
}

std::size_t processorCount() {
#if defined(__linux__)
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  if (::sched_getaffinity(0, sizeof allowed, &allowed) == 0) {
    return static_cast<std::size_t>(std::max(1, CPU_COUNT(&allowed)));
  }
#endif
  return std::max(1U, std::thread::hardware_concurrency());
}

std::string runProgram(const fs::path& program, const std::vector<std::string>& arguments,
                       const fs::path& folder, const std::string& log) {
  pid_t child = 0;
  if (const int error = start(child, program, arguments, folder, log); error != 0) {
    return std::strerror(error);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return std::strerror(errno);
    }
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? "" : "it failed";
}

}  // namespace vorin::toolkit
