#include "brd/rank_factor.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// The factor ends where the squared norm that is left of each column is below this share of the
// largest. Elements of single precision are rounded by 3e-8, and below the square of that share
// nearly all columns would be needed.
constexpr double smallestPivot = 2e-14;

// Below this many columns a factorisation of all is as cheap.
constexpr int fewestColumns = 12;

constexpr int padded(int n) {
  constexpr int padding = kernels::rowPadding<double>;
  return (n + padding - 1) / padding * padding;
}

// The rows of R one after the other, each what is left of the column of K'K with most left.
// False where `mostRows` do not suffice.
bool formRows(int n, int mostRows, const double* KtK, RankFactor& factor) {
  const ColumnMajorView<const double> product{KtK, n};
  std::vector<double> left(length(n));
  for (int i = 0; i < n; ++i) {
    left[length(i)] = product(i, i);
  }
  factor.largest = *std::max_element(left.begin(), left.end());
  const double smallest = smallestPivot * factor.largest;
  if (!(smallest > 0.0) || !std::isfinite(smallest)) {
    return false;
  }
  const ColumnMajorView<double> rows{factor.byRows.data(), factor.paddedColumns};
  std::vector<double> earlier(length(mostRows));
  std::vector<int> all(length(mostRows));
  std::iota(all.begin(), all.end(), 0);
  AlignedVector<double> explained(length(factor.paddedColumns));
  for (;; ++factor.rank) {
    const auto pivot = std::max_element(left.begin(), left.end());
    if (!(*pivot > smallest)) {
      factor.left = std::accumulate(left.begin(), left.end(), 0.0, [](double sum, double value) {
        return sum + std::fabs(value);
      });
      return *pivot <= smallest;
    }
    if (factor.rank == mostRows) {
      return false;
    }
    const std::ptrdiff_t p = pivot - left.begin();
    for (int k = 0; k < factor.rank; ++k) {
      earlier[length(k)] = rows(p, k);
    }
    kernels::table<double>().combineColumns(factor.paddedColumns, factor.rank, all.data(),
                                            factor.byRows.data(), earlier.data(), explained.data());
    const double root = std::sqrt(*pivot);
    double* row = rows.column(factor.rank);
    for (std::ptrdiff_t i = 0; i < n; ++i) {
      row[i] = (product(i, p) - explained[length(i)]) / root;
      left[length(i)] -= row[i] * row[i];
    }
    left[length(p)] = 0.0;
  }
}

}  // namespace

RankFactor rankFactorOf(int n, const double* KtK) {
  RankFactor factor;
  if (n < fewestColumns) {
    return factor;
  }
  const int mostRows = n / 2;
  factor.columns = n;
  factor.paddedColumns = padded(n);
  factor.byRows.resize(area(factor.paddedColumns, padded(mostRows)), 0.0);
  if (!formRows(n, mostRows, KtK, factor)) {
    return {};
  }
  factor.padded = padded(factor.rank);
  factor.byRows.resize(area(factor.paddedColumns, factor.padded));
  factor.byColumns.resize(area(factor.padded, n));
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < factor.padded; ++k) {
      factor.byColumns[area(factor.padded, i) + length(k)] =
          factor.byRows[area(factor.paddedColumns, k) + length(i)];
    }
  }
  std::vector<int> all(length(n));
  std::iota(all.begin(), all.end(), 0);
  factor.square.resize(area(factor.padded, factor.padded), 0.0);
  kernels::table<double>().addOuterProducts(factor.padded, n, all.data(), factor.byColumns.data(),
                                            1.0, factor.square.data());
  return factor;
}

}  // namespace vorin::brd
