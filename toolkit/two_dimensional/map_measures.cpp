#include "toolkit/two_dimensional/map_measures.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "toolkit/measures/bin_part.hpp"
#include "toolkit/measures/cumulative.hpp"

namespace vorin::toolkit {

namespace {

constexpr double prominence = 0.2;
constexpr std::size_t noCell = std::numeric_limits<std::size_t>::max();

/// The vertex of the parabola over ln x through three neighbours, or the middle one at an end.
double vertex(const std::vector<double>& grid, std::size_t at, double before, double here,
              double after) {
  if (at == 0 || at + 1 == grid.size()) {
    return grid[at];
  }
  const double left = std::log(grid[at - 1]);
  const double middle = std::log(grid[at]);
  const double right = std::log(grid[at + 1]);
  const double slopeBefore = (here - before) / (middle - left);
  const double slopeAfter = (after - here) / (right - middle);
  const double curvature = (slopeAfter - slopeBefore) / (right - left);
  return curvature < 0.0 ? std::exp(0.5 * (left + middle) - slopeBefore / (2.0 * curvature))
                         : grid[at];
}

/// Cells joined to peaks: a forest in which each tree is one peak.
class PeakForest {
 public:
  PeakForest(const MapView& map, double leastSum)
      : map_(map),
        leastSum_(leastSum),
        parent_(map.amplitude.size(), noCell),
        sum_(map.amplitude.size(), 0.0) {}

  /// Takes a cell that is no higher than all taken before.
  void take(std::size_t cell) {
    std::vector<std::size_t> peaks;
    std::size_t highest = noCell;
    for (std::size_t neighbour : neighboursOf(cell)) {
      if (parent_[neighbour] != noCell) {
        const std::size_t peak = peakOf(neighbour);
        if (std::find(peaks.begin(), peaks.end(), peak) == peaks.end()) {
          peaks.push_back(peak);
        }
        if (highest == noCell || map_.amplitude[neighbour] > map_.amplitude[highest]) {
          highest = neighbour;
        }
      }
    }
    const std::size_t own = highest == noCell ? cell : peakOf(highest);
    parent_[cell] = own;
    sum_[own] += map_.amplitude[cell];
    const auto lower = [this](std::size_t a, std::size_t b) {
      return map_.amplitude[a] < map_.amplitude[b];
    };
    const std::size_t first =
        peaks.empty() ? noCell : *std::max_element(peaks.begin(), peaks.end(), lower);
    for (std::size_t peak : peaks) {
      if (peak != first && !standsOut(peak, map_.amplitude[cell])) {
        parent_[peak] = first;
        sum_[first] += sum_[peak];
      }
    }
  }

  /// The cell at the top of the peak that `cell` belongs to.
  std::size_t peakOf(std::size_t cell) {
    while (parent_[cell] != cell) {
      parent_[cell] = parent_[parent_[cell]];
      cell = parent_[cell];
    }
    return cell;
  }

  double sumOf(std::size_t peak) const { return sum_[peak]; }

 private:
  bool standsOut(std::size_t peak, double saddle) const {
    return map_.amplitude[peak] - saddle >= prominence * map_.amplitude[peak] &&
           sum_[peak] >= leastSum_;
  }

  std::vector<std::size_t> neighboursOf(std::size_t cell) const {
    const std::size_t columns = map_.grid2.size();
    const std::size_t i = cell / columns;
    const std::size_t k = cell % columns;
    std::vector<std::size_t> result;
    for (std::size_t row = i == 0 ? 0 : i - 1; row <= std::min(i + 1, map_.grid1.size() - 1);
         ++row) {
      for (std::size_t column = k == 0 ? 0 : k - 1; column <= std::min(k + 1, columns - 1);
           ++column) {
        if (row != i || column != k) {
          result.push_back(row * columns + column);
        }
      }
    }
    return result;
  }

  const MapView& map_;
  double leastSum_;
  std::vector<std::size_t> parent_;
  std::vector<double> sum_;
};

/// Amplitude-weighted moments of a logarithm.
struct Moments {
  double sum = 0.0;
  double first = 0.0;
  double second = 0.0;

