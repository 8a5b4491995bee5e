#include "reduce/pivoted_cholesky.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <vector>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"

namespace vorin::reduce {
namespace {

constexpr int panelRows = kernels::panelRows<double>;

// Rows that go into a product at a time: some hundred columns of them stay in the cache.
constexpr int blockRows = 128;

// Pivots, squared distances of columns, count above this share of the largest squared
// column norm: below it they are the rounding of the sums.
constexpr double smallestPivot = 8.0 * std::numeric_limits<double>::epsilon();

// Squared column norms whose roots are far from the limits of single precision.
constexpr double smallestSquare = 1e-60;
constexpr double largestSquare = 1e60;

// Row by row, the rows of R over all columns and that of d. Row k is what column p of the
// product has left after the rows before it, p being the column that has most left.
void factorPivoted(int n, int mostRows, ColumnMajorView<const double> product, PivotedFactor& out) {
  const std::ptrdiff_t columns = std::ptrdiff_t{n} + 1;
  std::vector<double> left(length(columns));
  for (std::ptrdiff_t j = 0; j < n; ++j) {
    left[length(j)] = product(j, j);
  }
  const double smallest = smallestPivot * *std::max_element(left.begin(), left.end() - 1);
  std::vector<double> rows;
  for (std::ptrdiff_t k = 0; k < mostRows; ++k) {
    const auto pivot = std::max_element(left.begin(), left.end() - 1);
    if (!(*pivot > smallest)) {
      break;
    }
    const std::ptrdiff_t p = pivot - left.begin();
    const double root = std::sqrt(*pivot);
    rows.insert(rows.end(), product.column(p), product.column(p) + columns);
    // Row k of R is contiguous.
    const ColumnMajorView<double> R{rows.data(), columns};
    double* row = R.column(k);
    for (std::ptrdiff_t l = 0; l < k; ++l) {
      const double* earlier = R.column(l);
      const double factor = earlier[p];
      for (std::ptrdiff_t j = 0; j < columns; ++j) {
        row[j] -= factor * earlier[j];
      }
    }
    double* remaining = left.data();
    for (std::ptrdiff_t j = 0; j < columns; ++j) {
      row[j] /= root;
      remaining[j] -= row[j] * row[j];
    }
    remaining[p] = 0.0;
    out.projected.push_back(row[n]);
    std::transform(row, row + n, std::back_inserter(out.transposed),
                   [](double value) { return static_cast<float>(value); });
    ++out.rank;
  }
}

}  // namespace

ExtendedGram::ExtendedGram(int n)
    : n_(n),
      packed_(area(panels() * panelRows, blockRows)),
      tiles_(area(panels() * (panels() + 1) / 2, panelRows * panelRows)),
      sum_(area(size(), size())) {}

int ExtendedGram::panels() const {
  return (size() + panelRows - 1) / panelRows;
}

// move(tile element, sum element) for the lower triangle and all of the tiles on the diagonal.
template <class Move>
void ExtendedGram::moveTiles(const Move& move) {
  const ColumnMajorView<double> sum{sum_.data(), size()};
  double* tile = tiles_.data();
  for (int s0 = 0; s0 < size(); s0 += panelRows) {
    for (int r0 = s0; r0 < size(); r0 += panelRows) {
      for (int s = s0; s < std::min(s0 + panelRows, size()); ++s) {
        for (int r = r0; r < std::min(r0 + panelRows, size()); ++r) {
          move(tile[(s - s0) * panelRows + r - r0], sum(r, s), sum(s, r));
        }
      }
      tile += panelRows * panelRows;
    }
  }
}

void ExtendedGram::add(int m, const float* K, int ldK, const float* d) {
  std::fill(tiles_.begin(), tiles_.end(), 0.0);
  moveTiles([](double& tile, double lower, double /*upper*/) { tile = lower; });
  for (int first = 0; first < m; first += blockRows) {
    const int rows = std::min(blockRows, m - first);
    for (int j = 0; j < size(); j += panelRows) {
      pack({K + first, std::ptrdiff_t{ldK}}, d + first, rows, j, packed_.data() + area(j, rows));
    }
    const int next = first + rows;
    addPacked(rows, {K + next, std::ptrdiff_t{ldK}}, std::min(blockRows, m - next));
  }
  moveTiles([](double tile, double& lower, double& upper) { lower = upper = tile; });
}

// The product of each block is summed by itself and then added. The block that follows is fetched
// meanwhile: a few lines of each column are too short a piece for the processor to see ahead.
void ExtendedGram::addPacked(int rows, ColumnMajorView<const float> next, int nextRows) {
  constexpr int line = 64 / static_cast<int>(sizeof(float));
  constexpr int forReading = 0;
  constexpr int soon = 2;
  double* tiles = tiles_.data();
  for (int q = 0; q < panels(); ++q) {
    for (int j = q * panelRows; j < std::min((q + 1) * panelRows, n_); ++j) {
      for (int i = 0; i < nextRows; i += line) {
        __builtin_prefetch(next.column(j) + i, forReading, soon);
      }
    }
    const int count = panels() - q;
    kernels::table<double>().addPanelProducts(count, rows,
                                              packed_.data() + area(q * panelRows, rows), tiles);
    tiles += area(count, panelRows * panelRows);
  }
}

// Rows of the columns from j on, a panel of them; zeros past the last.
void ExtendedGram::pack(ColumnMajorView<const float> K, const float* d, int rows, int j,
                        double* out) const {
  if (j + panelRows <= n_) {
    kernels::table<double>().transposeSingles(rows, panelRows, K.column(j), static_cast<int>(K.ld),
                                              out, panelRows);
    return;
  }
  std::fill_n(out, area(rows, panelRows), 0.0);
  for (int c = 0; c < panelRows && j + c < size(); ++c) {
    const float* values = j + c < n_ ? K.column(j + c) : d;
    for (int i = 0; i < rows; ++i) {
      out[i * panelRows + c] = static_cast<double>(values[i]);
    }
  }
}

void ExtendedGram::takeAway(const float* row, float datum) {
  std::vector<double> elements(row, row + n_);
  elements.push_back(static_cast<double>(datum));
  double* sum = sum_.data();
  for (const double other : elements) {
    for (const double element : elements) {
      *sum++ -= element * other;
    }
  }
}

bool ExtendedGram::factor(int mostRows, PivotedFactor& out) const {
  out = PivotedFactor();
  const ColumnMajorView<const double> elements{sum_.data(), size()};
  double largest = 0.0;
  for (int j = 0; j <= n_; ++j) {
    const double square = elements(j, j);
    if (!(square <= largestSquare)) {
      return false;
    }
    largest = j < n_ ? std::max(largest, square) : largest;
  }
  if (!(largest >= smallestSquare)) {
    return false;
  }
  factorPivoted(n_, std::min(mostRows, n_), elements, out);
  return true;
}

bool pivotedCholesky(int m, int n, const float* K, int ldK, const float* d, PivotedFactor& out) {
  out = PivotedFactor();
  if (m < 1 || n < 1) {
    return false;
  }
  ExtendedGram product(n);
  product.add(m, K, ldK, d);
  return product.factor(m, out);
}

}  // namespace vorin::reduce
