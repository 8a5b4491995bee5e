#include "reduce/pivoted_cholesky.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <iterator>
#include <limits>
#include <vector>

#include "toolbox/aligned.hpp"
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

std::size_t area(int rows, int columns) {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

// [K d]'[K d], of n + 1 rows, summed over blocks of rows.
class ExtendedGram {
 public:
  ExtendedGram(int n, const float* K, int ldK, const float* d)
      : n_(n),
        K_(K),
        ldK_(ldK),
        d_(d),
        packed_(area((size() + panelRows - 1) / panelRows * panelRows, blockRows)),
        block_(area(size(), size())),
        sum_(block_.size()) {}

  int size() const { return n_ + 1; }
  double at(int i, int j) const { return sum_[area(size(), j) + static_cast<std::size_t>(i)]; }
  const double* column(int j) const { return sum_.data() + area(size(), j); }

  void add(int firstRow, int rows) {
    for (int j = 0; j < size(); j += panelRows) {
      pack(firstRow, rows, j, packed_.data() + area(j, rows));
    }
    kernels::table<double>().gram(size(), rows, packed_.data(), block_.data());
    std::transform(sum_.begin(), sum_.end(), block_.begin(), sum_.begin(), std::plus<>());
  }

 private:
  // The rows of the columns from j on, a panel of them; zeros past the last.
  void pack(int firstRow, int rows, int j, double* out) const {
    const float* columns[panelRows] = {};
    for (int c = 0; c < panelRows && j + c < size(); ++c) {
      const float* column = j + c < n_ ? K_ + static_cast<std::ptrdiff_t>(j + c) * ldK_ : d_;
      columns[c] = column + firstRow;
    }
    if (columns[panelRows - 1] != nullptr) {
      for (int i = 0; i < rows; ++i) {
        for (int c = 0; c < panelRows; ++c) {
          out[i * panelRows + c] = static_cast<double>(columns[c][i]);
        }
      }
      return;
    }
    for (int i = 0; i < rows; ++i) {
      for (int c = 0; c < panelRows; ++c) {
        out[i * panelRows + c] = columns[c] != nullptr ? static_cast<double>(columns[c][i]) : 0.0;
      }
    }
  }

  int n_;
  const float* K_;
  std::ptrdiff_t ldK_;
  const float* d_;
  AlignedVector<double> packed_;
  std::vector<double> block_;
  std::vector<double> sum_;
};

// Row by row, the rows of R over all columns and that of d. Row k is what column p of the
// product has left after the rows before it, p being the column that has most left.
void factorPivoted(int n, int mostRows, const ExtendedGram& product, PivotedFactor& out) {
  const auto length = static_cast<std::size_t>(n) + 1;
  std::vector<double> left(length);
  for (int j = 0; j < n; ++j) {
    left[static_cast<std::size_t>(j)] = product.at(j, j);
  }
  const double smallest = smallestPivot * *std::max_element(left.begin(), left.end() - 1);
  std::vector<double> rows;
  for (int k = 0; k < mostRows; ++k) {
    const auto pivot = std::max_element(left.begin(), left.end() - 1);
    if (!(*pivot > smallest)) {
      break;
    }
    const auto p = static_cast<std::size_t>(pivot - left.begin());
    const double root = std::sqrt(*pivot);
    rows.insert(rows.end(), product.column(static_cast<int>(p)),
                product.column(static_cast<int>(p)) + length);
    double* row = rows.data() + static_cast<std::size_t>(k) * length;
    for (int l = 0; l < k; ++l) {
      const double* earlier = rows.data() + static_cast<std::size_t>(l) * length;
      const double factor = earlier[p];
      for (std::size_t j = 0; j < length; ++j) {
        row[j] -= factor * earlier[j];
      }
    }
    for (std::size_t j = 0; j < length; ++j) {
      row[j] /= root;
      left[j] -= row[j] * row[j];
    }
    left[p] = 0.0;
    out.projected.push_back(row[length - 1]);
    std::transform(row, row + n, std::back_inserter(out.transposed),
                   [](double value) { return static_cast<float>(value); });
    ++out.rank;
  }
}

}  // namespace

bool pivotedCholesky(int m, int n, const float* K, int ldK, const float* d, PivotedFactor& out) {
  out = PivotedFactor();
  if (m < 1 || n < 1) {
    return false;
  }
  ExtendedGram product(n, K, ldK, d);
  for (int r = 0; r < m; r += blockRows) {
    product.add(r, std::min(blockRows, m - r));
  }
  double largest = 0.0;
  for (int j = 0; j <= n; ++j) {
    const double square = product.at(j, j);
    if (!(square <= largestSquare)) {
      return false;
    }
    largest = j < n ? std::max(largest, square) : largest;
  }
  if (!(largest >= smallestSquare)) {
    return false;
  }
  factorPivoted(n, std::min(m, n), product, out);
  return true;
}

}  // namespace vorin::reduce
