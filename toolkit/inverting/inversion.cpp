#include "toolkit/inverting/inversion.hpp"

#include <fmt/format.h>
#include <vorin.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/noise.hpp"
#include "toolkit/user_error.hpp"

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

std::vector<double> toDouble(const std::vector<float>& values, double factor) {
  std::vector<double> result(values.size());
  std::transform(values.begin(), values.end(), result.begin(),
                 [&](float value) { return static_cast<double>(value) * factor; });
  return result;
}

/// The noise of the data as this side knows it, and where from. The library's own
/// estimators tell theirs after the solve.
struct KnownNoise {
  std::optional<double> value;  ///< in the unit of the data
  NoiseOrigin origin = NoiseOrigin::none;
};

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
      constexpr float kNone = 1e-6F;  // rounding, of data of magnitude 1
      if (noise > kNone) {
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

/// True when the search failed because every fit misses the data by more than it wanted.
bool outOfReach(const Inversion& inversion) {
  return inversion.mode == WeightMode::noise && !succeeded(inversion) &&
         inversion.reachedError > inversion.wantedError;
}

/// The samples that this program leaves out. The farthest spoil the fit that the others are held
/// against, so the search goes on without those found until it finds no more.
std::vector<std::size_t> rejectedSamples(const Problem& whole, const InversionSettings& settings) {
  std::vector<std::size_t> rejected;
  if (!settings.rejectBeyond || rejectsInLibrary(settings)) {
    return rejected;
  }
  constexpr int kMostRounds = 50;
  std::vector<std::size_t> kept(whole.data().size());
  std::iota(kept.begin(), kept.end(), std::size_t{0});
  for (int round = 0; round < kMostRounds; ++round) {
    const Problem rest = whole.without(rejected);
    const std::vector<std::size_t> found = rest.outliers(*settings.rejectBeyond);
    if (found.empty() || kept.size() < 2 + found.size()) {
      break;
    }
    for (std::size_t index : found) {
      rejected.push_back(kept[index]);
    }
    std::sort(rejected.begin(), rejected.end());
    for (auto index = found.rbegin(); index != found.rend(); ++index) {
      kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(*index));
    }
  }
  return rejected;
}

/// One inversion with the settings of the store, in the unit of the data.
Inversion solve(const Problem& problem, const InversionSettings& settings) {
  const double scale = problem.scale();
  const Solution solution = problem.solve(problem.data());
  Inversion result;
  result.status = solution.status;
  result.distribution = {settings.grid, toDouble(solution.F, scale)};
  result.fit = toDouble(solution.FIT, scale);
  result.mode = currentMode();
  result.weight = static_cast<double>(queryNumber("CWEI"));
  result.reachedError = static_cast<double>(queryNumber("CSE")) * scale;
  result.rejected = solution.rejected;
  result.fitError =
      rootMeanSquareDifference(problem.data(), solution.FIT, solution.rejected) * scale;
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
  return result;
}

UserError noNoise() {
  return UserError(
      "the data show no noise to aim the fit at (too few samples, or computed data); give the "
      "noise by --noise SIGMA or a weight by --weight W");
}

}  // namespace

void requireUsable(const Decay& decay, const InversionSettings& settings) {
  const double largest = largestMagnitude(decay.amplitude);
  if (settings.noise && !(*settings.noise < largest)) {
    throw UserError(fmt::format(
        "--noise {:g} is no less than the largest amplitude, {:g}; give it in the unit of the data",
        *settings.noise, largest));
  }
  if (!settings.noise && settings.noiseSource == NoiseSource::quadrature &&
      !decay.quadratureNoise) {
    throw UserError(
        "--noise quadrature: the data have no imaginary channel; give data with one, or another "
        "noise (--noise SIGMA or difference)");
  }
}

void requireNoise(const Decay& decay, const InversionSettings& settings) {
  setKeys(settings);
  if (!settings.noise && settings.noiseSource == NoiseSource::robust && needsNoise(settings) &&
      !differenceNoise(decay)) {
    throw noNoise();
  }
}

