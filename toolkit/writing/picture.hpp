// The picture of an inversion, drawn by gnuplot: the decay with its fit, the
// residual, and the distribution.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// Throws UserError, which names `option`, unless gnuplot can be run and the name
/// of `picture` ends in .png, .svg or .pdf.
void requireGnuplot(const std::filesystem::path& picture, std::string_view option);

/// What a picture shows. The decay has two samples at least and rising times, the
/// distribution two rising times above 0 at least; all numbers are finite.
struct PictureContent {
  std::string title;
  std::vector<double> time;
  std::vector<double> amplitude;
  std::vector<double> fit;  ///< empty: no panel of the residual either
  Distribution distribution;
  std::optional<Distribution> truth;
  std::vector<double> bandLower;  ///< of the distribution; none: no band
  std::vector<double> bandUpper;
  double timeUnit = 1.0;         ///< what the times of the decay are divided by
  double gridUnit = 1.0;         ///< what those of the distributions are divided by
  std::string timeAxis;          ///< "time (ms)"
  std::string distributionAxis;  ///< "relaxation time T2 (ms)"
  std::vector<double> cutoffs;   ///< marked by lines
  std::string amplitudeLabel;
  std::string densityLabel;
  PictureStyle style;
  std::string logMean;  ///< of the distribution, as text; none leaves out its mark
};

/// What the axes of amplitudes are called.
struct AmplitudeLabels {
  std::string amplitude;
  std::string density;  ///< per decade
};
AmplitudeLabels amplitudeLabels(const ReportContext& context);

/// The picture of an inversion.
PictureContent pictureContent(const Inversion& inversion, const ReportContext& context);

/// A part of a page, in parts of its width and height from the left and from below.
struct PicturePlace {
  double left = 0.0;
  double bottom = 0.0;
  double right = 1.0;
  double top = 1.0;
};

/// Writes the data of `content` to `folder`, and returns the commands that draw it to a place of
/// a page, which a multiplot is open for; sizes of text are those of the terminal. Without a title
/// the room for it is left to the page.
std::string picturePanels(const std::filesystem::path& folder, const PictureContent& content,
                          const PicturePlace& place);

/// Draws `content`, otherwise as below.
std::string drawPicture(const std::filesystem::path& picture, const PrivateFolder& scratch,
                        const PictureContent& content);

/// Draws the picture in `scratch` and returns
/// the file's content. The kind (.png, .svg, .pdf) is that of `picture`. Throws
/// UserError when gnuplot fails.
std::string drawPicture(const std::filesystem::path& picture, const PrivateFolder& scratch,
                        const Inversion& inversion, const ReportContext& context);

}  // namespace vorin::toolkit
