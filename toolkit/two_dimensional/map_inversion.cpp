#include "toolkit/two_dimensional/map_inversion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "toolkit/model/grid.hpp"
#include "toolkit/two_dimensional/map_problem.hpp"
#include "toolkit/two_dimensional/map_weight.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The last solution takes in rows whose s1 s2 is above this part of the root of the weight.
constexpr double partOfWeight = 3e-5;
/// Single kernels are cut here; smaller values are mostly rounding.
constexpr double kernelCut = 1e-7;
/// A sum of squares further from the aim than this part of it has not reached it.
constexpr double aimMissed = 0.01;
/// Samples beyond the rows from which the noise is told to better than a tenth.
constexpr double leastBeyond = 50.0;

double squaresOf(const std::vector<double>& values) {
  double sum = 0.0;
  for (double value : values) {
    sum += value * value;
  }
  return sum;
}

double samplesBeyond(const MapData& data, const std::vector<double>& d) {
  return static_cast<double>(data.samples.size()) - static_cast<double>(d.size());
}

/// Sets noise and its origin.
void setNoise(MapInversion& result, const MapData& data, const MapSettings& settings,
              const std::vector<double>& d) {
  const MapNoise noise = mapNoise(data, settings, d);
  result.noise = noise.value;
  result.noiseOrigin = noise.origin;
  if (noise.origin == MapNoiseOrigin::none && settings.mode == MapWeightMode::noise) {
    throw UserError(
        samplesBeyond(data, d) < leastBeyond
            ? fmt::format("the noise can't be told from {} samples, {} of which the fit takes up; "
                          "give it (--noise), or a weight (--weight)",
                          data.samples.size(), d.size())
            : "there is no noise in these samples; give it (--noise), or a weight (--weight)");
  }
}

/// The weight and the state it has on the rows of the search.
WeightSearch search(const CompressedMap& map, const std::vector<double>& d, double noise,
                    const MapSettings& settings) {
  if (settings.mode == MapWeightMode::noise) {
    return searchSurplus(map, d, aimSurplus, noise * noise, settings.progress);
  }
  if (settings.mode == MapWeightMode::corner) {
    return searchCorner(map, d, settings.progress);
  }
  WeightSearch result;
  result.weight = settings.weight / (map.scale() * map.scale());
  result.reached = true;
  result.weights = 1;
  // From a weight that is easily solved down to the one given.
  for (double weight = 1.0; weight > result.weight; weight *= 0.01) {
    solveDual(map, d, weight, searchGap, result.state);
  }
  result.optimal = solveDual(map, d, result.weight, optimalGap, result.state);
  return result;
}

double rootMeanSquare(double squares, int rows) {
  return std::sqrt(squares / rows);
}

/// The solution of the problem with all rows that matter.
struct WholeSolution {
  double weight = 0.0;   ///< scaled
  double squares = 0.0;  ///< what its map leaves on the rows of the search
  DualState state;
  bool optimal = true;
};

/// Solves the whole problem at the weight of the search, and, where a search by the noise aimed at
/// a sum of squares, at the weight nearby that reaches it: the further rows bind the map a little
/// in good data. Secant steps in log w over the log of the surplus, which rises about as w does.
WholeSolution solveWhole(const CompressedMap& map, const std::vector<double>& d,
                         const CompressedMap& whole, const std::vector<double>& dWhole,
                         const WeightSearch& found, bool hasAim) {
  constexpr int mostSteps = 8;
  constexpr double closeEnough = 2e-4;
  WholeSolution best;
  best.state.c = whole.spread(map, found.state.c);
  DualState state = best.state;
  std::vector<double> fit(d.size());
  double weight = found.weight;
  double slope = 1.0;
  double before = 0.0;
  double distance = 0.0;
  double beforeWeight = 0.0;
  for (int step = 0; step < mostSteps; ++step) {
    const bool optimal = solveDual(whole, dWhole, weight, optimalGap, state);
    map.times(state.F.data(), fit.data());
    double squares = 0.0;
    for (std::size_t r = 0; r < d.size(); ++r) {
      squares += (fit[r] - d[r]) * (fit[r] - d[r]);
    }
    if (step == 0 || std::fabs(squares - found.aim) < std::fabs(best.squares - found.aim)) {
      best = {weight, squares, state, optimal};
    }
    if (!hasAim || std::fabs(squares - found.aim) <= closeEnough * found.aim) {
      break;
    }
    const double aimed = found.aim - found.least;
    distance = std::log(std::max(squares - found.least, 1e-6 * aimed) / aimed);
    if (step > 0 && weight != beforeWeight) {
      slope = std::clamp((distance - before) / std::log(weight / beforeWeight), 0.2, 5.0);
    }
    before = distance;
    beforeWeight = weight;
    weight *= std::exp(std::clamp(-distance / slope, -2.0, 2.0));
  }
  best.state.steps = state.steps;
  return best;
}

