#include "toolkit/reading/formats/helper_program.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <link.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

#include "toolkit/reading/containers/stream.hpp"

extern char** environ;

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// A descriptor that is closed at the end.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }

  void close() {
    if (number_ >= 0) {
      ::close(number_);
      number_ = -1;
    }
  }
  int operator*() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

 private:
  int number_ = -1;
};

/// The folder of the program or library that holds this code.
fs::path ownFolder() {
  Dl_info info{};
  link_map* map = nullptr;
  std::error_code error;
  const bool known = dladdr1(reinterpret_cast<const void*>(&askHelper), &info,
                             reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) != 0;
  // The main program has no name in the map.
  const bool isLibrary = known && map != nullptr && map->l_name != nullptr && *map->l_name != '\0';
  const fs::path file =
      isLibrary ? fs::canonical(map->l_name, error) : fs::read_symlink("/proc/self/exe", error);
  return error ? fs::path() : file.parent_path();
}

/// The program, or nothing.
fs::path helperPath() {
  std::error_code error;
  if (const char* const told = std::getenv("VORIN_CONTAINERS")) {
    return fs::is_regular_file(told, error) ? fs::path(told) : fs::path();
  }
  const fs::path folder = ownFolder();
  if (folder.empty()) {
    return {};
  }
  // Beside; in a wheel; in an installed tree from bin/ and lib/, and from lib/TRIPLET/.
  constexpr std::array<const char*, 4> places{".", "runtime", "../libexec/vorin",
                                              "../../libexec/vorin"};
  for (const char* place : places) {
    fs::path path = folder / place / "vorin-containers";
    if (fs::is_regular_file(path, error)) {
      return path;
    }
  }
  return {};
}

/// `content` as a file that exists in memory alone.
int fileInMemory(std::string_view content) {
  const int number = memfd_create("vorin", MFD_CLOEXEC);
  while (number >= 0 && !content.empty()) {
    const ssize_t written = ::write(number, content.data(), content.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      ::close(number);
      return -1;
    }
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  if (number >= 0) {
    lseek(number, 0, SEEK_SET);
  }
  return number;
}

/// Starts `path` with the two descriptors; 0 where that fails.
pid_t start(const fs::path& path, std::vector<std::string> words, int input, int output) {
  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  // The caller may ignore or block SIGPIPE; the program must end by it when its answer's pipe is
  // closed.
  sigset_t none{};
  sigset_t pipe{};
  sigemptyset(&none);
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &pipe);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  std::string name = path.string();
  std::vector<char*> arguments{name.data()};
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawn(&child, name.c_str(), &actions, &attributes, arguments.data(), environ) != 0) {
    child = 0;
  }
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return child;
}

/// All that comes from `input`, up to a size that no answer has.
std::string readAll(int input) {
  constexpr std::size_t mostBytes =
      2 * containers::mostNumbers * sizeof(double) + std::size_t{100'000'000};
  std::string all;
  std::array<char, 65536> block{};
  while (all.size() < mostBytes) {
    const ssize_t count = ::read(input, block.data(), block.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      break;
    }
    all.append(block.data(), static_cast<std::size_t>(count));
  }
  return all;
}

/// Waits for `child` and returns what waitpid tells of it.
int statusAtEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

HelperAnswer askHelper(std::string_view content, const std::string& kind,
                       const std::string& wanted) {
  HelperAnswer answer;
  const fs::path path = helperPath();
  if (path.empty()) {
    return answer;
  }
  answer.found = true;
  const Descriptor input(fileInMemory(content));
  std::array<int, 2> ends{-1, -1};
  if (!input || pipe2(ends.data(), O_CLOEXEC) != 0) {
    return answer;
  }
  Descriptor from(ends[0]);
  Descriptor to(ends[1]);
  const pid_t child = start(path, {kind, wanted}, *input, *to);
  if (child == 0) {
    return answer;
  }
  to.close();
  answer.output = readAll(*from);
  from.close();
  statusAtEnd(child);
  // The program begins its answer before it opens the file; the loader ends with 127 without one.
  answer.loaded = !answer.output.empty();
  return answer;
}

UserError withoutHelper(std::string_view name, std::string_view what, bool found) {
  return UserError(fmt::format(
      "{}: this is {}; vorin-containers, the program of Vorin that reads it, {} the Debian "
      "packages libhdf5-103-1, libhdf5-hl-100 and libmatio11",
      name, what, found ? "can't be run; install" : "is not installed; install it, with"));
}

HelperProcess::HelperProcess(std::vector<std::string> arguments, int input) {
  const fs::path path = helperPath();
  found_ = !path.empty();
  std::array<int, 2> answer{-1, -1};
  std::array<int, 2> question{-1, -1};
  // A socket in place of a pipe, which send() can write to without a signal.
  if (!found_ || pipe2(answer.data(), O_CLOEXEC) != 0) {
    return;
  }
  Descriptor to(answer[1]);
  output_ = answer[0];
  if (input < 0 && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, question.data()) != 0) {
    return;
  }
  const Descriptor from(question[1]);
  input_ = question[0];
  child_ = start(path, std::move(arguments), input < 0 ? *from : input, *to);
}

HelperProcess::~HelperProcess() {
  if (child_ > 0) {
    ::kill(child_, SIGKILL);
    statusAtEnd(child_);
  }
  for (const int number : {input_, output_}) {
    if (number >= 0) {
      ::close(number);
    }
  }
}

bool HelperProcess::wasBegun() {
  constexpr int loaderFailed = 127;
  const int status = statusAtEnd(std::exchange(child_, 0));
  return !(WIFEXITED(status) && WEXITSTATUS(status) == loaderFailed);
}

bool HelperProcess::send(const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t sent = ::send(input_, bytes, count, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) {
      continue;
    }
    if (sent <= 0) {
      return false;
    }
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  return true;
}

void HelperProcess::endInput() {
  ::shutdown(input_, SHUT_WR);
}

std::size_t HelperProcess::receive(char* bytes, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got = ::read(output_, bytes + done, count - done);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got <= 0) {
      break;
    }
    done += static_cast<std::size_t>(got);
  }
  return done;
}

}  // namespace vorin::toolkit
