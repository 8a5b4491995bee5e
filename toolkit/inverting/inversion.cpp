#include "toolkit/inverting/inversion.hpp"

#include <fmt/format.h>
#include <vorin.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

#include "toolkit/inverting/choice.hpp"
#include "toolkit/inverting/classic.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/matrix.hpp"
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
  constexpr int mostRounds = 50;
  std::vector<std::size_t> kept(whole.data().size());
  std::iota(kept.begin(), kept.end(), std::size_t{0});
  for (int round = 0; round < mostRounds; ++round) {
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

/// Decay and settings without a given or fitted constant and efficiency.
struct Adjustment {
  Adjusted solved;
  std::optional<double> offset;
  std::optional<double> efficiency;
};

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

Adjusted applied(const Decay& decay, const InversionSettings& settings,
                 const std::optional<double>& offset, const std::optional<double>& efficiency) {
  Adjusted result{decay, settings};
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

/// What choose() sees: bins, not compressed rows, which have no order in time. At one weight the
/// distribution is the same for both.
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
  if (fitsOffset || (settings.efficiency && !efficiency)) {
    const InversionSettings plain = uncompressed(settings);
    setKeys(plain);
    const Problem whole(decay, plain);
    const ChoiceInput input{whole, decay.time, plain.grid, plain.kernel};
    if (fitsOffset) {
      offset = closestOffset(input) * whole.scale();
    } else {
      efficiency = std::clamp(closestEfficiency(input), 0.0, 1.0);
    }
  }
  return {applied(decay, settings, offset, efficiency), offset, efficiency};
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

}  // namespace

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

/// The library's own search, or its solve at a given weight.
Inversion search(const Problem& problem, const KnownNoise& noise,
                 const InversionSettings& settings) {
  const double scale = problem.scale();
  setKeys(settings);
  if (noise.value) {
    setNoise(*noise.value / scale);
  } else if (needsNoise(settings)) {
    throw NoNoise();
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
  result.lastColumn = settings.grid.size() - 1;
  return result;
}

/// The samples that the library takes for outliers in a search of its own.
std::vector<std::size_t> rejectedByLibrary(const Decay& decay, const InversionSettings& solved,
                                           const InversionSettings& original) {
  InversionSettings settings = solved;
  settings.rejectBeyond = original.rejectBeyond;
  const Problem problem(decay, settings);
  return search(problem, knownNoise(decay, problem, settings), settings).rejected;
}

/// One solve at the weight that choose() has found.
/// `scale` is the unit of the problem that it worked on, before first samples were left out.
Inversion solveChosen(const Problem& problem, const Choice& choice, double scale,
                      const KnownNoise& noise, const InversionSettings& settings) {
  setFixedWeight(settings, choice.weight);
  const Problem within = problem.within(choice.support.first, choice.support.last);
  Inversion result = solve(within, settings);
  if (!succeeded(result) && queryNumber("BRDA") != 3.0F) {
    // The iteration is out of passes; the quadratic program needs none.
    const float route = queryNumber("BRDA");
    setNumber("BRDA", 3.0F);
    result = solve(within, settings);
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

/// The share of the signal of an echo train that is faster than the first sample, at `start`, or
/// piles up there: in the peak that the distribution has at `start`, beyond which it has no
/// support.
double fastShare(const Inversion& inversion, Kernel kernel, double start) {
  const std::vector<double>& f = inversion.distribution.amplitude;
  const std::vector<double>& at = inversion.distribution.time;
  const std::size_t first = inversion.firstColumn;
  constexpr double nearRatio = 1.5;
  if (kernel != Kernel::t2 || first + 1 >= f.size() || at[first] > nearRatio * start) {
    return 0.0;
  }
  const bool pilesUp = f[first] > f[first + 1];
  double share = 0.0;
  double logarithms = 0.0;
  for (std::size_t k = first; k < f.size(); ++k) {
    const bool inPeak = pilesUp && (k == first || f[k] < f[k - 1]);
    if (!inPeak && !(at[k] < start)) {
      break;
    }
    share += f[k];
    logarithms += f[k] * std::log(at[k] / start);
  }
  // A peak that the samples resolve may reach to the first of them.
  constexpr double resolvedRatio = 0.2;
  return logarithms > resolvedRatio * share ? 0.0
                                            : share / std::accumulate(f.begin(), f.end(), 0.0);
}

/// What only the finished inversion shows.
void addLateFindings(Inversion& inversion, Kernel kernel, double start, double residualNoise) {
  constexpr double muchFast = 0.1;
  constexpr double lostRatio = 2.0;
  if (inversion.finding.fatal()) {
    return;
  }
  if (inversion.mode == WeightMode::corner && inversion.fitError > lostRatio * residualNoise) {
    inversion.finding = {FindingKind::cornerLost, Kernel::t2, inversion.fitError / residualNoise,
                         0};
  } else if (const double share = fastShare(inversion, kernel, start);
             inversion.mode == WeightMode::automatic && share > muchFast) {
    inversion.finding = {FindingKind::tooFast, Kernel::t2, share, 0};
  }
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

/// The kernel of `settings`, by name also where its own matrix has been given.
Kernel kernelOf(const InversionSettings& settings, const std::vector<double>& time) {
  if (settings.kernel != Kernel::matrix || !(settings.grid.front() > 0.0)) {
    return settings.kernel;
  }
  for (const Kernel kernel :
       {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion, Kernel::diffusion}) {
    constexpr float roundingLevel = 1e-6F;
    const std::vector<float> K = kernelMatrix(kernel, time, settings.grid);
    if (std::equal(K.begin(), K.end(), settings.matrix->begin(), settings.matrix->end(),
                   [](float a, float b) { return std::fabs(a - b) <= roundingLevel; })) {
      return kernel;
    }
  }
  return settings.kernel;
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
  ChoiceInput input{bins, time, settings.grid, kernelOf(settings, decay.time)};
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

}  // namespace

Adjusted adjusted(const Decay& decay, const InversionSettings& settings,
                  const Inversion& inversion) {
  return applied(decay, settings, inversion.offset, inversion.efficiency);
}

Inversion invertClassic(const Decay& decay, const Problem& problem,
                        const InversionSettings& settings) {
  return search(problem, knownNoise(decay, problem, settings), settings);
}

Inversion invert(const Decay& original, const InversionSettings& originalSettings) {
  const LibraryJob job(originalSettings.logFile);
  requireUsable(original, originalSettings);
  const bool chosen = weightIsChosen(originalSettings);
  const Adjustment adjustment = adjust(original, originalSettings);
  const Decay& decay = adjustment.solved.decay;
  const InversionSettings& settings = adjustment.solved.settings;
  const Problem whole(decay, settings);
  std::vector<std::size_t> rejected = chosen && rejectsInLibrary(originalSettings)
                                          ? rejectedByLibrary(decay, settings, originalSettings)
                                          : rejectedSamples(whole, settings);
  const Problem problem = whole.without(rejected);
  const KnownNoise noise = knownNoise(decay, problem, settings);
  const std::optional<Choice> choice = choiceFor(adjustment, problem, rejected, noise);
  // Differences that vanish are those of computed data, whose closest fit leaves rounding.
  if (chosen && (!choice || !noise.value)) {
    throw NoNoise();
  }
  Inversion result;
  if (chosen) {
    const KnownNoise known = noise.origin == NoiseOrigin::differences ? KnownNoise{} : noise;
    result =
        solveChosen(problem.without(choice->spoiled), *choice, problem.scale(), known, settings);
    result.offCurve = numbersAmongAll(choice->offCurve, rejected);
    result.spoiled = numbersAmongAll(choice->spoiled, rejected);
    rejected.insert(rejected.end(), result.spoiled.begin(), result.spoiled.end());
    std::sort(rejected.begin(), rejected.end());
  } else {
    result = search(problem, noise, settings);
    if (choice) {
      tellResidualNoise(result, *choice, problem.scale());
    }
  }
  if (choice) {
    // The samples that the inversion was made of.
    const std::vector<double> time = timesWithout(decay.time, rejected);
    result.finding = choice->finding;
    addLateFindings(result, kernelOf(settings, decay.time), std::max(time[0], time[1] - time[0]),
                    choice->residualNoise * problem.scale());
  }
  result.soughtOutliers = originalSettings.rejectBeyond.has_value();
  if (!rejected.empty()) {
    result.rejected = rejected;
    result.fit = whole.fitOf(result.distribution.amplitude);
  }
  result.offset = adjustment.offset;
  result.efficiency = adjustment.efficiency;
  for (double& value : result.fit) {
    value += adjustment.offset.value_or(0.0);
  }
  return result;
}

bool succeeded(const Inversion& inversion) {
  // Who gives the weight asks for the distribution at it, whatever the data are.
  const bool counts = inversion.mode != WeightMode::fixed;
  return !(counts && inversion.finding.fatal()) &&
         (inversion.status < 1 ||
          (inversion.status == VORIN_CORNER_MODE && inversion.mode == WeightMode::corner));
}

std::string_view originText(NoiseOrigin origin) {
  switch (origin) {
    case NoiseOrigin::given:
      return "given";
    case NoiseOrigin::differences:
      return "from differences of neighbouring samples";
    case NoiseOrigin::residual:
      return "from the residual of the closest fit";
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
  if (inversion.finding.fatal() && inversion.mode != WeightMode::fixed) {
    return findingText(inversion.finding);
  }
  if (inversion.status == VORIN_SOLVER_FAILED) {
    return "the solver ran out of passes; give a larger weight (--weight) or more passes (--set "
           "MAXI=500)";
  }
  if (outOfReach(inversion)) {
    return "no weight fits this closely; leave out first samples that lie off the curve (--skip N) "
           "or give a larger noise (--noise)";
  }
  if (inversion.mode == WeightMode::noise && inversion.reachedError < inversion.wantedError) {
    return "every fit is closer to the data than the noise asks for; give a smaller one (--noise)";
  }
  switch (inversion.status) {
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
