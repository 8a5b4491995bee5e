// A matrix of few rows as the dual iteration takes it.
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/inverting/dual_newton.hpp"

namespace vorin::toolkit {

class DenseOperator final : public DualOperator {
 public:
  /// `K` has `rows` rows, column-major.
  DenseOperator(const std::vector<double>& K, int rows);

  int rows() const override { return rows_; }
  /// The columns of K and columns of 0 behind them, a multiple of the vector length.
  int cells() const override { return stride_; }
  void transposeTimes(const double* c, double* F) const override;
  void times(const double* F, double* y) const override;
  void gram(const double* F, double* G) const override;

  /// The largest squared norm of a column.
  double largestColumn() const;

 private:
  std::vector<int> positive(const double* F) const;

  int rows_;
  int columns_;
  int stride_;
  std::vector<double> columnMajor_;
  std::vector<double> rowMajor_;  ///< (r, k) at r * stride_ + k
};

}  // namespace vorin::toolkit
