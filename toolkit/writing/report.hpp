// The summary and the tables of an inversion, as text.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/report_measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/found.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/writing/picture_style.hpp"

namespace vorin::toolkit {

/// What a report says beside the numbers of the inversion itself.
struct ReportContext {
  std::string name;  ///< of the decay, as the user gave it
  const Decay& decay;
  Kernel kernel = Kernel::t2;
  std::optional<Distribution> truth{};  ///< to compare the distribution with
  std::optional<Band> band{};           ///< of a bootstrap
  std::string kernelFile{};             ///< the name of the matrix, for Kernel::matrix
  std::optional<double> phase{};        ///< by which complex data were turned back, in radians
  MeasureChoice measures{};             ///< which a report gives
  std::string amplitudeUnit{};          ///< of a calibration; empty: that of the data
  PictureStyle picture{};
  UnitStyle units = UnitStyle::plain;
  std::vector<FoundLine> found{};  ///< what the reader of the file tells
  /// What the user has set, by name, for the report of a sample.
  std::vector<std::pair<std::string, std::string>> settings{};
};

/// The largest magnitude of the decay over the noise, or nothing without a noise.
std::optional<double> signalToNoise(const Inversion& inversion, const Decay& decay);

/// An amplitude with its unit, if it has one: "12.3 pu".
std::string amplitudeText(double amplitude, std::string_view unit);

/// What a part between cutoffs is called: "below 3.00 ms", "3.00 ms to 33.0 ms", "above 33.0 ms".
std::string partName(double from, double to, Quantity quantity, UnitStyle style = UnitStyle::plain);

/// The summary for the terminal, lines ending in a newline.
std::string summary(const Inversion& inversion, const ReportContext& context);

/// The measures of the inversion that a report gives.
Measures measuresOf(const Inversion& inversion, const ReportContext& context);

/// The distribution as CSV: relaxation time in seconds, amplitude, with a band its lower and
/// upper limit, and the cumulative curve.
std::string distributionCsv(const Inversion& inversion, const ReportContext& context);

/// The fit as CSV: time in seconds, amplitude, fit, residual (amplitude - fit).
std::string fitCsv(const Inversion& inversion, const ReportContext& context);

}  // namespace vorin::toolkit