Inversion invert(const Decay& decay, const InversionSettings& settings) {
  requireUsable(decay, settings);
  const Problem whole(decay, settings);
  const std::vector<std::size_t> rejected = rejectedSamples(whole, settings);
  std::optional<Problem> rest;
  if (!rejected.empty()) {
    rest = whole.without(rejected);
  }
  const Problem& problem = rest ? *rest : whole;
  const double scale = problem.scale();
  const KnownNoise noise = knownNoise(decay, problem, settings);
  setKeys(settings);
  if (noise.value) {
    setNoise(*noise.value / scale);
  } else if (needsNoise(settings)) {
    throw noNoise();
  }

  Inversion result = solve(problem, settings);
  result.noise = noise.value.value_or(0.0);
  result.noiseOrigin = noise.value ? noise.origin : NoiseOrigin::none;
  if (const float used = queryNumber("CSIG");
      result.mode == WeightMode::noise && used != queryNumber("SIG")) {
    result.noise = static_cast<double>(used) * scale;
    result.noiseOrigin = estimateOrigin(settings);
  }
  if (noise.value && result.noiseOrigin == noise.origin && outOfReach(result)) {
    const double closest = result.reachedError;
    const Inversion first = std::move(result);
    setText("NALG", "NONE");
    setNoise(closest / scale);
    result = solve(problem, settings);
    result.noise = first.noise;
    result.noiseOrigin = first.noiseOrigin;
    result.relaxedTarget = closest;
  }
  result.soughtOutliers = settings.rejectBeyond.has_value();
  if (!rejected.empty()) {
    result.rejected = rejected;
    result.fit = whole.fitOf(result.distribution.amplitude);
  }
  return result;
}

bool succeeded(const Inversion& inversion) {
  return inversion.status < 1 ||
         (inversion.status == VORIN_CORNER_MODE && inversion.mode == WeightMode::corner);
}

std::string_view originText(NoiseOrigin origin) {
  switch (origin) {
    case NoiseOrigin::given:
      return "given";
    case NoiseOrigin::differences:
      return "from differences of neighbouring samples";
    case NoiseOrigin::quadrature:
      return "of the imaginary channel";
    case NoiseOrigin::libraryDifference:
      return "from the library's second differences";
    case NoiseOrigin::libraryFit:
      return "from the library's fit without a penalty";
    case NoiseOrigin::libraryRidge:
      return "from the library's ridge fit";
    case NoiseOrigin::libraryScan:
      return "from the library's scan of weights";
    case NoiseOrigin::library:
      return "estimated by the library";
    case NoiseOrigin::none:
      break;
  }
  return "";
}

std::string statusText(const Inversion& inversion) {
  if (succeeded(inversion)) {
    return inversion.status == VORIN_CORNER_MODE
               ? "done; the corner search reports no success or failure"
               : "success";
  }
  if (outOfReach(inversion)) {
    return "no weight fits this closely; leave out first samples that lie off the curve (--skip N) "
           "or give a larger noise (--noise)";
  }
  if (inversion.mode == WeightMode::noise && inversion.reachedError < inversion.wantedError) {
    return "every fit is closer to the data than the noise asks for; give a smaller one (--noise)";
  }
  switch (inversion.status) {
    case VORIN_SOLVER_FAILED:
      return "the solver ran out of passes; give a larger weight (--weight) or more passes (--set "
             "MAXI=500)";
    case VORIN_SEARCH_EXHAUSTED:
      return "the weight search ran out of iterations; try more of them (--set WITE=200) or a "
             "smaller tolerance of the solver (--set TOL=1e-14)";
    case VORIN_LOWER_WEIGHT_LIMIT:
    case VORIN_UPPER_WEIGHT_LIMIT:
      return "the search stopped at a limit of the weight; give another noise (--noise) or a "
             "weight (--weight)";
    default:
      return fmt::format("the library answers the unknown status {}", inversion.status);
  }
}

}  // namespace vorin::toolkit
