// Pictures by gnuplot: what its scripts have in common.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "toolkit/reading/files.hpp"
#include "toolkit/writing/picture_style.hpp"

namespace vorin::toolkit {

/// Throws UserError, which names `option`, unless gnuplot can be run.
void requireGnuplotInstalled(const std::filesystem::path& picture, std::string_view option);

/// What a picture is drawn on: a kind of file (.png, .svg, .pdf, by the name of `picture`) of a
/// size, `usual` unless the style has another. Texts grow and shrink with the size, and PNG has the
/// style's pixels to an inch, so that it is sharper at the same size.
class Canvas {
 public:
  Canvas(const std::filesystem::path& picture, const PictureStyle& style, PictureSize usual);

  /// For runGnuplot().
  std::string terminal() const;
  /// "font ',10'" for a text of another size than that of the labels.
  std::string font(double points) const;
  /// The same for a title; a long one is smaller, so that it does not reach past the edge.
  std::string titleFont(std::string_view title) const;

 private:
  std::string kind_;
  PictureSize size_;
  int dpi_;
  double textScale_;
};

/// The file name of `path` for a title: at most 34 characters, of a longer one both ends.
std::string shortName(const std::string& path);

/// `text` inside single quotes of a script, control characters as '?'.
std::string scriptQuoted(std::string_view text);

/// Runs `script` with `terminal` in `scratch`, and returns the content of the file it draws. Any
/// number of threads may call, each with a folder of its own. gnuplot is in a process group of its
/// own, so that Ctrl-C in a terminal does not end it half way. Throws UserError, which names
/// `picture`, when gnuplot fails.
std::string runGnuplot(const std::filesystem::path& picture, std::string_view terminal,
                       const PrivateFolder& scratch, std::string_view script);

}  // namespace vorin::toolkit
