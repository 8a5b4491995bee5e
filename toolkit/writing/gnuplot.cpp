#include "toolkit/writing/gnuplot.hpp"

#include <fmt/format.h>

#include <cstdlib>
#include <fstream>

#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

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

std::string runGnuplot(const fs::path& picture, const ScratchFolder& scratch,
                       std::string_view script, int width, int height) {
  {
    std::ofstream file("picture.gp");
    file << "set terminal " << gnuplotTerminal(picture, width, height)
         << "\nset output 'picture.out'\n"
         << script;
  }
  if (std::system("gnuplot picture.gp >picture.log 2>&1") != 0) {
    throw UserError(fmt::format("{}: gnuplot could not draw the picture: {}", picture.string(),
                                trimmed(contentOf(scratch.path() / "picture.log"))));
  }
  return contentOf(scratch.path() / "picture.out");
}

}  // namespace vorin::toolkit
