#include "toolkit/writing/gnuplot.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>

#include "toolkit/reading/text.hpp"
#include "toolkit/system/process.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
constexpr std::string_view howToInstall = "install it, or add its folder to PATH";
#else
constexpr std::string_view howToInstall = "install the package gnuplot-nox";
#endif

}  // namespace

void requireGnuplotInstalled(const fs::path& picture, std::string_view option) {
  if (findProgram("gnuplot").empty()) {
    throw UserError(fmt::format("{} {}: gnuplot, which draws the picture, is not installed; {}",
                                option, picture.string(), howToInstall));
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
  const std::string log = "picture.log";
  const std::string failure =
      runProgram(findProgram("gnuplot"), {"picture.gp"}, scratch.path(), log);
  if (!failure.empty()) {
    std::error_code error;
    const std::string messages =
        fs::exists(scratch.path() / log, error) ? contentOf(scratch.path() / log) : "";
    throw UserError(fmt::format("{}: gnuplot could not draw the picture: {}", picture.string(),
                                trimmed(messages).empty() ? failure : trimmed(messages)));
  }
  return contentOf(scratch.path() / "picture.out");
}

}  // namespace vorin::toolkit
