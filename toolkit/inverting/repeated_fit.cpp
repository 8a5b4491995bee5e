#include "toolkit/inverting/repeated_fit.hpp"

#include <algorithm>
#include <cmath>

namespace vorin::toolkit {

std::vector<double> normalMatrix(const std::vector<float>& K, std::size_t rows) {
  const std::size_t columns = K.size() / rows;
  std::vector<double> KtK(columns * columns);
  for (std::size_t i = 0; i < columns; ++i) {
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < rows; ++k) {
        sum += static_cast<double>(K[i * rows + k]) * static_cast<double>(K[j * rows + k]);
      }
      KtK[i * columns + j] = KtK[j * columns + i] = sum;
    }
  }
  return KtK;
}

void projectOnColumns(const std::vector<float>& K, const std::vector<double>& d,
                      std::vector<double>& Ktd) {
  const std::size_t rows = d.size();
  Ktd.resize(K.size() / rows);
  for (std::size_t j = 0; j < Ktd.size(); ++j) {
    const float* const column = K.data() + j * rows;
    double sum = 0.0;
    for (std::size_t k = 0; k < rows; ++k) {
      sum += static_cast<double>(column[k]) * d[k];
    }
    Ktd[j] = sum;
  }
}

RepeatedFit::RepeatedFit(std::size_t columns) : x_(columns, 0.0) {}

double RepeatedFit::solve(const std::vector<double>& KtK, const std::vector<double>& Ktd) {
  KtK_ = &KtK;
  Ktd_ = &Ktd;
  blocked_.assign(x_.size(), false);
  startFromPositive();
  const double tolerance =
      1e-10 * std::fabs(*std::max_element(Ktd.begin(), Ktd.end(), [](double a, double b) {
        return std::fabs(a) < std::fabs(b);
      }));
  for (std::size_t pass = 0; pass < 3 * x_.size(); ++pass) {
    const std::size_t entering = steepest(tolerance);
    if (entering == x_.size()) {
      break;
    }
    positive_.push_back(entering);
    if (!solvePositive()) {
      positive_.pop_back();  // in single precision a mixture of columns that are in
      blocked_[entering] = true;
      continue;
    }
    stepBack();
    // Rounding may turn a column back at once; it would enter again and again.
    blocked_[entering] = x_[entering] == 0.0;
  }
  double sum = 0.0;
  for (const std::size_t k : positive_) {
    sum += x_[k] * Ktd[k];
  }
  return sum;
}

/// The solution on the positive columns, without those that it makes negative.
void RepeatedFit::startFromPositive() {
  std::fill(x_.begin(), x_.end(), 0.0);
  while (!positive_.empty()) {
    if (!solvePositive()) {
      positive_.clear();
      return;
    }
    const auto least = std::min_element(solution_.begin(), solution_.end());
    if (*least > 0.0) {
      take();
      return;
    }
    positive_.erase(positive_.begin() + (least - solution_.begin()));
  }
}

/// The column of the largest gradient above the tolerance; the count of columns where there is
/// none.
std::size_t RepeatedFit::steepest(double tolerance) {
  gradient_ = *Ktd_;
  for (const std::size_t k : positive_) {
    const double* const column = KtK_->data() + k * x_.size();
    for (std::size_t j = 0; j < x_.size(); ++j) {
      gradient_[j] -= column[j] * x_[k];
    }
  }
  std::size_t best = x_.size();
  double largest = tolerance;
  for (std::size_t j = 0; j < x_.size(); ++j) {
    if (!blocked_[j] && x_[j] == 0.0 && gradient_[j] > largest) {
      largest = gradient_[j];
      best = j;
    }
  }
  return best;
}

/// Solves on the positive columns by Cholesky's factor; false where it is singular.
bool RepeatedFit::solvePositive() {
  constexpr double leastPivot = 1e-11;  // of the diagonal element
  const std::size_t n = positive_.size();
  const std::size_t m = x_.size();
  factor_.resize(n * n);
  solution_.resize(n);
  for (std::size_t i = 0; i < n; ++i) {
    double right = (*Ktd_)[positive_[i]];
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = (*KtK_)[positive_[i] * m + positive_[j]];
      for (std::size_t k = 0; k < j; ++k) {
        sum -= factor_[i * n + k] * factor_[j * n + k];
      }
      if (i == j) {
        if (!(sum > leastPivot * (*KtK_)[positive_[i] * m + positive_[i]])) {
          return false;
        }
        factor_[i * n + i] = std::sqrt(sum);
      } else {
        factor_[i * n + j] = sum / factor_[j * n + j];
        right -= factor_[i * n + j] * solution_[j];
      }
    }
    solution_[i] = right / factor_[i * n + i];
  }
  for (std::size_t i = n; i-- > 0;) {
    for (std::size_t j = i + 1; j < n; ++j) {
      solution_[i] -= factor_[j * n + i] * solution_[j];
    }
    solution_[i] /= factor_[i * n + i];
  }
  return true;
}

/// From x towards the solution as far as nothing becomes negative; what becomes 0 leaves.
void RepeatedFit::stepBack() {
  while (!positive_.empty()) {
    double length = 1.0;
    std::size_t first = positive_.size();
    for (std::size_t i = 0; i < positive_.size(); ++i) {
      const double from = x_[positive_[i]];
      if (solution_[i] <= 0.0 && from / (from - solution_[i]) < length) {
        length = from / (from - solution_[i]);
        first = i;
      }
    }
    if (first == positive_.size()) {
      take();
      return;
    }
    for (std::size_t i = 0; i < positive_.size(); ++i) {
      x_[positive_[i]] += length * (solution_[i] - x_[positive_[i]]);
    }
    x_[positive_[first]] = 0.0;
    positive_.erase(positive_.begin() + static_cast<std::ptrdiff_t>(first));
    if (!positive_.empty() && !solvePositive()) {
      return;
    }
  }
}

void RepeatedFit::take() {
  for (std::size_t i = 0; i < positive_.size(); ++i) {
    x_[positive_[i]] = solution_[i];
  }
}

}  // namespace vorin::toolkit
