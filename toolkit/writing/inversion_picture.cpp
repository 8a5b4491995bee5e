// What the picture of an inversion shows.
#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <utility>

#include "toolkit/measures/measures.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/writing/axes.hpp"
#include "toolkit/writing/gnuplot.hpp"
#include "toolkit/writing/picture.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// The log mean in the legend; where the axis counts in powers of ten, as the axis does.
std::string meanText(double mean, const AxisUnit& unit, Quantity quantity) {
  return quantity == Quantity::diffusion
             ? fmt::format("{} \xC3\x97 {}", significant(mean / unit.size, 3), unit.name)
             : quantityText(mean, quantity, UnitStyle::typeset);
}

std::string titleText(const Inversion& inversion, const ReportContext& context) {
  if (!context.picture.title.empty()) {
    return context.picture.title;
  }
  return fmt::format("{}: weight {}, standard error {}", shortName(context.name),
                     significant(inversion.weight, 3), significant(inversion.reachedError, 3)) +
         (succeeded(inversion) ? "" : fmt::format(" (unsuccessful, status {})", inversion.status));
}

}  // namespace

AmplitudeLabels amplitudeLabels(const ReportContext& context) {
  const std::string& own = context.picture.amplitudeLabel;
  if (!own.empty()) {
    return {own, own + " per decade"};
  }
  if (!context.amplitudeUnit.empty()) {
    return {fmt::format("amplitude ({})", context.amplitudeUnit),
            fmt::format("amplitude per decade ({})", context.amplitudeUnit)};
  }
  return {"amplitude (unit of the data)", "amplitude per decade"};
}

PictureContent pictureContent(const Inversion& inversion, const ReportContext& context) {
  const PictureAxes axes =
      pictureAxes(context.kernel, context.decay.time.back(), inversion.distribution.time.back());
  PictureContent content;
  content.title = titleText(inversion, context);
  content.time = context.decay.time;
  content.amplitude = context.decay.amplitude;
  content.fit = inversion.fit;
  content.distribution = inversion.distribution;
  content.truth = context.truth;
  if (context.band) {
    content.bandLower = context.band->lower;
    content.bandUpper = context.band->upper;
  }
  content.cutoffs = context.measures.cutoffs;
  content.style = context.picture;
  AmplitudeLabels labels = amplitudeLabels(context);
  content.amplitudeLabel = std::move(labels.amplitude);
  content.densityLabel = std::move(labels.density);
  content.timeUnit = axes.abscissa.size;
  content.gridUnit = axes.grid.size;
  content.timeAxis = axes.abscissaLabel;
  content.distributionAxis = axes.gridLabel;
  if (const double mean = logMean(inversion.distribution); !std::isnan(mean)) {
    content.logMean = meanText(mean, axes.grid, gridQuantity(context.kernel));
  }
  return content;
}

std::string drawPicture(const fs::path& picture, const PrivateFolder& scratch,
                        const Inversion& inversion, const ReportContext& context) {
  return drawPicture(picture, scratch, pictureContent(inversion, context));
}

}  // namespace vorin::toolkit
