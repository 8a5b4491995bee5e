// How pictures look where the user says so.
#pragma once

#include <optional>
#include <string>

namespace vorin::toolkit {

/// In pixels of 1/96 inch.
struct PictureSize {
  int width = 0;
  int height = 0;
};

struct PictureStyle {
  std::string title;           ///< empty: what the picture shows and of which data
  std::string amplitudeLabel;  ///< empty: "amplitude" and its unit
  std::optional<PictureSize> size;
  int dpi = 96;  ///< of a PNG
};

}  // namespace vorin::toolkit
