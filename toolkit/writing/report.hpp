// The summary and the tables of an inversion, as text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"

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
};

/// The largest magnitude of the decay over the noise, or nothing without a noise.
std::optional<double> signalToNoise(const Inversion& inversion, const Decay& decay);

/// The summary for the terminal, lines ending in a newline.
std::string summary(const Inversion& inversion, const ReportContext& context);

/// The distribution as CSV: relaxation time in seconds, amplitude, and with a band its
/// lower and upper limit.
std::string distributionCsv(const Inversion& inversion, const ReportContext& context);

/// The fit as CSV: time in seconds, amplitude, fit, residual (amplitude - fit).
std::string fitCsv(const Inversion& inversion, const ReportContext& context);

}  // namespace vorin::toolkit
