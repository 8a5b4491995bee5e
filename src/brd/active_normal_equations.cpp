#include "brd/active_normal_equations.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// The weights for which this form is used, as multiples of the mean squared column norm.
// Nearer to either end of the range of a double more digits are lost than a solve can spare.
constexpr double leastShare = 1e-6;
constexpr double largestShare = 1e10;

// The columns of K as rows of panels, for the gram kernel: one row of K fills a cache line
// in each panel.
AlignedVector<double> packTransposed(int m, int padded, const double* kernelByRows) {
  constexpr int rows = kernels::panelRows<double>;
  AlignedVector<double> packed(area(padded, m));
  const ColumnMajorView<const double> rowsOfK{kernelByRows, padded};
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < padded; i += rows) {
      const ColumnMajorView<double> panel{packed.data() + area(i, m), rows};
      std::copy_n(&rowsOfK(i, j), rows, panel.column(j));
    }
  }
  return packed;
}

}  // namespace

ActiveNormalEquations::ActiveNormalEquations(int m, int n, const double* K,
                                             const double* kernelByRows)
    : m_(m), n_(n), K_(K), gram_(area(n, n)) {
  constexpr int padding = kernels::rowPadding<double>;
  static_assert(padding == kernels::panelRows<double>);
  const int padded = (n + padding - 1) / padding * padding;
  kernels::table<double>().gram(n, m, packTransposed(m, padded, kernelByRows).data(), gram_.data());
  const ColumnMajorView<const double> KtK{gram_.data(), n};
  for (int i = 0; i < n; ++i) {
    meanSquare_ += KtK(i, i);
  }
  meanSquare_ /= static_cast<double>(n);
}

bool ActiveNormalEquations::applies(double weight) const {
  return weight > 0.0 && weight >= leastShare * meanSquare_ && weight <= largestShare * meanSquare_;
}

double ActiveNormalEquations::relativeRounding(double weight) const {
  constexpr double operations = 4.0;  // that round: sums, factors, solve and difference
  const double trace = meanSquare_ * static_cast<double>(n_);
  return operations * std::numeric_limits<double>::epsilon() * (1.0 + trace / weight);
}

void ActiveNormalEquations::factor(const std::vector<int>& active, double weight) {
  active_ = active;
  weight_ = weight;
  const int count = static_cast<int>(active.size());
  factors_.resize(area(count, count));
  pivots_.resize(active.size());
  z_.resize(active.size());
  // Active columns form a few ranges of neighbours.
  ranges_.clear();
  for (const int i : active) {
    if (ranges_.empty() || i != ranges_.back().first + ranges_.back().length) {
      ranges_.push_back({i, 0});
    }
    ++ranges_.back().length;
  }
  const ColumnMajorView<const double> KtK{gram_.data(), n_};
  const ColumnMajorView<double> block{factors_.data(), count};
  double* out = factors_.data();
  for (int q = 0; q < count; ++q) {
    const double* column = KtK.column(active[static_cast<std::size_t>(q)]);
    for (const ColumnRange range : ranges_) {
      out = std::copy_n(column + range.first, range.length, out);
    }
    block(q, q) += weight;
  }
  getrf(count, factors_.data(), count, pivots_.data());
}

void ActiveNormalEquations::solve(const double* right, const double* projected, double* x) {
  const int count = static_cast<int>(active_.size());
  std::transform(active_.begin(), active_.end(), z_.begin(),
                 [projected](int i) { return projected[i]; });
  getrs(count, factors_.data(), count, pivots_.data(), z_.data());
  kernels::table<double>().combineColumns(m_, count, active_.data(), K_, z_.data(), x);
  for (int j = 0; j < m_; ++j) {
    x[j] = (right[j] - x[j]) / weight_;
  }
}

}  // namespace vorin::brd
