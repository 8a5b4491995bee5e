#include "toolkit/two_dimensional/kernel_factor.hpp"

#include <algorithm>
#include <numeric>

#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

std::size_t at(int index) {
  return static_cast<std::size_t>(index);
}

/// Fills the forms of S V' that are made from `rows`.
void setDerivedForms(KernelFactor& factor) {
  const std::size_t rank = at(factor.rank);
  const std::size_t width = at(factor.width());
  const std::size_t pairs = at(factor.pairs());
  factor.columns.assign(width * at(factor.grid), 0.0);
  factor.products.assign(pairs * at(factor.grid), 0.0);
  for (std::size_t k = 0; k < at(factor.grid); ++k) {
    double* column = factor.columns.data() + k * width;
    double* product = factor.products.data() + k * pairs;
    for (std::size_t p = 0; p < rank; ++p) {
      column[p] = factor.rows[p * at(factor.grid) + k];
      for (std::size_t q = 0; q <= p; ++q) {
        *product++ = column[p] * column[q];
      }
    }
  }
}

/// U = K V / S. Its columns are orthonormal to rounding over their singular value: for the cuts
/// in use better than 1e-8, for a small part of the cost of U from the decomposition.
void setLeft(KernelFactor& factor, const std::vector<double>& kernel,
             const std::vector<double>& inverse) {
  const std::size_t m = at(factor.samples);
  const std::size_t n = at(factor.grid);
  const std::size_t width = at(factor.width());
  std::vector<int> all(n);
  std::iota(all.begin(), all.end(), 0);
  std::vector<double> row(n);
  factor.left.resize(m * width);
  for (std::size_t i = 0; i < m; ++i) {
    for (std::size_t k = 0; k < n; ++k) {
      row[k] = kernel[k * m + i];
    }
    kernels::table<double>().combineColumns(factor.width(), factor.grid, all.data(), inverse.data(),
                                            row.data(), factor.left.data() + i * width);
  }
}

}  // namespace

KernelFactor factorKernel(const std::vector<double>& kernel, int samples, int grid, double cut) {
  const std::size_t m = at(samples);
  const std::size_t n = at(grid);
  const std::size_t all = std::min(m, n);
  std::vector<double> destroyed = kernel;
  std::vector<double> values(all);
  std::vector<double> vt(all * n);
  if (!gesvdShort(samples, grid, destroyed.data(), values.data(), nullptr, vt.data())) {
    throw UserError(
        "the singular values of a kernel can't be computed; look at its times and grid");
  }
  KernelFactor factor;
  factor.samples = samples;
  factor.grid = grid;
  const auto kept = std::partition_point(values.begin() + 1, values.end(),
                                         [&](double s) { return s > cut * values.front(); });
  values.erase(kept, values.end());
  factor.rank = static_cast<int>(values.size());
  factor.values = values;
  for (double value : kernel) {
    factor.meanSquare += value * value / static_cast<double>(n);
  }
  const std::size_t rank = values.size();
  factor.rows.resize(rank * n);
  const std::size_t width = at(factor.width());
  std::vector<double> inverse(width * n, 0.0);  // V / S, (k, p) at k * width + p
  for (std::size_t p = 0; p < rank; ++p) {
    for (std::size_t k = 0; k < n; ++k) {
      factor.rows[p * n + k] = values[p] * vt[k * all + p];
      inverse[k * width + p] = vt[k * all + p] / values[p];
    }
  }
  setLeft(factor, kernel, inverse);
  setDerivedForms(factor);
  return factor;
}

KernelFactor truncated(const KernelFactor& factor, int rank) {
  KernelFactor result;
  result.samples = factor.samples;
  result.grid = factor.grid;
  result.rank = rank;
  result.meanSquare = factor.meanSquare;
  result.values.assign(factor.values.begin(), factor.values.begin() + rank);
  for (int i = 0; i < factor.samples; ++i) {
    const auto row = factor.left.begin() + static_cast<std::ptrdiff_t>(i) * factor.width();
    result.left.insert(result.left.end(), row, row + rank);
    result.left.resize(at(i + 1) * at(result.width()), 0.0);
  }
  result.rows.assign(factor.rows.begin(),
                     factor.rows.begin() + static_cast<std::ptrdiff_t>(rank) * factor.grid);
  setDerivedForms(result);
  return result;
}

}  // namespace vorin::toolkit
