#include "picture_options.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "add_option.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

void PictureOptions::addTo(CLI::App& line, const std::string& usualSize, bool amplitudes) {
  addOption(line, "--title", title, "TEXT", "The title of pictures and reports");
  if (amplitudes) {
    addOption(line, "--amplitude-label", amplitudeLabel, "TEXT",
              "What the amplitudes in pictures are called");
  }
  addOption(line, "--size", size, "WIDTHxHEIGHT",
            fmt::format("The size of pictures in pixels of 1/96 inch (default {})", usualSize));
  addOption(line, "--dpi", dpi, "N", "Pixels to an inch of a PNG, 48 to 1200 (default 96)");
}

PictureStyle pictureStyle(const PictureOptions& options) {
  PictureStyle style;
  style.title = options.title;
  style.amplitudeLabel = options.amplitudeLabel;
  constexpr long long shortest = 300;
  constexpr long long longest = 5000;
  if (!options.size.empty()) {
    const std::size_t cross = std::min(options.size.find('x'), options.size.size());
    const auto width = parseInteger(options.size.substr(0, cross));
    const auto height =
        parseInteger(cross < options.size.size() ? options.size.substr(cross + 1) : "");
    if (!width || !height || std::min(*width, *height) < shortest ||
        std::max(*width, *height) > longest) {
      throw UserError(
          fmt::format("--size {}: two whole numbers from {} to {} are required, as "
                      "1000x1050",
                      inQuotes(options.size), shortest, longest));
    }
    style.size = PictureSize{static_cast<int>(*width), static_cast<int>(*height)};
  }
  if (!options.dpi.empty()) {
    constexpr long long coarsest = 48;
    constexpr long long finest = 1200;
    const auto dpi = parseInteger(options.dpi);
    if (!dpi || *dpi < coarsest || *dpi > finest) {
      throw UserError(fmt::format("--dpi {}: a whole number from {} to {} is required",
                                  inQuotes(options.dpi), coarsest, finest));
    }
    style.dpi = static_cast<int>(*dpi);
  }
  return style;
}

}  // namespace vorin::toolkit
