#include "toolkit/writing/gnuplot.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
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

void requireGnuplotInstalled(const fs::path& picture, std::string_view option) {
  if (std::system("command -v gnuplot >/dev/null 2>&1") != 0) {
    throw UserError(
        fmt::format("{} {}: gnuplot, which draws the picture, is not installed; install the "
                    "package gnuplot-nox",
                    option, picture.string()));
  }
}

std::string shortName(const std::string& path) {
  constexpr std::size_t longest = 34;
  constexpr std::size_t head = 14;
  std::string name = fs::path(path).filename().string();
  if (name.size() <= longest) {
    return name;
  }
  // Not within a character of several bytes.
  const auto inside = [&](std::size_t at) {
    constexpr unsigned char mask = 0xC0;
    constexpr unsigned char following = 0x80;
    return at < name.size() && (static_cast<unsigned char>(name[at]) & mask) == following;
  };
  std::size_t first = head;
  std::size_t last = name.size() - (longest - head - 2);
  for (; inside(first); --first) {
  }
  for (; inside(last); ++last) {
  }
  return name.substr(0, first) + ".." + name.substr(last);
}

Canvas::Canvas(const fs::path& picture, const PictureStyle& style, PictureSize usual)
    : kind_(picture.extension().string()),
      size_(style.size.value_or(usual)),
      dpi_(style.dpi),
      textScale_(std::min(static_cast<double>(size_.width) / usual.width,
                          static_cast<double>(size_.height) / usual.height)) {}

std::string Canvas::terminal() const {
  if (kind_ == ".svg") {
    // Its fontscale leaves margins as they are, and texts outside of them are not drawn.
    constexpr double svgSize = 15.0;
    return fmt::format("svg size {},{} dynamic background 'white' font 'DejaVu Sans,{:.4g}'",
                       size_.width, size_.height, svgSize * textScale_);
  }
  if (kind_ == ".pdf") {
    constexpr double perCentimetre = 50.0;
    return fmt::format("pdfcairo size {:.4g}cm,{:.4g}cm font 'DejaVu Sans,11' fontscale {:.4g}",
                       size_.width / perCentimetre, size_.height / perCentimetre, textScale_);
  }
  constexpr double usual = 96.0;
  const double scale = dpi_ / usual;
  return fmt::format(
      "pngcairo size {:.0f},{:.0f} font 'DejaVu Sans,12' fontscale {:.4g} linewidth {:.4g} "
      "pointscale {:.4g}",
      size_.width * scale, size_.height * scale, textScale_ * scale, scale, scale);
}

std::string Canvas::font(double points) const {
  // Other terminals scale the sizes of a script themselves.
  return fmt::format("font ',{:.3g}'", points * (kind_ == ".svg" ? textScale_ : 1.0));
}

std::string Canvas::titleFont(std::string_view title) const {
  constexpr double usual = 15.0;
  constexpr double smallest = 4.0;
  constexpr double widthOfLetter = 0.9;  // pixels for each point of the size, on average
  const double letters = std::max(1.0, static_cast<double>(title.size()));
  return font(std::clamp(size_.width / textScale_ / (letters * widthOfLetter), smallest, usual));
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

namespace {

/// `script` without characters that the font of the pictures may not have, which the PDF terminal
/// would draw as boxes of the size of the page. U+FFFD takes their place.
std::string withKnownLetters(std::string_view script) {
  std::string result;
  for (std::size_t at = 0; at < script.size();) {
    std::size_t end = at + 1;
    while (end < script.size() && (static_cast<unsigned char>(script[end]) & 0xC0U) == 0x80U) {
      ++end;
    }
    const std::string_view letter = script.substr(at, end - at);
    // As bytes of UTF-8: up to Arabic (U+06FF), and from U+1E00 to U+27BF Latin with marks, Greek,
    // punctuation, powers, arrows, mathematics and symbols.
    const bool known = letter.size() == 1 || (letter.size() == 2 && letter < "\xDC") ||
                       (letter.size() == 3 && letter >= "\xE1\xB8\x80" && letter < "\xE2\x9F");
    result += known ? letter : "\xEF\xBF\xBD";
    at = end;
  }
  return result;
}

}  // namespace

std::string runGnuplot(const fs::path& picture, std::string_view terminal,
                       const PrivateFolder& scratch, std::string_view script) {
  {
    std::ofstream file(scratch.path() / "picture.gp");
    file << "set terminal " << terminal << "\nset output 'picture.out'\n"
         << (terminal.starts_with("pdf") ? withKnownLetters(script) : std::string(script));
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
