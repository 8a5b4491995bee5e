// The numbers that a report gives of a distribution, each with its interval where there is a
// bootstrap: amounts between cutoffs, percentiles, means, peaks.
#pragma once

#include <optional>
#include <vector>

#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/measures/intervals.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"

namespace vorin::toolkit {

/// Which measures a report gives beside total, means and peaks.
struct MeasureChoice {
  std::vector<double> cutoffs;  ///< rising from above 0; none: no parts
  std::vector<double> percentiles{10.0, 50.0, 90.0};
};

/// A number and, with a bootstrap, where it lies. Unknown numbers are not-a-number.
struct Measure {
  double value = 0.0;
  std::optional<Interval> interval{};
};

struct MeasuredPart {
  double from;  ///< as Part has them
  double to;
  Measure amount;
  Measure share;
};

struct MeasuredPercentile {
  double percent;
  Measure time;  ///< the relaxation time, or diffusion coefficient
};

struct MeasuredPeak {
  Measure position;
  Measure centre;
  Measure width;
  Measure amount;
  Measure share;
  bool atGridEnd;
};

struct Measures {
  Measure total;
  Measure mean;  ///< arithmetic
  Measure logMean;
  std::vector<MeasuredPart> parts;  ///< none without cutoffs
  std::vector<MeasuredPercentile> percentiles;
  std::vector<MeasuredPeak> peaks;
};

/// The measures of `distribution`, with the intervals by `band` where it isn't null. Intervals of
/// times are those of their logarithms; those of amounts, shares and widths are cut at 0, of
/// shares also at 1. The interval of a peak is that of its part of the grid, whatever peaks a
/// replicate has there.
Measures measuresOf(const Distribution& distribution, const MeasureChoice& choice,
                    const Band* band = nullptr);

}  // namespace vorin::toolkit
