#include "toolkit/inverting/classic.hpp"

#include <vorin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/noise.hpp"

namespace vorin::toolkit {

namespace {

/// Without the elements whose numbers, rising, are `left`.
double rootMeanSquareDifference(const std::vector<float>& a, const std::vector<float>& b,
                                const std::vector<std::size_t>& left) {
  double sum = 0.0;
  auto next = left.begin();
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (next != left.end() && *next == i) {
      ++next;
      continue;
    }
    const double difference = static_cast<double>(a[i]) - static_cast<double>(b[i]);
    sum += difference * difference;
  }
  return std::sqrt(sum / static_cast<double>(a.size() - left.size()));
}

void toDouble(const std::vector<float>& values, double factor, std::vector<double>& result) {
  result.resize(values.size());
  std::transform(values.begin(), values.end(), result.begin(),
                 [&](float value) { return static_cast<double>(value) * factor; });
}

/// As new, but for the memory of its arrays.
void clearInversion(Inversion& inversion) {
  Inversion fresh;
  fresh.distribution = std::move(inversion.distribution);
  fresh.distribution.amplitude.clear();
  fresh.fit = std::move(inversion.fit);
  fresh.fit.clear();
  inversion = std::move(fresh);
}

}  // namespace

KnownNoise knownNoise(const Decay& decay, const Problem& problem,
                      const InversionSettings& settings) {
  if (settings.noise) {
    return {settings.noise, NoiseOrigin::given};
  }
  std::optional<double> value;
  switch (settings.noiseSource) {
    case NoiseSource::quadrature:
      return {decay.quadratureNoise, NoiseOrigin::quadrature};
    case NoiseSource::difference: {
      // The compressed driver takes the same measure itself; the plain one reads it from CSI2.
      const std::vector<float>& Y = problem.data();
      const float noise =
          VorinSEDiff(VORIN_SEDIFF_SECOND, static_cast<std::int32_t>(Y.size()), Y.data());
      constexpr float noSignalLevel = 1e-6F;  // rounding, of data of magnitude 1
      if (noise > noSignalLevel) {
        value = static_cast<double>(noise) * problem.scale();
      }
      return {value, NoiseOrigin::libraryDifference};
    }
    case NoiseSource::robust:
      value = differenceNoise(decay);
      return {value, value ? NoiseOrigin::differences : NoiseOrigin::none};
    case NoiseSource::fit:
    case NoiseSource::ridge:
    case NoiseSource::scan:
      break;
  }
  return {};
}

bool outOfReach(const Inversion& inversion) {
  return inversion.mode == WeightMode::noise && !succeeded(inversion) &&
         inversion.reachedError > inversion.wantedError;
}

Inversion solveByKeys(const Problem& problem, const InversionSettings& settings) {
  Inversion result;
  solveByKeys(problem, settings, Fit::formed, result);
  return result;
}

void solveByKeys(const Problem& problem, const InversionSettings& settings, Fit fit,
                 Inversion& result) {
  const double scale = problem.scale();
  const Solution solution =
      fit == Fit::formed ? problem.solve(problem.data()) : problem.solveWithoutFit(problem.data());
  clearInversion(result);
  result.status = solution.status;
  result.distribution.time = settings.grid;
  toDouble(solution.F, scale, result.distribution.amplitude);
  result.mode = currentMode();
  result.weight = static_cast<double>(queryNumber("CWEI"));
  result.reachedError = static_cast<double>(queryNumber("CSE")) * scale;
  result.rejected = solution.rejected;
  if (fit == Fit::formed) {
    toDouble(solution.FIT, scale, result.fit);
    result.fitError =
        rootMeanSquareDifference(problem.data(), solution.FIT, solution.rejected) * scale;
  }
  result.weightSteps = static_cast<int>(std::lround(queryNumber("CWIT")));
  if (queryNumber("BRDA") != 3.0F) {  // the quadratic program has no passes
    result.passes = static_cast<int>(std::lround(queryNumber("CITE")));
  }
  if (result.mode == WeightMode::noise) {
    result.wantedError = static_cast<double>(queryNumber("DSE")) * scale;
  }
  if (result.mode == WeightMode::corner) {
    result.cornerWeight = result.weight / cornerFactor();
  }
}

Inversion searchWeight(const Problem& problem, const KnownNoise& noise,
                       const InversionSettings& settings) {
  Inversion result;
  searchWeight(problem, noise, settings, Fit::formed, result);
  return result;
}

void searchWeight(const Problem& problem, const KnownNoise& noise,
                  const InversionSettings& settings, Fit fit, Inversion& result) {
  const double scale = problem.scale();
  setKeys(settings);
  if (noise.value) {
    setNoise(*noise.value / scale);
  } else if (needsNoise(settings)) {
    throw NoNoise();
  }
  solveByKeys(problem, settings, fit, result);
  result.noise = noise.value.value_or(0.0);
  result.noiseOrigin = noise.value ? noise.origin : NoiseOrigin::none;
  if (const float used = queryNumber("CSIG");
      result.mode == WeightMode::noise && used != queryNumber("SIG")) {
    result.noise = static_cast<double>(used) * scale;
    result.noiseOrigin = estimateOrigin(settings);
  }
  if (noise.value && result.noiseOrigin == noise.origin && outOfReach(result)) {
    const double closest = result.reachedError;
    const KnownNoise first{result.noise, result.noiseOrigin};
    setText("NALG", "NONE");
    setNoise(closest / scale);
    solveByKeys(problem, settings, fit, result);
    result.noise = *first.value;
    result.noiseOrigin = first.origin;
    result.relaxedTarget = closest;
  }
  result.lastColumn = settings.grid.size() - 1;
}

Inversion invertClassic(const Decay& decay, const Problem& problem,
                        const InversionSettings& settings) {
  return searchWeight(problem, knownNoise(decay, problem, settings), settings);
}

}  // namespace vorin::toolkit