  void add(double value, double weight) {
    sum += weight;
    first += weight * std::log10(value);
    second += weight * std::log10(value) * std::log10(value);
  }
  double logMean() const { return std::pow(10.0, first / sum); }
  double width() const {
    const double mean = first / sum;
    return std::sqrt(std::max(0.0, second / sum - mean * mean));
  }
};

/// The part of the bin of each grid value that lies between `from` and `to`.
std::vector<double> partsInside(const std::vector<double>& grid, double from, double to) {
  const std::vector<double> edges = logBinEdges(grid);
  std::vector<double> parts;
  parts.reserve(grid.size());
  for (std::size_t k = 0; k < grid.size(); ++k) {
    parts.push_back(partBelow(edges[k], edges[k + 1], std::log(to)) -
                    partBelow(edges[k], edges[k + 1], std::log(from)));
  }
  return parts;
}

}  // namespace

double totalAmplitude(const MapView& map) {
  return std::accumulate(map.amplitude.begin(), map.amplitude.end(), 0.0);
}

std::vector<double> projection1(const MapView& map) {
  std::vector<double> sums(map.grid1.size(), 0.0);
  for (std::size_t i = 0; i < sums.size(); ++i) {
    for (std::size_t k = 0; k < map.grid2.size(); ++k) {
      sums[i] += map.at(i, k);
    }
  }
  return sums;
}

std::vector<double> projection2(const MapView& map) {
  std::vector<double> sums(map.grid2.size(), 0.0);
  for (std::size_t i = 0; i < map.grid1.size(); ++i) {
    for (std::size_t k = 0; k < sums.size(); ++k) {
      sums[k] += map.at(i, k);
    }
  }
  return sums;
}

std::vector<MapPeak> mapPeaks(const MapView& map, double smallestShare, std::vector<int>* cells) {
  const double total = totalAmplitude(map);
  std::vector<std::size_t> order;
  for (std::size_t cell = 0; cell < map.amplitude.size(); ++cell) {
    if (map.amplitude[cell] > 0.0) {
      order.push_back(cell);
    }
  }
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return map.amplitude[a] > map.amplitude[b];
  });
  PeakForest forest(map, smallestShare * total);
  for (std::size_t cell : order) {
    forest.take(cell);
  }
  const std::size_t columns = map.grid2.size();
  std::vector<Moments> along1(map.amplitude.size());
  std::vector<Moments> along2(map.amplitude.size());
  for (std::size_t cell : order) {
    const std::size_t top = forest.peakOf(cell);
    along1[top].add(map.grid1[cell / columns], map.amplitude[cell]);
    along2[top].add(map.grid2[cell % columns], map.amplitude[cell]);
  }
  std::vector<MapPeak> peaks;
  std::vector<std::size_t> tops;
  for (std::size_t cell : order) {
    const double share = along1[cell].sum / total;
    if (forest.peakOf(cell) != cell || share < smallestShare) {
      continue;
    }
    const std::size_t i = cell / columns;
    const std::size_t k = cell % columns;
    const bool end1 = i == 0 || i + 1 == map.grid1.size();
    const bool end2 = k == 0 || k + 1 == columns;
    const double here = map.amplitude[cell];
    tops.push_back(cell);
    peaks.push_back(
        {vertex(map.grid1, i, end1 ? 0.0 : map.at(i - 1, k), here, end1 ? 0.0 : map.at(i + 1, k)),
         vertex(map.grid2, k, end2 ? 0.0 : map.at(i, k - 1), here, end2 ? 0.0 : map.at(i, k + 1)),
         share, along1[cell].logMean(), along2[cell].logMean(), along1[cell].width(),
         along2[cell].width(), end1 || end2});
  }
  std::vector<std::size_t> rank(peaks.size());
  std::iota(rank.begin(), rank.end(), std::size_t{0});
  std::stable_sort(rank.begin(), rank.end(),
                   [&](std::size_t a, std::size_t b) { return peaks[a].share > peaks[b].share; });
  std::vector<MapPeak> sorted;
  sorted.reserve(peaks.size());
  for (std::size_t index : rank) {
    sorted.push_back(peaks[index]);
  }
  if (cells != nullptr) {
    std::vector<int> indexOfTop(map.amplitude.size(), -1);
    for (std::size_t r = 0; r < rank.size(); ++r) {
      indexOfTop[tops[rank[r]]] = static_cast<int>(r);
    }
    cells->assign(map.amplitude.size(), -1);
    for (std::size_t cell : order) {
      (*cells)[cell] = indexOfTop[forest.peakOf(cell)];
    }
  }
  return sorted;
}

std::vector<double> cellParts(const MapView& map, const MapRegion& region) {
  std::vector<double> parts;
  parts.reserve(map.amplitude.size());
  const std::vector<double> along2 = partsInside(map.grid2, region.from2, region.to2);
  for (const double part : partsInside(map.grid1, region.from1, region.to1)) {
    for (const double other : along2) {
      parts.push_back(part * other);
    }
  }
  return parts;
}

double regionShare(const MapView& map, const MapRegion& region) {
  const std::vector<double> parts = cellParts(map, region);
  const double inside = std::inner_product(parts.begin(), parts.end(), map.amplitude.begin(), 0.0);
  const double total = totalAmplitude(map);
  return total > 0.0 ? inside / total : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace vorin::toolkit
