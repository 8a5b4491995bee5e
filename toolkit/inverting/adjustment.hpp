// What is settled before an inversion: a constant, an efficiency and a refocusing angle that are
// given or fitted, and the settings by which the choice of the weight sees the data.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

/// Decay and settings without a given or fitted constant and efficiency, with the matrix of
/// Kernel::t2Epg at its angle.
struct Adjustment {
  Adjusted solved;
  std::optional<double> offset;
  std::optional<double> efficiency;
  std::optional<double> flip;
};

/// Fits what `settings` asks for, or takes what it gives.
Adjustment adjust(const Decay& decay, const InversionSettings& settings);

/// What choose() sees: bins, not compressed rows, which have no order in time. At one weight the
/// distribution is the same for both.
InversionSettings uncompressed(const InversionSettings& settings);

/// The matrix by which `decay` is inverted, of whatever size: the given one, or that of the kernel,
/// of Kernel::t2Epg at its given or estimated angle.
std::shared_ptr<const std::vector<float>> kernelFor(const Decay& decay,
                                                    const InversionSettings& settings);

/// The kernel of `settings`, by name also where its own matrix has been given.
Kernel knownKernel(const InversionSettings& settings, const std::vector<double>& time);

}  // namespace vorin::toolkit
