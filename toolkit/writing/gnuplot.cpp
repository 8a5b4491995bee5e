#include "toolkit/writing/gnuplot.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// Runs gnuplot on picture.gp in `folder`, with its messages in picture.log. 0 for success, an
/// error number where it could not be run.
int runIn(const fs::path& folder) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addchdir_np(&files, folder.c_str());
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  constexpr mode_t ownerOnly = 0600;
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "picture.log",
                                   O_WRONLY | O_CREAT | O_TRUNC, ownerOnly);
  posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  std::string program = "gnuplot";
  std::string script = "picture.gp";
  std::array<char*, 3> words{program.data(), script.data(), nullptr};
  pid_t child = 0;
  int result = ::posix_spawnp(&child, "gnuplot", &files, &attributes, words.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (result != 0) {
    return result;
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return errno;
    }
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : ECANCELED;
}

}  // namespace

std::string gnuplotTerminal(const fs::path& picture, int width, int height) {
  const std::string kind = picture.extension().string();
  if (kind == ".svg") {
    return fmt::format("svg size {},{} dynamic background 'white' font 'DejaVu Sans,15'", width,
                       height);
  }
  if (kind == ".pdf") {
    constexpr double perCentimetre = 50.0;
    return fmt::format("pdfcairo size {:.4g}cm,{:.4g}cm font 'DejaVu Sans,11'",
                       width / perCentimetre, height / perCentimetre);
  }
  return fmt::format("pngcairo size {},{} font 'DejaVu Sans,12'", width, height);
}

std::string scriptQuoted(std::string_view text) {
  std::string result = "'";
  for (char c : text) {
    if (static_cast<unsigned char>(c) < ' ') {
      c = '?';
    }
    result += c;
    if (c == '\'') {
      result += c;
    }
  }
  return result + "'";
}

std::string runGnuplot(const fs::path& picture, const PrivateFolder& scratch,
                       std::string_view script, int width, int height) {
  {
    std::ofstream file(scratch.path() / "picture.gp");
    file << "set terminal " << gnuplotTerminal(picture, width, height)
         << "\nset output 'picture.out'\n"
         << script;
  }
  if (const int status = runIn(scratch.path()); status != 0) {
    std::error_code error;
    const fs::path log = scratch.path() / "picture.log";
    throw UserError(fmt::format(
        "{}: gnuplot could not draw the picture: {}", picture.string(),
        fs::exists(log, error) ? std::string(trimmed(contentOf(log))) : std::strerror(status)));
  }
  return contentOf(scratch.path() / "picture.out");
}

}  // namespace vorin::toolkit
