// Non-negative fits without a penalty, again and again on nearly the same problem.
#pragma once

#include <cstddef>
#include <vector>

namespace vorin::toolkit {

/// K'K of a matrix in single precision, column-major with `rows` rows: columns x columns.
std::vector<double> normalMatrix(const std::vector<float>& K, std::size_t rows);

/// K'd.
void projectOnColumns(const std::vector<float>& K, const std::vector<double>& d,
                      std::vector<double>& Ktd);

/// The smallest |K x - d| over x >= 0 by K'K and K'd, from the columns that were positive in the
/// call before (Lawson and Hanson, Solving Least Squares Problems, 1974, chapter 23, on normal
/// equations as Bro and de Jong, J. Chemom. 11, 393, 1997). Columns that are mixtures of others in
/// single precision stay at 0.
class RepeatedFit {
 public:
  explicit RepeatedFit(std::size_t columns);

  /// What the minimum takes away from |d|^2: x'K'd.
  double solve(const std::vector<double>& KtK, const std::vector<double>& Ktd);

  const std::vector<double>& x() const { return x_; }

 private:
  void startFromPositive();
  std::size_t steepest(double tolerance);
  bool solvePositive();
  void stepBack();
  void take();

  const std::vector<double>* KtK_ = nullptr;
  const std::vector<double>* Ktd_ = nullptr;
  std::vector<double> x_;
  std::vector<std::size_t> positive_;  ///< the columns that may be above 0
  std::vector<bool> blocked_;
  std::vector<double> gradient_;
  std::vector<double> factor_;
  std::vector<double> solution_;  ///< on the positive columns
};

}  // namespace vorin::toolkit
