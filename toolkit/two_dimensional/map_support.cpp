#include "toolkit/two_dimensional/map_support.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "toolkit/model/grid.hpp"
#include "toolkit/two_dimensional/map_problem.hpp"
#include "toolkit/two_dimensional/map_weight.hpp"

namespace vorin::toolkit {

namespace {

/// Values of an axis that tell a range well enough.
constexpr int coarsePoints = 32;
/// A cut that raises the functional by this many noise variances takes signal away.
constexpr double significant = 6.0;
constexpr double leastWidening = 0.3;  ///< decades
constexpr double partOfWidth = 0.25;
constexpr int fewestPoints = 2;

/// Cells first1 .. last1 by first2 .. last2 of a map, bounds included.
struct Box {
  int first1;
  int last1;
  int first2;
  int last2;
};

/// `factor` with columns of zeros outside first .. last: cells that stay 0.
KernelFactor within(KernelFactor factor, int first, int last) {
  for (int k = 0; k < factor.grid; ++k) {
    if (k >= first && k <= last) {
      continue;
    }
    for (int p = 0; p < factor.rank; ++p) {
      *(factor.rows.begin() + std::ptrdiff_t{p} * factor.grid + k) = 0.0;
    }
    std::fill_n(factor.columns.begin() + std::ptrdiff_t{k} * factor.width(), factor.width(), 0.0);
    std::fill_n(factor.products.begin() + std::ptrdiff_t{k} * factor.pairs(), factor.pairs(), 0.0);
  }
  return factor;
}

/// The coarse problem at one weight, on boxes of its grid.
class Narrowing {
 public:
  Narrowing(KernelFactor first, KernelFactor second, const std::vector<double>& d, double weight,
            double variance, DualState state)
      : first_(std::move(first)),
        second_(std::move(second)),
        d_(d),
        weight_(weight),
        variance_(variance),
        state_(std::move(state)),
        box_{0, first_.grid - 1, 0, second_.grid - 1} {
    functional_ = solve(box_, state_);
  }

  /// Moves one end of the box inwards as far as nothing significant is lost: bisection, since the
  /// functional rises with every column that is cut.
  void cut(int Box::*end, int limit) {
    int kept = box_.*end;
    int lost = limit;
    std::optional<Step> best;
    while (std::abs(lost - kept) > 1) {
      Box trial = box_;
      trial.*end = (kept + lost) / 2;
      DualState state = best ? best->state : state_;
      const double functional = solve(trial, state);
      if (functional - functional_ < significant * variance_) {
        kept = trial.*end;
        best = Step{functional, std::move(state)};
      } else {
        lost = trial.*end;
      }
    }
    if (best) {
      box_.*end = kept;
      functional_ = best->functional;
      state_ = std::move(best->state);
    }
  }

  const Box& box() const { return box_; }

 private:
  struct Step {
    double functional;
    DualState state;
  };

  double solve(const Box& box, DualState& state) const {
    constexpr double gap = 1e-8;
    const CompressedMap map(within(first_, box.first1, box.last1),
                            within(second_, box.first2, box.last2), searchCut);
    solveDual(map, d_, weight_, gap, state);
    double penalty = 0.0;
    for (const double f : state.F) {
      penalty += f * f;
    }
    return state.squares + weight_ * penalty;
  }

  KernelFactor first_;
  KernelFactor second_;
  const std::vector<double>& d_;
  double weight_;
  double variance_;
  DualState state_;
  Box box_;
  double functional_ = 0.0;
};

/// As many values over first .. last of `coarse`, widened within the range of `grid`.
std::vector<double> widened(const std::vector<double>& grid, const std::vector<double>& coarse,
                            int first, int last) {
  const double from = coarse[static_cast<std::size_t>(first)];
  const double to = coarse[static_cast<std::size_t>(last)];
  const double factor =
      std::pow(10.0, std::max(leastWidening, partOfWidth * std::log10(to / from)));
  return LogGrid{std::max(grid.front(), from / factor), std::min(grid.back(), to * factor),
                 static_cast<int>(grid.size())}
      .times();
}

}  // namespace

void narrowGrids(const MapData& data, MapSettings& settings, MapAxes axes) {
  MapSettings coarse = settings;
  for (const auto& [wanted, grid] :
       {std::pair{axes.first, &coarse.grid1}, std::pair{axes.second, &coarse.grid2}}) {
    if (wanted) {
      *grid = LogGrid{grid->front(), grid->back(), coarsePoints}.times();
    }
  }
  KernelFactor first = axisFactor(data, coarse, 1);
  KernelFactor second = axisFactor(data, coarse, 2);
  const CompressedMap map(first, second, searchCut);
  const std::vector<double> d = map.compressed(data.samples.data());
  const MapNoise noise = mapNoise(data, settings, d);
  if (noise.origin == MapNoiseOrigin::none) {
    return;
  }
  WeightSearch found = searchSurplus(map, d, aimSurplus, noise.value * noise.value, {});
  const double variance = std::max(noise.value * noise.value, found.least / map.rows());
  Narrowing narrowing(std::move(first), std::move(second), d, found.weight, variance,
                      std::move(found.state));
  if (axes.second) {
    narrowing.cut(&Box::first2, narrowing.box().last2 - fewestPoints + 1);
    narrowing.cut(&Box::last2, narrowing.box().first2 + fewestPoints - 1);
  }
  if (axes.first) {
    narrowing.cut(&Box::first1, narrowing.box().last1 - fewestPoints + 1);
    narrowing.cut(&Box::last1, narrowing.box().first1 + fewestPoints - 1);
  }
  const Box& box = narrowing.box();
  if (axes.first) {
    settings.grid1 = widened(settings.grid1, coarse.grid1, box.first1, box.last1);
  }
  if (axes.second) {
    settings.grid2 = widened(settings.grid2, coarse.grid2, box.first2, box.last2);
  }
}

}  // namespace vorin::toolkit
