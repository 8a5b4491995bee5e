#include "common/inversion.hpp"

#include <fmt/format.h>
#include <vorin.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <set>

#include "common/library.hpp"
#include "common/noise.hpp"
#include "common/user_error.hpp"

namespace vorin::host {

namespace {

double largestMagnitude(const std::vector<double>& values) {
  double largest = 0.0;
  for (double value : values) {
    largest = std::max(largest, std::fabs(value));
  }
  return largest;
}

/// Root mean square of a - b; both are divided by `scale` on the way, against overflow.
double rootMeanSquareDifference(const std::vector<double>& a, const std::vector<double>& b,
                                double scale) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = a[i] / scale - b[i] / scale;
    sum += difference * difference;
  }
  return std::sqrt(sum / static_cast<double>(a.size())) * scale;
}

std::vector<float> toSingle(const std::vector<double>& values, double divisor = 1.0) {
  std::vector<float> result(values.size());
  std::transform(values.begin(), values.end(), result.begin(),
                 [&](double value) { return static_cast<float>(value / divisor); });
  return result;
}

std::vector<double> toDouble(const std::vector<float>& values, double factor) {
  std::vector<double> result(values.size());
  std::transform(values.begin(), values.end(), result.begin(),
                 [&](float value) { return static_cast<double>(value) * factor; });
  return result;
}

/// Sets the noise of the scaled data: SIG and CSI2 are both read, depending on NALG.
void setNoise(double noise) {
  setNumber("SIG", static_cast<float>(noise));
  setNumber("CSI2", static_cast<float>(noise));
}

/// Hands the settings to the store; `scale` is what the data are divided by.
void applySettings(const InversionSettings& settings, std::optional<double> noise, double scale) {
  setText("FLOG", "NONE");  // which stands for Vorin.log
  setNumber("REPO", settings.keepLog ? 2.0F : 0.0F);
  setText("PRMO", settings.pruning);
  if (settings.prunedPoints) {
    setNumber("PRPO", static_cast<float>(*settings.prunedPoints));
  }
  setText("TARG", settings.weight ? "WEIG" : "NOISE");
  if (settings.weight) {
    setNumber("WEIG", static_cast<float>(*settings.weight));
  }
  std::set<std::string> assigned;
  for (const std::string& assignment : settings.assignments) {
    assigned.insert(assign(assignment, "--set"));
  }
  // The tolerance is that of the squared change of a dual vector of about noise /
  // weight. For data of magnitude 1 the library's 1e-6 ends a solve at a large weight
  // before it has settled; this value costs a pass more. Single precision (BRDA = 1)
  // would not reach it.
  constexpr float kTolerance = 1e-12F;
  if (!assigned.contains("TOL") && queryNumber("BRDA") != 1.0F) {
    setNumber("TOL", kTolerance);
  }
  if (noise) {
    setNoise(*noise / scale);
  } else if (!assigned.contains("NALG") && queryNumber("TARG") == 1.0F) {
    throw UserError(
        "the data show no noise to aim the fit at (too few samples, or computed data); give the "
        "noise by --noise SIGMA or a weight by --weight W");
  }
}

WeightMode currentMode() {
  const float code = queryNumber("TARG");
  return code == 0.0F ? WeightMode::fixed : code == 2.0F ? WeightMode::corner : WeightMode::noise;
}

}  // namespace

std::vector<float> pruningAbscissae(const std::vector<double>& times) {
  std::vector<double> abscissae = times;
  if (abscissae.front() < static_cast<double>(FLT_MIN)) {
    // A spacing that is nothing beside the whole would leave all bins near 0.
    constexpr double kLeastShift = 1e-6;
    const double shift = std::max(times.at(1) - times.front(), kLeastShift * times.back());
    for (double& abscissa : abscissae) {
      abscissa += shift;
    }
  }
  return toSingle(abscissae);
}

