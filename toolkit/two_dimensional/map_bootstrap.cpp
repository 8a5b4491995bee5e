#include "toolkit/two_dimensional/map_bootstrap.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "toolkit/inverting/dual_newton.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/two_dimensional/map_problem.hpp"

namespace vorin::toolkit {

namespace {

/// What one standard deviation either way leaves out of a normal variate on each side.
constexpr double tailShare = 0.158655;

/// The cells of one peak or region, and what the replicates give there.
struct Part {
  std::vector<double> cells;  ///< the part of each cell, 0 to 1
  std::vector<double> share;
  std::vector<double> logMean1;
  std::vector<double> logMean2;

  void add(const MapView& map) {
    double sum = 0.0;
    double first = 0.0;
    double second = 0.0;
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
      const double amplitude = cells[cell] * map.amplitude[cell];
      if (amplitude > 0.0) {
        sum += amplitude;
        first += amplitude * std::log(map.grid1[cell / map.grid2.size()]);
        second += amplitude * std::log(map.grid2[cell % map.grid2.size()]);
      }
    }
    const double total = totalAmplitude(map);
    share.push_back(total > 0.0 ? sum / total : 0.0);
    if (sum > 0.0) {
      logMean1.push_back(std::exp(first / sum));
      logMean2.push_back(std::exp(second / sum));
    }
  }

  MapSpread spread() {
    const auto interval = [](std::vector<double>& values) {
      return MapInterval{quantile(values, tailShare), quantile(values, 1.0 - tailShare)};
    };
    return {interval(share), interval(logMean1), interval(logMean2)};
  }
};

std::vector<Part> partsOf(const MapView& map, const std::vector<MapRegion>& regions,
                          std::size_t& peakCount) {
  std::vector<int> peakOfCell;
  peakCount = mapPeaks(map, 0.005, &peakOfCell).size();
  std::vector<Part> parts(peakCount);
  for (std::size_t p = 0; p < peakCount; ++p) {
    for (int peak : peakOfCell) {
      parts[p].cells.push_back(peak == static_cast<int>(p) ? 1.0 : 0.0);
    }
  }
  for (const MapRegion& region : regions) {
    parts.push_back({cellParts(map, region), {}, {}, {}});
  }
  return parts;
}

/// The residuals of single samples without their mean.
std::vector<double> residualsOf(const std::vector<double>& samples,
                                const std::vector<double>& fit) {
  std::vector<double> residuals(samples.size());
  std::transform(samples.begin(), samples.end(), fit.begin(), residuals.begin(), std::minus<>());
  const double mean = std::accumulate(residuals.begin(), residuals.end(), 0.0) /
                      static_cast<double>(residuals.size());
  for (double& residual : residuals) {
    residual -= mean;
  }
  return residuals;
}

}  // namespace

MapBootstrap bootstrapMap(const MapData& data, const MapSettings& settings,
                          const MapInversion& inversion, const MapBootstrapSettings& options) {
  const std::vector<double> fit = mapFit(data, settings, inversion.distribution);
  const std::vector<double> residuals = residualsOf(data.samples, fit);
  const KernelFactor first = axisFactor(data, settings, 1);
  const KernelFactor second = axisFactor(data, settings, 2);
  const double scale2 = first.meanSquare * second.meanSquare;
  const double weight = inversion.weight / scale2;
  const CompressedMap problem = problemAt(weight, first, second);

  std::size_t peakCount = 0;
  std::vector<Part> parts = partsOf({inversion.grid1, inversion.grid2, inversion.distribution},
                                    options.regions, peakCount);
  // Every replicate begins at the multipliers of the inversion, (d - A F) / w.
  DualState begin;
  begin.c = problem.compressed(data.samples.data());
  const std::vector<double> compressedFit = problem.compressed(fit.data());
  for (std::size_t r = 0; r < begin.c.size(); ++r) {
    begin.c[r] = (begin.c[r] - compressedFit[r]) / weight;
  }
  std::mt19937_64 engine(options.seed);
  std::vector<double> drawn(fit.size());
  MapBootstrap result;
  for (int replicate = 0; replicate < options.replicates; ++replicate) {
    for (std::size_t i = 0; i < drawn.size(); ++i) {
      drawn[i] = fit[i] + residuals[static_cast<std::size_t>(engine() % residuals.size())];
    }
    DualState state = begin;
    if (solveDual(problem, problem.compressed(drawn.data()), weight, searchGap, state)) {
      ++result.replicates;
      for (Part& part : parts) {
        part.add({inversion.grid1, inversion.grid2, state.F});
      }
    }
    if (options.progress && !options.progress(replicate + 1)) {
      break;
    }
  }
  for (std::size_t p = 0; p < parts.size(); ++p) {
    (p < peakCount ? result.peaks : result.regions).push_back(parts[p].spread());
  }
  return result;
}

}  // namespace vorin::toolkit
