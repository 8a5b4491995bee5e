// Many decays of the same times on one grid: kernel, bins, conversions and K'K are formed once, and
// any number of threads inverts decays on them.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

/// Why a decay of many could not be inverted.
enum class DecayFailure {
  none,
  notFinite,     ///< an amplitude is infinite or not a number
  allZero,       ///< every amplitude is 0
  noNoise,       ///< the data show no noise to choose a weight by, and none is given
  noiseTooLarge  ///< the noise given is no less than the largest amplitude
};

/// One decay of many. Where `failure` is not none, `inversion` is empty.
struct PlannedInversion {
  DecayFailure failure = DecayFailure::none;
  Inversion inversion;
};

class InversionPlan {
 public:
  /// For decays at these times (two at least, rising, none negative). A noise of `settings` is
  /// that of every decay that comes without one of its own. Throws UserError for an assignment
  /// that can't be carried out.
  InversionPlan(std::vector<double> times, const InversionSettings& settings);

  /// True where decays are inverted on what the plan keeps: Method::classic without compression,
  /// outliers, baseline and efficiency. Of a refocusing angle that is estimated it keeps that for
  /// each angle that occurs. Any other settings take invert() for each decay, which
  /// shares the kernel's matrix alone.
  bool shares() const { return shares_; }

  const std::vector<double>& times() const { return times_; }
  const InversionSettings& settings() const { return settings_; }

  /// What one thread needs; the plan stays the caller's and must outlive it.
  class Worker;

 private:
  std::vector<double> times_;
  InversionSettings settings_;
  bool shares_ = false;
  struct Angles;
  std::shared_ptr<const Angles> angles_;          ///< where the refocusing angle is estimated
  std::shared_ptr<const class Problem> problem_;  ///< of ones; null where nothing is shared
};

/// Inverts decay after decay on a plan, one for each thread: it holds an instance of the library's
/// state of its own. Used by one thread at a time.
class InversionPlan::Worker {
 public:
  explicit Worker(const InversionPlan& plan);
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// What invert() returns for the plan's times, these amplitudes (as many) and settings, to the
  /// last bit; no log is written. `noise`, if there is one, takes the place of that of the
  /// settings, in the unit of the data. What invert() throws is told as a failure where it depends
  /// on the amplitudes.
  /// Where the plan estimates refocusing angles: the next decays have this one, above 0 and below
  /// 360 degrees, to the nearest degree; without a value theirs are estimated again.
  void setFlip(std::optional<double> degrees);

  PlannedInversion invert(const std::vector<double>& amplitude,
                          std::optional<double> noise = std::nullopt);

  /// The same into `result`, whose arrays are used again, and without the fit: `fit` is empty and
  /// `fitError` 0, all else has the bits of invert(). For decays of which only the distribution and
  /// its numbers are kept.
  void invertWithoutFit(const std::vector<double>& amplitude, std::optional<double> noise,
                        PlannedInversion& result);

 private:
  void invertInto(const std::vector<double>& amplitude, std::optional<double> noise, bool withFit,
                  PlannedInversion& result);

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vorin::toolkit
