#include "toolkit/inverting/adjustment.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "toolkit/inverting/choice.hpp"
#include "toolkit/inverting/flip_angle.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"

namespace vorin::toolkit {

namespace {

/// The kernel 1 - (1 + e) E of K = 1 - 2 E.
std::shared_ptr<const std::vector<float>> incomplete(const std::vector<float>& K,
                                                     double efficiency) {
  const double factor = 0.5 * (1.0 + efficiency);
  const double shift = 0.5 * (1.0 - efficiency);
  auto result = std::make_shared<std::vector<float>>(K.size());
  std::transform(K.begin(), K.end(), result->begin(), [&](float value) {
    return static_cast<float>(factor * static_cast<double>(value) + shift);
  });
  return result;
}

/// The refocusing angle that an inversion works with.
std::optional<double> flipFor(const Decay& decay, const InversionSettings& settings) {
  if (settings.kernel != Kernel::t2Epg) {
    return std::nullopt;
  }
  if (!settings.estimatesFlip || settings.matrix) {
    return settings.train.flip;
  }
  if (settings.flipAngles) {
    return FlipAngles::angle(settings.flipAngles->closest(decay.amplitude));
  }
  const FlipAngles angles(settings.train, decay.time, settings.grid);
  return FlipAngles::angle(angles.closest(decay.amplitude));
}

Adjusted applied(const Decay& decay, const InversionSettings& settings,
                 const std::optional<double>& offset, const std::optional<double>& efficiency,
                 const std::optional<double>& flip) {
  Adjusted result{decay, settings};
  if (flip && !settings.matrix) {
    result.settings.train.flip = *flip;
    result.settings.estimatesFlip = false;
    result.settings.matrix = settings.estimatesFlip && settings.flipAngles
                                 ? settings.flipAngles->matrix(FlipAngles::nearest(*flip))
                                 : std::make_shared<const std::vector<float>>(echoMatrix(
                                       result.settings.train, decay.time, settings.grid));
  }
  if (weightIsChosen(settings) && rejectsInLibrary(settings)) {
    result.settings.rejectBeyond.reset();  // the library's outliers are left out, as others are
  }
  if (offset) {
    for (double& amplitude : result.decay.amplitude) {
      amplitude -= *offset;
    }
  }
  if (efficiency) {
    if (!result.settings.matrix) {
      const std::vector<float> K = kernelMatrix(settings.kernel, decay.time, settings.grid);
      result.settings.matrix = incomplete(K, *efficiency);
    } else {
      result.settings.matrix = incomplete(*result.settings.matrix, *efficiency);
    }
  }
  return result;
}

}  // namespace

InversionSettings uncompressed(const InversionSettings& settings) {
  InversionSettings result = settings;
  result.compression.reset();
  if (rejectsInLibrary(settings)) {
    result.rejectBeyond.reset();  // which the library does on compressed rows
  }
  return result;
}

Adjustment adjust(const Decay& decay, const InversionSettings& settings) {
  std::optional<double> offset;
  std::optional<double> efficiency;
  if (settings.efficiency) {
    efficiency = settings.efficiency->value;
  }
  if (settings.baseline) {
    offset = settings.baseline->value;
  }
  const bool fitsOffset = settings.baseline && !offset;
  const std::optional<double> flip = flipFor(decay, settings);
  if (fitsOffset || (settings.efficiency && !efficiency)) {
    const InversionSettings plain =
        uncompressed(applied(decay, settings, std::nullopt, std::nullopt, flip).settings);
    setKeys(plain);
    const Problem whole(decay, plain);
    const ChoiceInput input{whole, decay.time, plain.grid, plain.kernel};
    if (fitsOffset) {
      offset = closestOffset(input) * whole.scale();
    } else {
      efficiency = std::clamp(closestEfficiency(input), 0.0, 1.0);
    }
  }
  return {applied(decay, settings, offset, efficiency, flip), offset, efficiency, flip};
}

std::shared_ptr<const std::vector<float>> kernelFor(const Decay& decay,
                                                    const InversionSettings& settings) {
  const Adjusted withAngle =
      applied(decay, settings, std::nullopt, std::nullopt, flipFor(decay, settings));
  if (withAngle.settings.matrix) {
    return withAngle.settings.matrix;
  }
  return std::make_shared<const std::vector<float>>(
      kernelMatrix(settings.kernel, decay.time, settings.grid));
}

Kernel knownKernel(const InversionSettings& settings, const std::vector<double>& time) {
  if (settings.kernel != Kernel::matrix || !(settings.grid.front() > 0.0)) {
    return settings.kernel;
  }
  for (const Kernel kernel : formulaKernels()) {
    constexpr float roundingLevel = 1e-6F;
    const std::vector<float> K = kernelMatrix(kernel, time, settings.grid);
    if (std::equal(K.begin(), K.end(), settings.matrix->begin(), settings.matrix->end(),
                   [](float a, float b) { return std::fabs(a - b) <= roundingLevel; })) {
      return kernel;
    }
  }
  return settings.kernel;
}

Adjusted adjusted(const Decay& decay, const InversionSettings& settings,
                  const Inversion& inversion) {
  Adjusted result =
      applied(decay, settings, inversion.offset, inversion.efficiency, inversion.flip);
  for (std::size_t i = 0; i < inversion.floor.size(); ++i) {
    result.decay.amplitude[i] -= inversion.floor[i];
  }
  result.settings.magnitude = false;
  return result;
}

}  // namespace vorin::toolkit