MapStatus statusOf(const WeightSearch& found, const DualState& state, bool optimal) {
  if (found.cancelled) {
    return MapStatus::cancelled;
  }
  if (!optimal || !found.optimal) {
    return MapStatus::notOptimal;
  }
  const bool isEmpty =
      std::none_of(state.F.begin(), state.F.end(), [](double f) { return f > 0.0; });
  if (isEmpty) {
    return MapStatus::empty;
  }
  return found.reached ? MapStatus::success : MapStatus::aimNotReached;
}

}  // namespace

std::string_view mapStatusText(MapStatus status) {
  switch (status) {
    case MapStatus::success:
      return "success";
    case MapStatus::notOptimal:
      return "the iteration ended before the map was optimal";
    case MapStatus::aimNotReached:
      return "no weight brings the standard error to the one wanted";
    case MapStatus::empty:
      return "the best map is 0 everywhere; look at the kernels and the sign of the data";
    case MapStatus::cancelled:
      break;
  }
  return "cancelled";
}

std::string_view weightOriginWord(MapWeightMode mode) {
  return mode == MapWeightMode::noise    ? "noise"
         : mode == MapWeightMode::corner ? "corner"
                                         : "given";
}

std::string_view noiseOriginWord(MapNoiseOrigin origin) {
  switch (origin) {
    case MapNoiseOrigin::given:
      return "given";
    case MapNoiseOrigin::projection:
      return "projection";
    case MapNoiseOrigin::quadrature:
      return "quadrature";
    case MapNoiseOrigin::none:
      break;
  }
  return "";
}

std::vector<double> mapKernel(Kernel kernel, const std::vector<double>& times,
                              const std::vector<double>& grid) {
  std::vector<double> values;
  values.reserve(times.size() * grid.size());
  for (double T : grid) {
    for (double t : times) {
      values.push_back(kernelValue(kernel, t, T));
    }
  }
  return values;
}

std::vector<double> axisKernel(const MapData& data, const MapSettings& settings, int axis) {
  const auto& matrix = axis == 1 ? settings.matrix1 : settings.matrix2;
  if (matrix) {
    return *matrix;
  }
  return axis == 1 ? mapKernel(settings.kernel1, data.times1, settings.grid1)
                   : mapKernel(settings.kernel2, data.times2, settings.grid2);
}

KernelFactor axisFactor(const MapData& data, const MapSettings& settings, int axis) {
  const std::size_t samples = (axis == 1 ? data.times1 : data.times2).size();
  const std::size_t grid = (axis == 1 ? settings.grid1 : settings.grid2).size();
  return factorKernel(axisKernel(data, settings, axis), static_cast<int>(samples),
                      static_cast<int>(grid), kernelCut);
}

CompressedMap problemAt(double weight, const KernelFactor& first, const KernelFactor& second) {
  const double scale = std::sqrt(first.meanSquare * second.meanSquare);
  const double largest = first.values.front() * second.values.front() / scale;
  const double cut = std::min(searchCut, partOfWeight * std::sqrt(weight) / largest);
  return {first, second, std::max(cut, kernelCut)};
}

