#include "toolkit/inverting/inversion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "toolkit/inverting/adjustment.hpp"
#include "toolkit/inverting/choice.hpp"
#include "toolkit/inverting/classic.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/late_findings.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/magnitude_floor.hpp"
#include "toolkit/inverting/outliers.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/model/noise.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

NoNoise::NoNoise()
    : UserError(
          "the data show no noise to aim the fit at (too few samples, or computed data); give the "
          "noise by --noise SIGMA or a weight by --weight W") {}

void requireUsable(const Decay& decay, const InversionSettings& settings) {
  const double largest = largestMagnitude(decay.amplitude);
  if (settings.noise && !(*settings.noise < largest)) {
    throw UserError(fmt::format(
        "--noise {:g} is no less than the largest amplitude, {:g}; give it in the unit of the data",
        *settings.noise, largest));
  }
  const EchoTrain plain;
  const bool hasTrain = settings.estimatesFlip || settings.train.flip != plain.flip ||
                        settings.train.t1 != plain.t1 || settings.train.spacing;
  if (settings.kernel != Kernel::t2Epg && hasTrain) {
    throw UserError(fmt::format(
        "--flip, --t1 and --echo-spacing with --kernel {}: they are those of --kernel t2-epg",
        kernelName(settings.kernel)));
  }
  if (settings.kernel == Kernel::t2Epg && !settings.matrix && !decay.time.empty()) {
    echoNumbers(settings.train, decay.time);
  }
  if (settings.magnitude && settings.kernel == Kernel::t1Inversion) {
    throw UserError(
        "--rician with --kernel t1-inversion: magnitudes have lost the signs of an inversion "
        "recovery; give the signs back, and leave --rician out");
  }
  const auto negative = std::find_if(decay.amplitude.begin(), decay.amplitude.end(),
                                     [](double value) { return value < 0.0; });
  if (settings.magnitude && negative != decay.amplitude.end()) {
    throw UserError(fmt::format(
        "--rician: sample {} is {:g}, but magnitudes are 0 or above; leave --rician out for data "
        "with signs",
        negative - decay.amplitude.begin() + 1, *negative));
  }
  if (!settings.noise && settings.noiseSource == NoiseSource::quadrature &&
      !decay.quadratureNoise) {
    throw UserError(
        "--noise quadrature: the data have no imaginary channel; give data with one, or another "
        "noise (--noise SIGMA or difference)");
  }
}

void requireNoise(const Decay& decay, const InversionSettings& settings) {
  if (settings.noise || settings.noiseSource != NoiseSource::robust) {
    return;
  }
  const LibraryJob job;
  setKeys(settings);
  if ((weightIsChosen(settings) || needsNoise(settings)) && !differenceNoise(decay)) {
    throw NoNoise();
  }
}

