#include "toolkit/inverting/flip_angle.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vorin::toolkit {

namespace {

/// The smallest |K x - d| over x >= 0 by K'K and K'd, from the columns that were positive at a
/// neighbouring angle (Lawson and Hanson, Solving Least Squares Problems, 1974, chapter 23, on
/// normal equations as Bro and de Jong, J. Chemom. 11, 393, 1997).
class ClosestByNormalEquations {
 public:
  explicit ClosestByNormalEquations(std::size_t columns) : x_(columns, 0.0) {}

  /// What x takes away from d'd at the minimum.
  double explained(const std::vector<double>& KtK, const std::vector<double>& Ktd) {
    KtK_ = &KtK;
    Ktd_ = &Ktd;
    blocked_.assign(x_.size(), false);
    startFromPassive();
    const double tolerance =
        1e-10 * std::fabs(*std::max_element(Ktd.begin(), Ktd.end(), [](double a, double b) {
          return std::fabs(a) < std::fabs(b);
        }));
    for (std::size_t pass = 0; pass < 3 * x_.size(); ++pass) {
      const std::size_t entering = steepest(tolerance);
      if (entering == x_.size()) {
        break;
      }
      passive_.push_back(entering);
      if (!solve()) {
        passive_.pop_back();  // in single precision a mixture of columns that are in
        blocked_[entering] = true;
        continue;
      }
      stepBack();
      // Rounding may turn a column back at once; it would enter again and again.
      blocked_[entering] = x_[entering] == 0.0;
    }
    double sum = 0.0;
    for (const std::size_t k : passive_) {
      sum += x_[k] * Ktd[k];
    }
    return sum;
  }

 private:
  /// The solution on the passive columns, without those that it makes negative.
  void startFromPassive() {
    std::fill(x_.begin(), x_.end(), 0.0);
    while (!passive_.empty()) {
      if (!solve()) {
        passive_.clear();
        return;
      }
      const auto least = std::min_element(solution_.begin(), solution_.end());
      if (*least > 0.0) {
        take();
        return;
      }
      passive_.erase(passive_.begin() + (least - solution_.begin()));
    }
  }

  /// The column of the largest gradient above the tolerance; the count of columns where there is
  /// none.
  std::size_t steepest(double tolerance) const {
    gradient_ = *Ktd_;
    for (const std::size_t k : passive_) {
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

  /// Solves on the passive columns by Cholesky's factor; false where it is singular.
  bool solve() {
    constexpr double leastPivot = 1e-11;  // of the diagonal element
    const std::size_t n = passive_.size();
    const std::size_t m = x_.size();
    factor_.resize(n * n);
    solution_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
      double right = (*Ktd_)[passive_[i]];
      for (std::size_t j = 0; j <= i; ++j) {
        double sum = (*KtK_)[passive_[i] * m + passive_[j]];
        for (std::size_t k = 0; k < j; ++k) {
          sum -= factor_[i * n + k] * factor_[j * n + k];
        }
        if (i == j) {
          if (!(sum > leastPivot * (*KtK_)[passive_[i] * m + passive_[i]])) {
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
  void stepBack() {
    while (!passive_.empty()) {
      double length = 1.0;
      std::size_t first = passive_.size();
      for (std::size_t i = 0; i < passive_.size(); ++i) {
        const double from = x_[passive_[i]];
        if (solution_[i] <= 0.0 && from / (from - solution_[i]) < length) {
          length = from / (from - solution_[i]);
          first = i;
        }
      }
      if (first == passive_.size()) {
        take();
        return;
      }
      for (std::size_t i = 0; i < passive_.size(); ++i) {
        x_[passive_[i]] += length * (solution_[i] - x_[passive_[i]]);
      }
      x_[passive_[first]] = 0.0;
      passive_.erase(passive_.begin() + static_cast<std::ptrdiff_t>(first));
      if (!passive_.empty() && !solve()) {
        return;
      }
    }
  }

  void take() {
    for (std::size_t i = 0; i < passive_.size(); ++i) {
      x_[passive_[i]] = solution_[i];
    }
  }

  const std::vector<double>* KtK_ = nullptr;
  const std::vector<double>* Ktd_ = nullptr;
  std::vector<double> x_;
  std::vector<std::size_t> passive_;
  std::vector<bool> blocked_;
  mutable std::vector<double> gradient_;
  std::vector<double> factor_;
  std::vector<double> solution_;
};

}  // namespace

/// What one angle needs.
struct FlipAngles::Row {
  std::shared_ptr<const std::vector<float>> matrix;
  std::vector<double> KtK;  ///< grid x grid
};

FlipAngles::FlipAngles(EchoTrain train, std::vector<double> times, std::vector<double> grid)
    : train_(train), times_(std::move(times)), grid_(std::move(grid)) {
  echoNumbers(train_, times_);  // refuses other times before the first decay is looked at
}

FlipAngles::~FlipAngles() = default;

const FlipAngles::Row& FlipAngles::at(std::size_t index) const {
  std::call_once(made_.at(index), [&] {
    auto row = std::make_unique<Row>();
    EchoTrain train = train_;
    train.flip = angle(index);
    std::vector<float> K = echoMatrix(train, times_, grid_);
    const std::size_t n = times_.size();
    const std::size_t m = grid_.size();
    row->KtK.resize(m * m);
    for (std::size_t i = 0; i < m; ++i) {
      for (std::size_t j = 0; j <= i; ++j) {
        double sum = 0.0;
        for (std::size_t k = 0; k < n; ++k) {
          sum += static_cast<double>(K[i * n + k]) * static_cast<double>(K[j * n + k]);
        }
        row->KtK[i * m + j] = row->KtK[j * m + i] = sum;
      }
    }
    row->matrix = std::make_shared<const std::vector<float>>(std::move(K));
    rows_.at(index) = std::move(row);
  });
  return *rows_[index];
}

std::shared_ptr<const std::vector<float>> FlipAngles::matrix(std::size_t index) const {
  return at(index).matrix;
}

std::size_t FlipAngles::closest(const std::vector<double>& amplitude) const {
  constexpr std::size_t coarse = 10;
  const std::size_t n = times_.size();
  const std::size_t m = grid_.size();
  ClosestByNormalEquations fit(m);
  std::vector<double> Ktd(m);
  constexpr double unknown = -1.0;
  std::array<double, count> explained{};
  explained.fill(unknown);
  const auto explainedAt = [&](std::size_t index) {
    if (explained.at(index) == unknown) {
      const Row& row = at(index);
      for (std::size_t j = 0; j < m; ++j) {
        const float* const column = row.matrix->data() + j * n;
        double sum = 0.0;
        for (std::size_t k = 0; k < n; ++k) {
          sum += static_cast<double>(column[k]) * amplitude[k];
        }
        Ktd[j] = sum;
      }
      explained.at(index) = fit.explained(row.KtK, Ktd);
    }
    return explained.at(index);
  };
  // From 180 degrees down, so that of equals the angle nearest to it is taken.
  std::size_t best = count - 1;
  for (std::size_t k = 1; k * coarse < count; ++k) {
    const std::size_t index = count - 1 - k * coarse;
    if (explainedAt(index) > explainedAt(best)) {
      best = index;
    }
  }
  for (std::size_t width = 4; width > 0; width /= 2) {
    for (bool better = true; better;) {
      better = false;
      for (const std::size_t other : {best + width, best - width}) {
        // Below the first angle the number wraps to a very large one.
        if (other < count && explainedAt(other) > explainedAt(best)) {
          best = other;
          better = true;
        }
      }
    }
  }
  return best;
}

}  // namespace vorin::toolkit
