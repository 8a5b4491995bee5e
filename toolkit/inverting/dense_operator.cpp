#include "toolkit/inverting/dense_operator.hpp"

#include <algorithm>
#include <numeric>

#include "toolbox/kernels/kernels.hpp"

namespace vorin::toolkit {

namespace {

std::size_t at(int index) {
  return static_cast<std::size_t>(index);
}

int filledUp(int count, int step) {
  return (count + step - 1) / step * step;
}

}  // namespace

DenseOperator::DenseOperator(const std::vector<double>& K, int rows)
    : rows_(rows),
      columns_(static_cast<int>(K.size() / at(rows))),
      stride_(filledUp(columns_, kernels::rowPadding<double>)),
      columnMajor_(K),
      rowMajor_(at(rows) * at(stride_), 0.0) {
  for (int k = 0; k < columns_; ++k) {
    for (int r = 0; r < rows_; ++r) {
      rowMajor_[at(r) * at(stride_) + at(k)] = columnMajor_[at(k) * at(rows_) + at(r)];
    }
  }
}

void DenseOperator::transposeTimes(const double* c, double* F) const {
  kernels::table<double>().combineRows(rows_, stride_, rowMajor_.data(), c, F);
}

std::vector<int> DenseOperator::positive(const double* F) const {
  std::vector<int> result;
  for (int k = 0; k < columns_; ++k) {
    if (F[k] > 0.0) {
      result.push_back(k);
    }
  }
  return result;
}

void DenseOperator::times(const double* F, double* y) const {
  const std::vector<int> columns = positive(F);
  std::vector<double> values(columns.size());
  std::transform(columns.begin(), columns.end(), values.begin(), [&](int k) { return F[k]; });
  kernels::table<double>().combineColumns(rows_, static_cast<int>(columns.size()), columns.data(),
                                          columnMajor_.data(), values.data(), y);
}

void DenseOperator::gram(const double* F, double* G) const {
  constexpr int panel = kernels::panelRows<double>;
  const std::vector<int> columns = positive(F);
  std::vector<double> packed(at(filledUp(rows_, panel)) * columns.size(), 0.0);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const double* const column = columnMajor_.data() + at(columns[i]) * at(rows_);
    for (int first = 0; first < rows_; first += panel) {
      std::copy(column + first, column + std::min(first + panel, rows_),
                packed.data() + (at(first / panel) * columns.size() + i) * at(panel));
    }
  }
  kernels::table<double>().gram(rows_, static_cast<int>(columns.size()), packed.data(), G);
}

double DenseOperator::largestColumn() const {
  double largest = 0.0;
  for (int k = 0; k < columns_; ++k) {
    const double* const column = columnMajor_.data() + at(k) * at(rows_);
    largest = std::max(largest, std::inner_product(column, column + rows_, column, 0.0));
  }
  return largest;
}

}  // namespace vorin::toolkit
