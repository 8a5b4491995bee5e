#include "toolkit/inverting/plan.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <utility>

#include "toolbox/instance.hpp"
#include "toolkit/inverting/classic.hpp"
#include "toolkit/inverting/flip_angle.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/kernel_source.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/magnitude_floor.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

namespace {

bool isClassic(const InversionSettings& settings) {
  return settings.method == Method::classic && !settings.compression && !settings.rejectBeyond &&
         !settings.baseline && !settings.efficiency;
}

std::shared_ptr<const Problem> problemOfOnes(const std::vector<double>& times,
                                             const InversionSettings& settings) {
  const Decay ones{times, std::vector<double>(times.size(), 1.0)};
  return std::make_shared<const Problem>(Problem(ones, settings).planned());
}

}  // namespace

/// The problems of the angles that have occurred. The first thread that comes to an angle makes
/// its own.
struct InversionPlan::Angles {
  const std::shared_ptr<const Problem>& at(std::size_t index, const std::vector<double>& times,
                                           const InversionSettings& settings) const {
    std::call_once(made.at(index), [&] {
      InversionSettings own = settings;
      own.matrix = settings.flipAngles->matrix(index);
      const LibraryJob job;
      setKeys(own);
      problems.at(index) = problemOfOnes(times, own);
    });
    return problems[index];
  }

  mutable std::array<std::once_flag, FlipAngles::count> made;
  mutable std::array<std::shared_ptr<const Problem>, FlipAngles::count> problems;
};

InversionPlan::InversionPlan(std::vector<double> times, const InversionSettings& settings)
    : times_(std::move(times)), settings_(settings), shares_(isClassic(settings)) {
  settings_.logFile.clear();
  if (settings_.kernel == Kernel::t2Epg && settings_.estimatesFlip && !settings_.matrix) {
    settings_.flipAngles =
        std::make_shared<const FlipAngles>(settings_.train, times_, settings_.grid);
    if (shares_) {
      angles_ = std::make_shared<const Angles>();
    }
  } else if (settings_.kernel == Kernel::t2Epg && !settings_.matrix) {
    settings_.matrix = std::make_shared<const std::vector<float>>(
        echoMatrix(settings_.train, times_, settings_.grid));
  } else if (!settings_.matrix) {
    settings_.matrix = SharedKernel().of(settings_.kernel, times_, settings_.grid);
  }
  const LibraryJob job;
  setKeys(settings_);
  if (shares_ && !angles_) {
    problem_ = problemOfOnes(times_, settings_);
  }
}

struct InversionPlan::Worker::State {
  explicit State(const InversionPlan& of)
      : plan(&of), settings(of.settings_), decay{of.times_, {}} {
    instance.logFile = "";
    if (of.problem_) {
      problem.emplace(of.problem_->forOneThread());
    }
    if (of.angles_) {
      ofAngle.resize(FlipAngles::count);
    }
  }

  /// The plan's problem, or that of the angle at which `amplitude` is fitted best.
  Problem& problemFor(const std::vector<double>& amplitude) {
    if (!plan->angles_) {
      return *problem;
    }
    const std::size_t index = flip ? *flip : plan->settings_.flipAngles->closest(amplitude);
    settings.train.flip = FlipAngles::angle(index);
    std::optional<Problem>& own = ofAngle[index];
    if (!own) {
      own.emplace(plan->angles_->at(index, plan->times_, plan->settings_)->forOneThread());
    }
    return *own;
  }

  /// A decay of data with signs, on what the plan keeps.
  void invertShared(const Decay& signal, Fit fit, Inversion& inversion) {
    Problem& own = problemFor(signal.amplitude);
    own.takeAmplitudes(signal.amplitude);
    searchWeight(own, knownNoise(signal, own, settings), settings, fit, inversion);
    if (settings.kernel == Kernel::t2Epg) {
      inversion.flip = settings.train.flip;
    }
  }

  const InversionPlan* plan;
  InversionSettings settings;      ///< with the noise of the present decay
  Decay decay;                     ///< the present one
  std::optional<Problem> problem;  ///< of the present one; none where nothing is shared
  std::vector<std::optional<Problem>> ofAngle;  ///< where the angle is estimated
  std::optional<std::size_t> flip;  ///< number of the angle that is given in place of an estimate
  Instance instance;
};

InversionPlan::Worker::Worker(const InversionPlan& plan) : state_(std::make_unique<State>(plan)) {}
InversionPlan::Worker::~Worker() = default;

void InversionPlan::Worker::setFlip(std::optional<double> degrees) {
  const InversionSettings& ofPlan = state_->plan->settings_;
  InversionSettings& settings = state_->settings;
  state_->flip.reset();
  settings.estimatesFlip = ofPlan.estimatesFlip;
  settings.matrix = ofPlan.matrix;
  if (degrees && ofPlan.estimatesFlip) {
    state_->flip = FlipAngles::nearest(*degrees);
    settings.estimatesFlip = false;
    settings.train.flip = FlipAngles::angle(*state_->flip);
    settings.matrix = ofPlan.flipAngles->matrix(*state_->flip);
  }
}

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
    if (state_->plan->shares_) {
      const InstanceScope scope(state_->instance);
      requireUsable(decay, settings);
      const Fit fit = withFit ? Fit::formed : Fit::skipped;
      if (settings.magnitude) {
        inversion = invertMagnitudes(decay, settings, [&](const Decay& signal) {
          Inversion made;
          state_->invertShared(signal, fit, made);
          return made;
        });
      } else {
        state_->invertShared(decay, fit, inversion);
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