namespace {

/// The samples that the library takes for outliers in a search of its own.
std::vector<std::size_t> rejectedByLibrary(const Decay& decay, const InversionSettings& solved,
                                           const InversionSettings& original) {
  InversionSettings settings = solved;
  settings.rejectBeyond = original.rejectBeyond;
  const Problem problem(decay, settings);
  return invertClassic(decay, problem, settings).rejected;
}

/// One solve at the weight that choose() has found.
/// `scale` is the unit of the problem that it worked on, before first samples were left out.
Inversion solveChosen(const Problem& problem, const Choice& choice, double scale,
                      const KnownNoise& noise, const InversionSettings& settings) {
  setFixedWeight(settings, choice.weight);
  const Problem within = problem.within(choice.support.first, choice.support.last);
  Inversion result = solveByKeys(within, settings);
  if (!succeeded(result) && queryNumber("BRDA") != 3.0F) {
    // The iteration is out of passes; the quadratic program needs none.
    const float route = queryNumber("BRDA");
    setNumber("BRDA", 3.0F);
    result = solveByKeys(within, settings);
    setNumber("BRDA", route);
  }
  result.mode = WeightMode::automatic;
  result.weightSteps = choice.solves;
  result.noise = choice.noise * scale;
  result.noiseOrigin = noise.value ? noise.origin : NoiseOrigin::residual;
  result.noiseSpread = noise.value ? 0.0 : choice.noiseSpread;
  result.closestError = choice.closest * scale;
  result.firstColumn = choice.support.first;
  result.lastColumn = choice.support.last;
  return result;
}

std::vector<double> timesWithout(const std::vector<double>& time,
                                 const std::vector<std::size_t>& rejected) {
  return withoutRows(time, time.size(), rejected);
}

/// The numbers among all samples of those that have the numbers `kept` among the samples that are
/// not `rejected`. Both rise.
std::vector<std::size_t> numbersAmongAll(const std::vector<std::size_t>& kept,
                                         const std::vector<std::size_t>& rejected) {
  std::vector<std::size_t> result;
  for (std::size_t number : kept) {
    for (const std::size_t gone : rejected) {
      number += gone <= number ? 1 : 0;
    }
    result.push_back(number);
  }
  return result;
}

/// What the data decide, where they are asked; none where they show no noise.
std::optional<Choice> choiceFor(const Adjustment& adjustment, const Problem& problem,
                                const std::vector<std::size_t>& rejected, const KnownNoise& noise) {
  const auto& [decay, settings] = adjustment.solved;
  if (settings.method != Method::automatic || rejectsInLibrary(settings)) {
    return std::nullopt;
  }
  const InversionSettings plain = uncompressed(settings);
  setKeys(plain);
  const Problem bins = settings.compression ? Problem(decay, plain).without(rejected) : problem;
  const std::vector<double> time = timesWithout(decay.time, rejected);
  ChoiceInput input{bins, time, settings.grid, knownKernel(settings, decay.time)};
  input.offsetKnown = adjustment.offset || adjustment.efficiency;
  input.weightWanted = weightIsChosen(settings);
  if (noise.value && noise.origin != NoiseOrigin::differences) {
    input.noise = *noise.value / problem.scale();
  }
  std::optional<Choice> choice = choose(input);
  setKeys(settings);
  return choice;
}

/// Tells the noise of the closest fit where the inversion needed none.
void tellResidualNoise(Inversion& inversion, const Choice& choice, double scale) {
  const bool byDifferences = inversion.noiseOrigin == NoiseOrigin::differences ||
                             inversion.noiseOrigin == NoiseOrigin::none;
  constexpr double toldSpread = 0.3;  // by six samples more than the fit has degrees of freedom
  const bool known = choice.residualNoise > 0.0 && choice.noiseSpread < toldSpread;
  if (known && byDifferences && inversion.mode != WeightMode::noise) {
    inversion.noise = choice.residualNoise * scale;
    inversion.noiseOrigin = NoiseOrigin::residual;
    inversion.noiseSpread = choice.noiseSpread;
  }
}

/// An inversion of data as they are.
Inversion invertSignal(const Decay& original, const InversionSettings& originalSettings) {
  const LibraryJob job(originalSettings.logFile);
  requireUsable(original, originalSettings);
  const bool chosen = weightIsChosen(originalSettings);
  const Adjustment adjustment = adjust(original, originalSettings);
  const Decay& decay = adjustment.solved.decay;
  const InversionSettings& settings = adjustment.solved.settings;
  const Problem whole(decay, settings);
  std::vector<std::size_t> rejected;
  if (chosen && rejectsInLibrary(originalSettings)) {
    rejected = rejectedByLibrary(decay, settings, originalSettings);
  } else if (settings.rejectBeyond && !rejectsInLibrary(settings)) {
    rejected = outliers(whole, *settings.rejectBeyond);
  }
  std::optional<Problem> problem(whole.without(rejected));
  const KnownNoise noise = knownNoise(decay, *problem, settings);
  const std::optional<Choice> choice = choiceFor(adjustment, *problem, rejected, noise);
  // Differences that vanish are those of computed data, whose closest fit leaves rounding.
  if (chosen && (!choice || !noise.value)) {
    throw NoNoise();
  }
  Inversion result;
  if (chosen) {
    const KnownNoise known = noise.origin == NoiseOrigin::differences ? KnownNoise{} : noise;
    const std::vector<std::size_t> offCurve = numbersAmongAll(choice->offCurve, rejected);
    const std::vector<std::size_t> spoiled = numbersAmongAll(choice->spoiled, rejected);
    const double scale = problem->scale();
    if (!spoiled.empty()) {
      rejected.insert(rejected.end(), spoiled.begin(), spoiled.end());
      std::sort(rejected.begin(), rejected.end());
      problem.reset();  // a kernel of many samples need not be there three times
      problem.emplace(whole.without(rejected));
    }
    result = solveChosen(*problem, *choice, scale, known, settings);
    result.offCurve = offCurve;
    result.spoiled = spoiled;
  } else {
    result = searchWeight(*problem, noise, settings);
    if (choice) {
      tellResidualNoise(result, *choice, problem->scale());
    }
  }
  if (choice) {
    // The samples that the inversion was made of.
    const std::vector<double> time = timesWithout(decay.time, rejected);
    result.finding = choice->finding;
    addLateFindings(result, knownKernel(settings, decay.time), std::max(time[0], time[1] - time[0]),
                    choice->residualNoise * problem->scale());
  }
  result.soughtOutliers = originalSettings.rejectBeyond.has_value();
  if (!rejected.empty()) {
    result.rejected = rejected;
    result.fit = whole.fitOf(result.distribution.amplitude);
  }
  result.offset = adjustment.offset;
  result.efficiency = adjustment.efficiency;
  result.flip = adjustment.flip;
  for (double& value : result.fit) {
    value += adjustment.offset.value_or(0.0);
  }
  return result;
}

}  // namespace

Inversion invert(const Decay& decay, const InversionSettings& settings) {
  if (!settings.magnitude) {
    return invertSignal(decay, settings);
  }
  requireUsable(decay, settings);
  InversionSettings plain = settings;
  plain.magnitude = false;
  return invertMagnitudes(decay, settings,
                          [&](const Decay& signal) { return invertSignal(signal, plain); });
}

}  // namespace vorin::toolkit
