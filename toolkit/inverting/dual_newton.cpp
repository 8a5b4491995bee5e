#include "toolkit/inverting/dual_newton.hpp"

#include <algorithm>
#include <cmath>

#include "toolbox/kernels/kernels.hpp"

namespace vorin::toolkit {

namespace {

constexpr int mostSteps = 200;
constexpr int mostHalvings = 40;
constexpr double gradient = 1e-12;
constexpr double armijo = 1e-4;

double dot(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    sum += a[i] * b[i];
  }
  return sum;
}

/// One minimisation: what its steps share.
class Minimiser {
 public:
  Minimiser(const DualOperator& A, const std::vector<double>& d, double w, double tolerance,
            DualState& state)
      : A_(A),
        d_(d),
        w_(w),
        tolerance_(tolerance),
        state_(state),
        z_(cells()),
        change_(cells()),
        fit_(rows()),
        gradient_(rows()),
        step_(rows()),
        G_(rows() * rows()),
        pivots_(rows()) {
    state_.c.resize(rows(), 0.0);
    A_.transposeTimes(state_.c.data(), z_.data());
    evaluate();
  }

  bool run() {
    for (int step = 0; step < mostSteps; ++step) {
      if (isOptimal()) {
        return true;
      }
      if (!setNewtonStep() || !moveAlongStep()) {
        return false;
      }
      ++state_.steps;
      evaluate();
    }
    return isOptimal();
  }

 private:
  std::size_t rows() const { return static_cast<std::size_t>(A_.rows()); }
  std::size_t cells() const { return static_cast<std::size_t>(A_.cells()); }

  /// Distribution, fit and gradient from c and z = A' c.
  void evaluate() {
    state_.F.resize(cells());
    for (std::size_t k = 0; k < cells(); ++k) {
      state_.F[k] = std::max(0.0, z_[k]);
    }
    A_.times(state_.F.data(), fit_.data());
    state_.squares = 0.0;
    gradientSquares_ = 0.0;
    for (std::size_t r = 0; r < rows(); ++r) {
      const double residual = fit_[r] - d_[r];
      gradient_[r] = residual + w_ * state_.c[r];
      state_.squares += residual * residual;
      gradientSquares_ += gradient_[r] * gradient_[r];
    }
    const double primal = state_.squares + w_ * dot(state_.F, state_.F);
    state_.gap = primal > 0.0 ? gradientSquares_ / primal : 0.0;
  }

  bool isOptimal() const {
    return state_.gap <= tolerance_ || gradientSquares_ <= gradient * gradient * dot(d_, d_);
  }

  bool setNewtonStep() {
    A_.gram(state_.F.data(), G_.data());
    for (std::size_t r = 0; r < rows(); ++r) {
      G_[r * rows() + r] += w_;
      step_[r] = -gradient_[r];
    }
    const auto& kernels = kernels::table<double>();
    kernels.cholesky(A_.rows(), A_.rows(), G_.data(), pivots_.data());
    if (!std::all_of(pivots_.begin(), pivots_.end(), [](double pivot) { return pivot > 0.0; })) {
      return false;
    }
    kernels.choleskySolve(A_.rows(), A_.rows(), G_.data(), step_.data());
    return true;
  }

  /// chi, at the length `t` along the step, less its value at 0: as a difference, since the two
  /// agree in most of their digits near the minimum.
  double changeOfChi(double t) const {
    double sum = 0.0;
    for (std::size_t k = 0; k < cells(); ++k) {
      const double before = state_.F[k];
      const double after = std::max(0.0, z_[k] + t * change_[k]);
      sum += 0.5 * (after - before) * (after + before);
    }
    return sum + t * (w_ * dot(state_.c, step_) - dot(d_, step_)) +
           0.5 * t * t * w_ * dot(step_, step_);
  }

  bool moveAlongStep() {
    A_.transposeTimes(step_.data(), change_.data());
    const double slope = dot(gradient_, step_);
    double t = 1.0;
    for (int halving = 0; halving < mostHalvings; ++halving, t *= 0.5) {
      if (changeOfChi(t) <= armijo * t * slope) {
        break;
      }
    }
    // Near the minimum the decrease drowns in rounding: the whole step is right there, and the
    // gap tells whether it was.
    if (t < 1e-9) {
      t = 1.0;
      if (!(gradientSquares_ <= 1e-6 * gradient * dot(d_, d_) || state_.gap <= 1e-8)) {
        return false;
      }
    }
    for (std::size_t r = 0; r < rows(); ++r) {
      state_.c[r] += t * step_[r];
    }
    A_.transposeTimes(state_.c.data(), z_.data());
    return true;
  }

  const DualOperator& A_;
  const std::vector<double>& d_;
  double w_;
  double tolerance_;
  DualState& state_;
  std::vector<double> z_;       ///< A' c
  std::vector<double> change_;  ///< A' step
  std::vector<double> fit_;     ///< A F
  std::vector<double> gradient_;
  std::vector<double> step_;
  std::vector<double> G_;
  std::vector<double> pivots_;
  double gradientSquares_ = 0.0;
};

}  // namespace

bool solveDual(const DualOperator& A, const std::vector<double>& d, double w, double tolerance,
               DualState& state) {
  return Minimiser(A, d, w, tolerance, state).run();
}

}  // namespace vorin::toolkit
