#include "reduce/pivoted_cholesky.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
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
      packed_(area((size() + panelRows - 1) / panelRows * panelRows, blockRows)),
      block_(area(size(), size())),
      sum_(block_.size()) {}

void ExtendedGram::add(int m, const float* K, int ldK, const float* d) {
  for (int first = 0; first < m; first += blockRows) {
    const int rows = std::min(blockRows, m - first);
    for (int j = 0; j < size(); j += panelRows) {
      pack({K + first, std::ptrdiff_t{ldK}}, d + first, rows, j, packed_.data() + area(j, rows));
    }
    kernels::table<double>().gramOfSingles(size(), rows, packed_.data(), block_.data());
    std::transform(sum_.begin(), sum_.end(), block_.begin(), sum_.begin(), std::plus<>());
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
