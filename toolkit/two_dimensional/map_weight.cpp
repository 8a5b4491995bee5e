#include "toolkit/two_dimensional/map_weight.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vorin::toolkit {

namespace {

/// The scaled columns have a mean squared norm of 1, which is where the path begins: no weight
/// of use lies above. Below the last nothing changes but rounding.
constexpr double firstWeight = 1.0;
constexpr double lastWeight = 1e-12;
/// A decade that lowers the sum of squares by less than this part of the surplus is the last.
constexpr double flatSlope = 0.25;
constexpr double aimReached = 1e-3;
constexpr int mostRefinements = 40;

struct Point {
  double weight;
  DualState state;
};

/// A path of solutions, each begun from the one before.
class Path {
 public:
  Path(const CompressedMap& map, const std::vector<double>& d,
       const std::function<bool(double)>& progress)
      : map_(map), d_(d), progress_(progress) {}

  /// Solves at `weight` from `state`.
  Point solve(double weight, DualState state, double tolerance = searchGap) {
    result.optimal = solveDual(map_, d_, weight, tolerance, state) && result.optimal;
    ++result.weights;
    return {weight, std::move(state)};
  }

  /// False when the caller of the search has cancelled it.
  bool goesOn(double part) {
    result.cancelled = result.cancelled || (progress_ && !progress_(part));
    return !result.cancelled;
  }

  WeightSearch result;

 private:
  const CompressedMap& map_;
  const std::vector<double>& d_;
  const std::function<bool(double)>& progress_;
};

/// Between `low` and `high`, whose sums of squares lie on either side of the aim: false position
/// in log w over log of the surplus, by the Illinois rule (Dowell and Jarratt, BIT 11, 168,
/// 1971), which always converges.
Point refine(Path& path, Point low, Point high, double least, double aim, int& steps) {
  const auto height = [&](const Point& point) {
    return std::log(std::max(point.state.squares - least, 1e-6 * (aim - least)) / (aim - least));
  };
  double below = height(low);
  double above = height(high);
  int side = 0;
  for (int count = 0; count < mostRefinements; ++count) {
    const double part = std::clamp(below / (below - above), 0.02, 0.98);
    const double weight = low.weight * std::pow(high.weight / low.weight, part);
    const Point& nearer = part < 0.5 ? low : high;
    DualState start = nearer.state;
    start.steps = 0;
    // In good data the penalty is most of the primal value: a loose gap would blur the sum of
    // squares by more than the search can bear.
    Point middle = path.solve(weight, std::move(start), optimalGap);
    steps += middle.state.steps;
    const double at = height(middle);
    if (std::fabs(middle.state.squares - aim) <= 0.1 * aimReached * aim ||
        high.weight <= low.weight * (1.0 + 1e-9)) {
      return middle;
    }
    if (at > 0.0) {
      high = std::move(middle);
      above = at;
      below *= side == 1 ? 0.5 : 1.0;
      side = 1;
    } else {
      low = std::move(middle);
      below = at;
      above *= side == -1 ? 0.5 : 1.0;
      side = -1;
    }
    if (!path.goesOn(0.9)) {
      return high;
    }
  }
  return high;
}

}  // namespace

WeightSearch searchSurplus(const CompressedMap& map, const std::vector<double>& d, double surplus,
                           double variance, const std::function<bool(double)>& progress) {
  const auto surplusOver = [&](double squares) {
    return surplus * std::max(variance, squares / map.rows());
  };
  Path path(map, d, progress);
  std::vector<Point> points;
  int steps = 0;
  DualState state;
  for (double weight = firstWeight; weight >= lastWeight; weight *= 0.1) {
    state.steps = 0;
    points.push_back(path.solve(weight, state));
    state = points.back().state;
    steps += state.steps;
    if (!path.goesOn(0.8 * std::log(weight) / std::log(lastWeight))) {
      break;
    }
    const std::size_t n = points.size();
    if (n > 1 &&
        points[n - 2].state.squares - state.squares < flatSlope * surplusOver(state.squares)) {
      break;
    }
  }
  const double least = state.squares;
  const double aim = least + surplusOver(least);
  // The sum of squares rises with the weight: the last point below the aim has one above it
  // beside it, unless even the first weight keeps below.
  std::size_t low = points.size() - 1;
  while (low > 0 && points[low - 1].state.squares <= aim) {
    --low;
  }
  Point found = points[low];
  if (low > 0 && !path.result.cancelled) {
    found = refine(path, points[low], points[low - 1], least, aim, steps);
  }
  WeightSearch result = std::move(path.result);
  result.reached = std::fabs(found.state.squares - aim) <= aimReached * aim;
  result.weight = found.weight;
  result.state = std::move(found.state);
  result.state.steps = steps;
  result.least = least;
  result.aim = aim;
  return result;
}

WeightSearch searchCorner(const CompressedMap& map, const std::vector<double>& d,
                          const std::function<bool(double)>& progress) {
  constexpr double weightRatio = 0.5623413251903491;  // a quarter of a decade
  constexpr double leastWeight = 1e-9;
  Path path(map, d, progress);
  std::vector<Point> points;
  std::vector<double> x;  // log |A F - d|
  std::vector<double> y;  // log |F|
  DualState state;
  for (double weight = firstWeight; weight >= leastWeight; weight *= weightRatio) {
    points.push_back(path.solve(weight, state));
    state = points.back().state;
    double size = 0.0;
    for (double f : state.F) {
      size += f * f;
    }
    if (!(state.squares > 0.0) || !(size > 0.0) ||
        !path.goesOn(std::log(weight) / std::log(leastWeight))) {
      break;
    }
    x.push_back(0.5 * std::log(state.squares));
    y.push_back(0.5 * std::log(size));
  }
  std::size_t best = points.size() - 1;
  double sharpest = 0.0;
  for (std::size_t i = 1; i + 1 < x.size(); ++i) {
    // Curvature of the circle through three neighbours, positive where the path, on its way to
    // smaller weights, turns from falling residual to growing map.
    const double ax = x[i] - x[i - 1];
    const double ay = y[i] - y[i - 1];
    const double bx = x[i + 1] - x[i];
    const double by = y[i + 1] - y[i];
    const double lengths = std::hypot(ax, ay) * std::hypot(bx, by) * std::hypot(ax + bx, ay + by);
    const double curvature = lengths > 0.0 ? -2.0 * (ax * by - ay * bx) / lengths : 0.0;
    if (curvature > sharpest) {
      sharpest = curvature;
      best = i;
    }
  }
  const int steps = state.steps;
  WeightSearch result = std::move(path.result);
  result.weight = points[best].weight;
  result.state = std::move(points[best].state);
  result.state.steps = steps;
  result.least = state.squares;
  result.aim = result.state.squares;
  result.reached = sharpest > 0.0;
  return result;
}

}  // namespace vorin::toolkit