std::vector<double> mapGridFor(const std::vector<double>& times, Kernel kernel) {
  constexpr int pointCount = 64;
  const double first = times.front() > 0.0 ? times.front() : times.at(1);
  return kernel == Kernel::diffusion
             ? LogGrid{1.0 / (3.0 * times.back()), 1.0 / first, pointCount}.times()
             : LogGrid{first, 3.0 * times.back(), pointCount}.times();
}

MapNoise mapNoise(const MapData& data, const MapSettings& settings, const std::vector<double>& d) {
  if (settings.noise) {
    return {*settings.noise, MapNoiseOrigin::given};
  }
  if (settings.quadrature && data.quadratureNoise) {
    return {*data.quadratureNoise, MapNoiseOrigin::quadrature};
  }
  const double beyond = samplesBeyond(data, d);
  const double all = squaresOf(data.samples);
  const double left = all - squaresOf(d);
  // Below the rounding of the two sums the difference says nothing: computed data.
  if (beyond < leastBeyond || left <= 1e-13 * all) {
    return {};
  }
  return {std::sqrt(left / beyond), MapNoiseOrigin::projection};
}

MapInversion invertMap(const MapData& data, const MapSettings& settings) {
  requireUsable(data, settings);
  const KernelFactor first = axisFactor(data, settings, 1);
  const KernelFactor second = axisFactor(data, settings, 2);
  const CompressedMap map(first, second, searchCut);
  const std::vector<double> d = map.compressed(data.samples.data());

  MapInversion result;
  result.grid1 = settings.grid1;
  result.grid2 = settings.grid2;
  result.mode = settings.mode;
  setNoise(result, data, settings, d);
  WeightSearch found = search(map, d, result.noise, settings);

  const CompressedMap whole = problemAt(found.weight, first, second);
  const std::vector<double> dWhole = whole.compressed(data.samples.data());
  const bool hasAim = settings.mode == MapWeightMode::noise && found.reached;
  WholeSolution solution = solveWhole(map, d, whole, dWhole, found, hasAim);
  found.reached = found.reached &&
                  (!hasAim || std::fabs(solution.squares - found.aim) <= aimMissed * found.aim);
  result.rows = map.rows();
  result.error = rootMeanSquare(solution.squares, result.rows);
  if (settings.mode == MapWeightMode::noise) {
    result.wantedError = rootMeanSquare(found.aim, result.rows);
    result.closestError = rootMeanSquare(found.least, result.rows);
  }
  result.weight = solution.weight * map.scale() * map.scale();
  result.weights = found.weights;
  result.steps = found.state.steps + solution.state.steps;
  result.gap = solution.state.gap;
  result.status = statusOf(found, solution.state, solution.optimal);
  result.distribution = std::move(solution.state.F);
  for (double& f : result.distribution) {
    f /= map.scale();
  }
  return result;
}

std::vector<double> mapFit(const MapData& data, const MapSettings& settings,
                           const std::vector<double>& distribution) {
  const std::vector<double> K1 = axisKernel(data, settings, 1);
  const std::vector<double> K2 = axisKernel(data, settings, 2);
  const std::size_t n1 = data.times1.size();
  const std::size_t n2 = data.times2.size();
  const std::size_t grid1 = settings.grid1.size();
  const std::size_t grid2 = settings.grid2.size();
  std::vector<double> half(n1 * grid2, 0.0);  // K1 F
  for (std::size_t i = 0; i < n1; ++i) {
    for (std::size_t a = 0; a < grid1; ++a) {
      const double factor = K1[a * n1 + i];
      for (std::size_t b = 0; b < grid2; ++b) {
        half[i * grid2 + b] += factor * distribution[a * grid2 + b];
      }
    }
  }
  std::vector<double> fit(n1 * n2, 0.0);
  for (std::size_t i = 0; i < n1; ++i) {
    for (std::size_t b = 0; b < grid2; ++b) {
      const double factor = half[i * grid2 + b];
      if (factor != 0.0) {
        for (std::size_t j = 0; j < n2; ++j) {
          fit[i * n2 + j] += factor * K2[b * n2 + j];
        }
      }
    }
  }
  return fit;
}

}  // namespace vorin::toolkit
