#include "toolkit/inverting/plan.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolbox/instance.hpp"
#include "toolkit/inverting/classic.hpp"
#include "toolkit/inverting/flip_angle.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/kernel_source.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

namespace {

bool isClassic(const InversionSettings& settings) {
  return settings.method == Method::classic && !settings.compression && !settings.rejectBeyond &&
         !settings.baseline && !settings.efficiency && !settings.estimatesFlip &&
         !settings.magnitude;
}

}  // namespace

InversionPlan::InversionPlan(std::vector<double> times, const InversionSettings& settings)
    : times_(std::move(times)), settings_(settings), shares_(isClassic(settings)) {
  settings_.logFile.clear();
  if (!settings_.matrix && settings_.kernel == Kernel::t2Epg) {
    if (settings_.estimatesFlip) {
      settings_.flipAngles =
          std::make_shared<const FlipAngles>(settings_.train, times_, settings_.grid);
    } else {
      settings_.matrix = std::make_shared<const std::vector<float>>(
          echoMatrix(settings_.train, times_, settings_.grid));
    }
  } else if (!settings_.matrix) {
    settings_.matrix = SharedKernel().of(settings_.kernel, times_, settings_.grid);
  }
  const LibraryJob job;
  setKeys(settings_);
  if (shares_) {
    const Decay ones{times_, std::vector<double>(times_.size(), 1.0)};
    problem_ = std::make_shared<const Problem>(Problem(ones, settings_).planned());
  }
}

struct InversionPlan::Worker::State {
  explicit State(const InversionPlan& of)
      : plan(&of), settings(of.settings_), decay{of.times_, {}} {
    instance.logFile = "";
    if (of.problem_) {
      problem.emplace(of.problem_->forOneThread());
    }
  }

  const InversionPlan* plan;
  InversionSettings settings;      ///< with the noise of the present decay
  Decay decay;                     ///< the present one
  std::optional<Problem> problem;  ///< of the present one; none where nothing is shared
  Instance instance;
};

InversionPlan::Worker::Worker(const InversionPlan& plan) : state_(std::make_unique<State>(plan)) {}
InversionPlan::Worker::~Worker() = default;

PlannedInversion InversionPlan::Worker::invert(const std::vector<double>& amplitude,
                                               std::optional<double> noise) {
  PlannedInversion result;
  invertInto(amplitude, noise, true, result);
  return result;
}

void InversionPlan::Worker::invertWithoutFit(const std::vector<double>& amplitude,
                                             std::optional<double> noise,
                                             PlannedInversion& result) {
  invertInto(amplitude, noise, false, result);
}

void InversionPlan::Worker::invertInto(const std::vector<double>& amplitude,
                                       std::optional<double> noise, bool withFit,
                                       PlannedInversion& result) {
  const auto fail = [&](DecayFailure failure) { result = {failure, {}}; };
  if (!std::all_of(amplitude.begin(), amplitude.end(),
                   [](double value) { return std::isfinite(value); })) {
    return fail(DecayFailure::notFinite);
  }
  const double largest = largestMagnitude(amplitude);
  if (!(largest > 0.0)) {
    return fail(DecayFailure::allZero);
  }
  InversionSettings& settings = state_->settings;
  settings.noise = noise ? noise : state_->plan->settings_.noise;
  if (settings.noise && !(*settings.noise < largest)) {
    return fail(DecayFailure::noiseTooLarge);
  }
  Decay& decay = state_->decay;
  decay.amplitude = amplitude;
  Inversion& inversion = result.inversion;
  try {
    if (state_->problem) {
      const InstanceScope scope(state_->instance);
      requireUsable(decay, settings);
      Problem& problem = *state_->problem;
      problem.takeAmplitudes(amplitude);
      searchWeight(problem, knownNoise(decay, problem, settings), settings,
                   withFit ? Fit::formed : Fit::skipped, inversion);
      if (settings.kernel == Kernel::t2Epg) {
        inversion.flip = settings.train.flip;
      }
    } else {
      inversion = toolkit::invert(decay, settings);
      if (!withFit) {
        inversion.fit.clear();
        inversion.fitError = 0.0;
      }
    }
    result.failure = DecayFailure::none;
  } catch (const NoNoise&) {
    fail(DecayFailure::noNoise);
  }
}

}  // namespace vorin::toolkit
