#include "toolkit/inverting/lcurve.hpp"

#include <algorithm>
#include <cmath>

#include "brd/dispatch.hpp"
#include "brd/problem.hpp"
#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/user_error.hpp"
#include "weight/corner_search.hpp"

namespace vorin::toolkit {

namespace {

/// One solve of the reduced problem.
struct Solve {
  std::vector<double> f;
  double rss = 0.0;
};

/// By the route that the corner search takes, without iterating: the store is set to it.
Solve solveAt(const ReducedProblem& problem, double weight) {
  brd::Problem<double> solved(problem.rows, problem.columns, problem.K.data(), problem.d.data());
  Solve result;
  result.f.assign(static_cast<std::size_t>(problem.columns), 1.0);
  std::vector<double> dual(static_cast<std::size_t>(problem.rows));
  double slope = 0.0;
  std::int32_t status = 0;
  brd::vrBRD_d(solved, result.f.data(), dual.data(), weight, result.rss, slope, status);
  return result;
}

double sumOfSquares(const std::vector<double>& values) {
  double sum = 0.0;
  for (double value : values) {
    sum += value * value;
  }
  return sum;
}

/// The weight in the middle of the series, from a first solve that takes the signal for 100
/// times the noise.
double centralWeight(const ReducedProblem& problem) {
  constexpr double scaleFactor = 50.0;
  constexpr double firstRatio = 100.0;
  constexpr double firstScale = 0.001;
  const double scaled = sumOfSquares(problem.K) * scaleFactor;
  const double m = problem.rows;
  const Solve first = solveAt(problem, scaled / (m * firstRatio * firstRatio) * firstScale);
  std::vector<double> fit(problem.d.size(), 0.0);
  for (std::size_t j = 0; j < first.f.size(); ++j) {
    for (std::size_t i = 0; i < fit.size(); ++i) {
      fit[i] += first.f[j] * problem.K[j * fit.size() + i];
    }
  }
  double squares = 0.0;
  for (std::size_t i = 0; i < fit.size(); ++i) {
    squares += (problem.d[i] - fit[i]) * (problem.d[i] - fit[i]);
  }
  const double ratio = fit.front() / std::sqrt(squares / m);
  return scaled / (m * ratio * ratio);
}

LCurvePoint pointAt(const ReducedProblem& problem, double weight, double scale) {
  const Solve solve = solveAt(problem, weight);
  return {weight, std::sqrt(solve.rss) * scale, std::sqrt(sumOfSquares(solve.f)) * scale};
}

/// The weight of the corner, by the library's own search.
double cornerOf(const ReducedProblem& problem) {
  brd::Problem<double> searched(problem.rows, problem.columns, problem.K.data(), problem.d.data());
  std::vector<double> f(static_cast<std::size_t>(problem.columns));
  return weight::searchCorner(searched, f.data()).w;
}

bool isWeight(double value) {
  return value > 0.0 && std::isfinite(value);
}

}  // namespace

LCurve lCurve(const Decay& decay, const InversionSettings& original, const Inversion& inversion) {
  const LibraryJob job;
  const Adjusted solved = adjusted(decay, original, inversion);
  const InversionSettings& settings = solved.settings;
  const Problem whole(solved.decay, settings);
  const bool library = rejectsInLibrary(settings);
  const Problem problem =
      library
          ? whole
          : whole.without(inversion.rejected).within(inversion.firstColumn, inversion.lastColumn);
  setKeys(settings);
  const ReducedProblem reduced = library ? problem.reduced(inversion.rejected) : problem.reduced();
  setNumber("BRDA", 3.0F);
  LCurve curve;
  double base = centralWeight(reduced);
  const bool searched = inversion.mode == WeightMode::corner;
  const double corner = searched ? inversion.cornerWeight : cornerOf(reduced);
  if (!isWeight(base) || !isWeight(corner)) {
    throw UserError(
        "there is no L-curve to draw, since a first fit leaves no residual or is 0 at the first "
        "sample; leave out that sample (--skip 1), or ask for no L-curve");
  }
  if (searched) {
    // A compression on this side agrees with the driver's to rounding, and the series of weights to
    // some tenths of a per cent; the driver's own is the one on which its corner lies.
    constexpr double weightsPerDecade = 4.0;
    const double exponent =
        std::round(weightsPerDecade * std::log10(corner / base)) / weightsPerDecade;
    base = corner / std::pow(10.0, exponent);
  }
  constexpr int weightCount = 17;
  for (int i = 0; i < weightCount; ++i) {
    const double exponent = -2.0 + 0.25 * i;
    curve.points.push_back(pointAt(reduced, std::pow(10.0, exponent) * base, problem.scale()));
  }
  curve.used = pointAt(reduced, inversion.weight, problem.scale());
  const auto nearest = std::min_element(
      curve.points.begin(), curve.points.end(), [&](const LCurvePoint& a, const LCurvePoint& b) {
        return std::fabs(std::log(a.weight / corner)) < std::fabs(std::log(b.weight / corner));
      });
  curve.corner = static_cast<std::size_t>(nearest - curve.points.begin());
  return curve;
}

}  // namespace vorin::toolkit