namespace {

/// A decay and its kernel as the library takes them.
class Problem {
 public:
  Problem(const Decay& decay, const InversionSettings& settings, double scale)
      : scale_(scale),
        grid_(settings.grid),
        amplitude_(decay.amplitude),
        K_(kernelMatrix(settings.kernel, decay.time, settings.grid)),
        T_(pruningAbscissae(decay.time)),
        Y_(toSingle(decay.amplitude, scale)),
        G_(toSingle(settings.grid)) {}

  /// One inversion with the settings of the store, in the unit of the data.
  Inversion solve() const {
    const auto nf = static_cast<std::int32_t>(Y_.size());
    const auto ng = static_cast<std::int32_t>(G_.size());
    std::vector<float> W(Y_.size());
    std::vector<float> F(G_.size());
    std::vector<float> FIT(Y_.size());
    Inversion result;
    Voriny_s(nf, ng, &nf, &ng, K_.data(), T_.data(), Y_.data(), W.data(), G_.data(), F.data(),
             FIT.data(), &result.status);
    result.distribution = {grid_, toDouble(F, scale_)};
    result.fit = toDouble(FIT, scale_);
    result.mode = currentMode();
    result.weight = static_cast<double>(queryNumber("CWEI"));
    result.reachedError = static_cast<double>(queryNumber("CSE")) * scale_;
    result.fitError = rootMeanSquareDifference(amplitude_, result.fit, scale_);
    result.weightSteps = static_cast<int>(std::lround(queryNumber("CWIT")));
    if (queryNumber("BRDA") != 3.0F) {  // the quadratic program has no passes
      result.passes = static_cast<int>(std::lround(queryNumber("CITE")));
    }
    if (result.mode == WeightMode::noise) {
      result.wantedError = static_cast<double>(queryNumber("DSE")) * scale_;
      if (const float used = queryNumber("CSIG"); used != queryNumber("SIG")) {
        result.noise = static_cast<double>(used) * scale_;
        result.noiseOrigin = NoiseOrigin::library;
      }
    }
    return result;
  }

 private:
  double scale_;
  const std::vector<double>& grid_;
  const std::vector<double>& amplitude_;
  std::vector<float> K_;  ///< kernel, samples x grid times by columns
  std::vector<float> T_;  ///< abscissae for the pruning
  std::vector<float> Y_;  ///< scaled amplitudes
  std::vector<float> G_;  ///< grid times
};

/// True when the search failed because every fit misses the data by more than it wanted.
bool outOfReach(const Inversion& inversion) {
  return inversion.mode == WeightMode::noise && !succeeded(inversion) &&
         inversion.reachedError > inversion.wantedError;
}

}  // namespace

Inversion invert(const Decay& decay, const InversionSettings& settings) {
  // The library compares its convergence tolerance with absolute numbers, and works
  // in single precision. Data scaled to a largest magnitude of 1 make the outcome
  // independent of the instrument's unit.
  const double scale = largestMagnitude(decay.amplitude);
  if (settings.noise && !(*settings.noise < scale)) {
    throw UserError(fmt::format(
        "--noise {:g} is no less than the largest amplitude, {:g}; give it in the unit of the data",
        *settings.noise, scale));
  }
  const std::optional<double> noise = settings.noise ? settings.noise : differenceNoise(decay);
  applySettings(settings, noise, scale);

  const Problem problem(decay, settings, scale);
  Inversion result = problem.solve();
  const bool ownNoise = result.noiseOrigin != NoiseOrigin::library;
  if (ownNoise && outOfReach(result)) {
    const double closest = result.reachedError;
    setNoise(closest / scale);
    result = problem.solve();
    result.raisedAim = closest;
  }
  if (noise && ownNoise) {
    result.noise = *noise;
    result.noiseOrigin = settings.noise ? NoiseOrigin::given : NoiseOrigin::differences;
  }
  return result;
}

bool succeeded(const Inversion& inversion) {
  return inversion.status < 1 ||
         (inversion.status == VORIN_CORNER_MODE && inversion.mode == WeightMode::corner);
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

}  // namespace vorin::host
