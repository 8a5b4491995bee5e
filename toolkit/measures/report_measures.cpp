#include "toolkit/measures/report_measures.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorin::toolkit {

namespace {

/// The scale on which an interval is computed, and where the measure ends.
enum class Scale { logarithmic, aboveZero, fraction };

/// Measures of one distribution and of the replicates of its bootstrap, if there is one.
class Measurer {
 public:
  Measurer(const Distribution& distribution, const Band* band)
      : distribution_(distribution), band_(band) {
    if (band != nullptr) {
      for (const std::vector<double>& amplitude : band->distributions) {
        replicates_.push_back({distribution.time, amplitude});
      }
    }
  }

  /// `measure` maps a distribution to a number.
  template <class Function>
  Measure operator()(Scale scale, Function measure) const {
    Measure result{measure(distribution_), {}};
    if (band_ != nullptr) {
      std::vector<double> values;
      values.reserve(replicates_.size());
      for (const Distribution& replicate : replicates_) {
        values.push_back(onScale(scale, measure(replicate)));
      }
      const Interval found =
          intervalAround(onScale(scale, result.value), std::move(values), band_->intervalFactor);
      result.interval = Interval{fromScale(scale, found.lower), fromScale(scale, found.upper)};
    }
    return result;
  }

 private:
  static double onScale(Scale scale, double value) {
    if (scale != Scale::logarithmic) {
      return value;
    }
    return value > 0.0 ? std::log(value) : std::numeric_limits<double>::quiet_NaN();
  }

  static double fromScale(Scale scale, double value) {
    if (std::isnan(value)) {
      return value;
    }
    switch (scale) {
      case Scale::logarithmic:
        return std::exp(value);
      case Scale::fraction:
        return std::clamp(value, 0.0, 1.0);
      case Scale::aboveZero:
        break;
    }
    return std::max(value, 0.0);
  }

  const Distribution& distribution_;
  const Band* band_;
  std::vector<Distribution> replicates_;
};

}  // namespace

Measures measuresOf(const Distribution& distribution, const MeasureChoice& choice,
                    const Band* band) {
  const Measurer measured(distribution, band);
  Measures result;
  result.total = measured(Scale::aboveZero, totalAmplitude);
  result.mean = measured(Scale::logarithmic, arithmeticMean);
  result.logMean = measured(Scale::logarithmic, logMean);
  if (!choice.cutoffs.empty()) {
    const std::vector<Part> parts = partsBetween(distribution, choice.cutoffs);
    for (std::size_t p = 0; p < parts.size(); ++p) {
      const auto partOf = [&](const Distribution& one) {
        return partsBetween(one, choice.cutoffs)[p];
      };
      result.parts.push_back(
          {parts[p].from, parts[p].to,
           measured(Scale::aboveZero, [&](const auto& one) { return partOf(one).amount; }),
           measured(Scale::fraction, [&](const auto& one) { return partOf(one).share; })});
    }
  }
  for (double percent : choice.percentiles) {
    result.percentiles.push_back({percent, measured(Scale::logarithmic, [&](const auto& one) {
                                    return percentile(one, percent);
                                  })});
  }
  for (const Peak& peak : peaks(distribution)) {
    // The inversion's own peak is the one that peaks() has found; replicates are measured within
    // its part.
    const auto measure = [&](Scale scale, double Peak::*member) {
      return measured(scale, [&](const Distribution& one) {
        return &one == &distribution ? peak.*member : peakWithin(one, peak).*member;
      });
    };
    result.peaks.push_back(
        {measure(Scale::logarithmic, &Peak::time), measure(Scale::logarithmic, &Peak::centre),
         measure(Scale::aboveZero, &Peak::width), measure(Scale::aboveZero, &Peak::amount),
         measure(Scale::fraction, &Peak::share), peak.atGridEnd});
  }
  return result;
}

}  // namespace vorin::toolkit
