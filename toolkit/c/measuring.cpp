// Measures of a distribution.
#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <optional>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/measures/report_measures.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit::c {

void addMeasures(vorin_result& result, const Distribution& distribution, double smallestShare) {
  result.add("total", totalAmplitude(distribution));
  result.add("log_mean", logMean(distribution));
  result.add("mean", arithmeticMean(distribution));
  std::vector<double> position;
  std::vector<double> width;
  std::vector<double> share;
  std::vector<double> atGridEnd;
  std::vector<double> centre;
  std::vector<double> amount;
  for (const Peak& peak : peaks(distribution, smallestShare)) {
    position.push_back(peak.time);
    width.push_back(peak.width);
    share.push_back(peak.share);
    atGridEnd.push_back(peak.atGridEnd ? 1.0 : 0.0);
    centre.push_back(peak.centre);
    amount.push_back(peak.amount);
  }
  result.add("peak_position", std::move(position));
  result.add("peak_width", std::move(width));
  result.add("peak_share", std::move(share));
  result.add("peak_at_grid_end", std::move(atGridEnd));
  result.add("peak_centre", std::move(centre));
  result.add("peak_amount", std::move(amount));
}

namespace {

/// The names of a list of measures and of the lower and upper ends of their intervals.
struct Names {
  std::string_view value;
  std::string_view lower;
  std::string_view upper;
};

/// Adds one measure of each of `rows` as a list, and the ends of their intervals where they have
/// some.
template <class Row>
void addList(vorin_result& result, const Names& names, const std::vector<Row>& rows,
             Measure Row::*measure) {
  std::vector<double> value;
  std::vector<double> lower;
  std::vector<double> upper;
  for (const Row& row : rows) {
    const Measure& one = row.*measure;
    value.push_back(one.value);
    if (one.interval) {
      lower.push_back(one.interval->lower);
      upper.push_back(one.interval->upper);
    }
  }
  const bool intervals = !lower.empty() || rows.empty();
  result.add(names.value, std::move(value));
  if (intervals) {
    result.add(names.lower, std::move(lower));
    result.add(names.upper, std::move(upper));
  }
}

/// Total and means, as a number each.
struct Whole {
  Names names;
  Measure measure;
};

void addReport(vorin_result& result, const Measures& measures) {
  for (const Whole& whole :
       {Whole{{"total", "total_lower", "total_upper"}, measures.total},
        Whole{{"mean", "mean_lower", "mean_upper"}, measures.mean},
        Whole{{"log_mean", "log_mean_lower", "log_mean_upper"}, measures.logMean}}) {
    result.add(whole.names.value, whole.measure.value);
    if (whole.measure.interval) {
      result.add(whole.names.lower, whole.measure.interval->lower);
      result.add(whole.names.upper, whole.measure.interval->upper);
    }
  }
  addList(result, {"part_amount", "part_amount_lower", "part_amount_upper"}, measures.parts,
          &MeasuredPart::amount);
  addList(result, {"part_share", "part_share_lower", "part_share_upper"}, measures.parts,
          &MeasuredPart::share);
  addList(result, {"percentile", "percentile_lower", "percentile_upper"}, measures.percentiles,
          &MeasuredPercentile::time);
  addList(result, {"peak_position", "peak_position_lower", "peak_position_upper"}, measures.peaks,
          &MeasuredPeak::position);
  addList(result, {"peak_centre", "peak_centre_lower", "peak_centre_upper"}, measures.peaks,
          &MeasuredPeak::centre);
  addList(result, {"peak_width", "peak_width_lower", "peak_width_upper"}, measures.peaks,
          &MeasuredPeak::width);
  addList(result, {"peak_amount", "peak_amount_lower", "peak_amount_upper"}, measures.peaks,
          &MeasuredPeak::amount);
  addList(result, {"peak_share", "peak_share_lower", "peak_share_upper"}, measures.peaks,
          &MeasuredPeak::share);
}

/// Numbers that rise strictly between two limits; none for a count of 0.
std::vector<double> risingBetween(const double* values, std::int64_t count, double above,
                                  double below, std::string_view name) {
  if (count == 0) {
    return {};
  }
  std::vector<double> result = numbersAt(values, count, 0, name);
  double last = above;
  for (double value : result) {
    if (!(value > last && value < below)) {
      throw UserError(fmt::format("{}: numbers that rise from above {:g}{} are required", name,
                                  above,
                                  std::isinf(below) ? "" : fmt::format(" to below {:g}", below)));
    }
    last = value;
  }
  return result;
}

/// The replicates of a bootstrap, or none for a count of 0.
std::optional<Band> bandAt(const double* replicates, std::int64_t count, std::int64_t points,
                           double factor) {
  if (count == 0) {
    return std::nullopt;
  }
  if (count < 0 || points > std::numeric_limits<std::int64_t>::max() / count) {
    throw UserError(fmt::format("replicate_count is {}; it can't be that", count));
  }
  const std::vector<double> all = numbersAt(replicates, count * points, 1, "replicates");
  if (!(factor > 0.0 && std::isfinite(factor))) {
    throw UserError(fmt::format(
        "interval_factor is {:g}; a number above 0 is required, that of vorin_bootstrap", factor));
  }
  Band band;
  band.intervalFactor = factor;
  const auto width = static_cast<std::ptrdiff_t>(points);
  for (auto at = all.begin(); at != all.end(); at += width) {
    band.distributions.emplace_back(at, at + width);
  }
  return band;
}

}  // namespace

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_measures(const double* grid, const double* distribution, int64_t points,
                       double smallest_share, vorin_result** result, char* message,
                       int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin::toolkit::Distribution given{c::numbersAt(grid, points, 1, "grid"),
                                             c::numbersAt(distribution, points, 1, "distribution")};
    c::requireGrid(given.time, "grid");
    auto made = std::make_unique<vorin_result>();
    c::addMeasures(*made, given, smallest_share);
    made->add("per_decade", vorin::toolkit::perDecade(given));
    made->add("cumulative", vorin::toolkit::cumulative(given));
    return made;
  });
}

int32_t vorin_report_measures(const double* grid, const double* distribution, int64_t points,
                              const double* cutoffs, int64_t cutoff_count,
                              const double* percentiles, int64_t percentile_count,
                              const double* replicates, int64_t replicate_count,
                              double interval_factor, vorin_result** result, char* message,
                              int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin::toolkit::Distribution given{c::numbersAt(grid, points, 1, "grid"),
                                             c::numbersAt(distribution, points, 1, "distribution")};
    c::requireGrid(given.time, "grid");
    constexpr double infinite = std::numeric_limits<double>::infinity();
    constexpr double hundred = 100.0;
    const vorin::toolkit::MeasureChoice choice{
        c::risingBetween(cutoffs, cutoff_count, 0.0, infinite, "cutoffs"),
        c::risingBetween(percentiles, percentile_count, 0.0, hundred, "percentiles")};
    const std::optional<vorin::toolkit::Band> band =
        c::bandAt(replicates, replicate_count, points, interval_factor);
    auto made = std::make_unique<vorin_result>();
    c::addReport(*made, vorin::toolkit::measuresOf(given, choice, band ? &*band : nullptr));
    return made;
  });
}

}  // extern "C"
