// The options that say how pictures look, of every command that draws.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "toolkit/writing/picture_style.hpp"

namespace vorin::toolkit {

/// As the user wrote them.
struct PictureOptions {
  std::string title;
  std::string amplitudeLabel;
  std::string size;
  std::string dpi;

  /// Adds them with `usualSize`, as "1000x1050", in the help. Maps have no amplitude axis.
  void addTo(CLI::App& line, const std::string& usualSize, bool amplitudes);
};

/// Throws UserError for bad options.
PictureStyle pictureStyle(const PictureOptions& options);

}  // namespace vorin::toolkit
