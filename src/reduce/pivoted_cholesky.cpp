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
#include "toolbox/views.hpp"

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

ExtendedGram::ExtendedGram(int m, int n, const float* K, int ldK, const float* d)
    : n_(n),
      K_(K),
      ldK_(ldK),
      d_(d),
      packed_(area((size() + panelRows - 1) / panelRows * panelRows, blockRows)),
      block_(area(size(), size())),
      sum_(block_.size()) {
  for (int r = 0; r < m; r += blockRows) {
    add(r, std::min(blockRows, m - r));
  }
}

const float* ExtendedGram::column(int j) const {
  return j < n_ ? ColumnMajorView<const float>{K_, ldK_}.column(j) : d_;
}

void ExtendedGram::add(int firstRow, int rows) {
  for (int j = 0; j < size(); j += panelRows) {
    pack(firstRow, rows, j, packed_.data() + area(j, rows));
  }
  kernels::table<double>().gramOfSingles(size(), rows, packed_.data(), block_.data());
  std::transform(sum_.begin(), sum_.end(), block_.begin(), sum_.begin(), std::plus<>());
}

// The rows of the columns from j on, a panel of them; zeros past the last.
void ExtendedGram::pack(int firstRow, int rows, int j, double* out) const {
  if (j + panelRows <= n_) {
    kernels::table<double>().transposeSingles(rows, panelRows, column(j) + firstRow, ldK_, out,
                                              panelRows);
    return;
  }
  std::fill_n(out, area(rows, panelRows), 0.0);
  for (int c = 0; c < panelRows && j + c < size(); ++c) {
    const float* values = column(j + c) + firstRow;
    for (int i = 0; i < rows; ++i) {
      out[i * panelRows + c] = static_cast<double>(values[i]);
    }
  }
}

void ExtendedGram::leaveOut(int row) {
  std::vector<double> elements(length(size()));
  for (int j = 0; j < size(); ++j) {
    elements[length(j)] = static_cast<double>(column(j)[row]);
  }
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
  return m >= 1 && n >= 1 && ExtendedGram(m, n, K, ldK, d).factor(m, out);
}

}  // namespace vorin::reduce
