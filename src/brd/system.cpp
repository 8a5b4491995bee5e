#include "brd/system.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>

#include "brd/weight_range.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// With more columns than this times the rows, K'K costs more to form than the m-by-m
// systems of all passes, and n^2 elements of memory.
constexpr std::ptrdiff_t mostColumnsPerRow = 4;

template <class Real>
Real norm(int m, const Real* c) {
  return std::sqrt(std::inner_product(c, c + m, c, Real(0)));
}

}  // namespace

template <class Real>
System<Real>::System(int m, int n, const Real* K, const Real* d)
    : System(std::make_shared<const KernelForms<Real>>(m, n, K), d) {}

template <class Real>
System<Real>::System(std::shared_ptr<const KernelForms<Real>> kernel, const Real* d)
    : kernel_(std::move(kernel)), m_(kernel_->m()), n_(kernel_->n()), K_(kernel_->K()), d_(d) {
  const std::size_t rows = length(m_);
  product_.resize(length(kernel_->paddedColumns()), Real(0));
  mask_.resize(length(n_));
  newDual_.resize(rows);
  secondSolution_.resize(rows);
}

template <class Real>
template <class Other>
System<Real> System<Real>::converted(std::shared_ptr<const KernelForms<Real>> kernel,
                                     const Other* d) {
  std::vector<Real> data(length(kernel->m()));
  std::transform(d, d + data.size(), data.begin(),
                 [](Other value) { return static_cast<Real>(value); });
  System system(std::move(kernel), data.data());
  // Moving a vector keeps its storage, so the address taken above stays valid.
  system.ownData_ = std::move(data);
  return system;
}

// out = K' x, with the padding of the kernel's rows.
template <class Real>
void System<Real>::project(const Real* x, Real* out) const {
  kernels::table<Real>().combinePanels(m_, kernel_->paddedColumns() / kernels::panelRows<Real>,
                                       kernel_->panels(), x, out);
}

template <class Real>
void System<Real>::distributionFromDual(const Real* c, Real* f) {
  project(c, product_.data());
  std::transform(product_.begin(), product_.begin() + n_, f,
                 [](Real value) { return value <= Real(0) ? Real(0) : value; });
}

// H is 1 where f is positive and keeps f elsewhere, which is 0, or a NaN that must
// reach the result. A NaN equals nothing, so that such a mask always counts as new.
template <class Real>
bool System<Real>::sameMask(const Real* f, Real weight) const {
  return factored_ && weight == weight_ &&
         std::equal(mask_.begin(), mask_.end(), f, [](Real mask, Real value) {
           return mask == (value > Real(0) ? Real(1) : value);
         });
}

template <class Real>
void System<Real>::storeMask(const Real* f, Real weight) {
  active_.clear();
  Real* mask = mask_.data();
  for (int i = 0; i < n_; ++i) {
    mask[i] = f[i] > Real(0) ? Real(1) : f[i] <= Real(0) ? Real(0) : f[i];
    if (mask[i] != Real(0)) {
      active_.push_back(i);
    }
  }
  weight_ = weight;
  factored_ = true;
}

// The active columns, each times its mask.
template <class Real>
void System<Real>::packActive() {
  constexpr int rows = kernels::panelRows<Real>;
  const int count = static_cast<int>(active_.size());
  const int panels = (m_ + rows - 1) / rows;
  packed_.resize(area(panels * rows, std::max(count, 1)));
  const ColumnMajorView<const Real> K{K_, m_};
  for (int k = 0; k < count; ++k) {
    const int i = active_[static_cast<std::size_t>(k)];
    const Real mask = mask_[static_cast<std::size_t>(i)];
    for (int r0 = 0; r0 < m_; r0 += rows) {
      const ColumnMajorView<Real> panel{packed_.data() + area(r0, count), rows};
      const int filled = std::min(rows, m_ - r0);
      Real* out = panel.column(k);
      for (int r = 0; r < filled; ++r) {
        out[r] = mask * K(r0 + r, i);
      }
      std::fill(out + filled, out + rows, Real(0));
    }
  }
}

template <class Real>
void System<Real>::formActiveColumns() {
  // Every cold start has all columns in its first pass. Their sum is kept where it is not
  // much larger than the kernel itself.
  const bool allActive =
      m_ <= 2 * std::ptrdiff_t{n_} &&
      std::all_of(mask_.begin(), mask_.end(), [](Real mask) { return mask == Real(1); });
  if (allActive && !allColumnG_.empty()) {
    G_ = allColumnG_;
    return;
  }
  packActive();
  G_.resize(area(m_, m_));
  kernels::table<Real>().gram(m_, static_cast<int>(active_.size()), packed_.data(), G_.data());
  if (allActive) {
    allColumnG_ = G_;
  }
}

// The sum over all columns i of the outer product of row i of B = H K' with column i of K.
// Columns with mask 0 are included: 0 times an infinity of K is NaN and must reach G.
template <class Real>
void System<Real>::formAllColumns() {
  G_.assign(area(m_, m_), Real(0));
  const ColumnMajorView<const Real> K{K_, m_};
  const ColumnMajorView<Real> G{G_.data(), m_};
  for (int i = 0; i < n_; ++i) {
    const Real mask = mask_[static_cast<std::size_t>(i)];
    for (int j = 0; j < m_; ++j) {
      const Real masked = mask * K(j, i);
      for (int k = 0; k < m_; ++k) {
        G(k, j) += masked * K(k, i);
      }
    }
  }
}

template <class Real>
void System<Real>::addWeight() {
  const ColumnMajorView<Real> G{G_.data(), m_};
  for (int j = 0; j < m_; ++j) {
    G(j, j) += weight_;
  }
}

template <class Real>
void System<Real>::factorGByLu() {
  form_ = Form::lu;
  addWeight();
  pivots_.resize(length(m_));
  getrf(m_, G_.data(), m_, pivots_.data());
}

template <class Real>
bool System<Real>::selectNormalEquations() {
  if constexpr (hasOtherForms) {
    if (static_cast<int>(active_.size()) < m_ && n_ <= mostColumnsPerRow * m_) {
      if (!normalEquations_) {
        normalEquations_.emplace(m_, n_, K_, gram());
      }
      form_ = Form::normalEquations;
      normalEquations_->select(active_, weight_);
      return true;
    }
  }
  return false;
}

// False where a pivot is not positive; G_ is spoiled then.
template <class Real>
bool System<Real>::factorByCholesky() {
  formActiveColumns();
  addWeight();
  std::vector<Real> diagonal(length(m_));
  kernels::table<Real>().cholesky(m_, m_, G_.data(), diagonal.data());
  form_ = Form::cholesky;
  return std::all_of(diagonal.begin(), diagonal.end(), [](Real pivot) { return pivot > Real(0); });
}

// True where forms that square the condition of the kernel can take the place of LU factors.
template <class Real>
bool System<Real>::canSquare(Real weight) const {
  return hasOtherForms && kernel_->isFinite() && n_ > 0 &&
         weightIsInRange(static_cast<double>(weight), kernel_->meanSquare());
}

template <class Real>
bool System<Real>::allowsScout(Real weight) const {
  return hasOtherForms && kernel_->isFinite() && n_ > 0 &&
         weightAllowsScout(static_cast<double>(weight), kernel_->meanSquare());
}

template <class Real>
bool System<Real>::factor(const Real* f, Real weight) {
  // The last pass of a solve and its closing system nearly always repeat the mask before.
  if (sameMask(f, weight)) {
    return true;
  }
  storeMask(f, weight);
  if constexpr (hasOtherForms) {
    const bool squares = canSquare(weight);
    if ((squares && selectNormalEquations()) || ((squares || scouts_) && factorByCholesky())) {
      return false;
    }
  }
  factorByLu();
  factored_ = true;
  return false;
}

template <class Real>
void System<Real>::factorByLu() {
  if (kernel_->isFinite()) {
    formActiveColumns();
  } else {
    formAllColumns();
  }
  factorGByLu();
  factored_ = false;
}

template <class Real>
bool System<Real>::slopeIsCertain(const Solution<Real>& solution) const {
  if constexpr (hasOtherForms) {
    if (form_ != Form::lu) {
      // (c . c - w c . x) / (c . c)
      const Real share = solution.rssSlope * weight_ / (Real(2) * solution.rss);
      return share > relativeRounding(weight_, kernel_->meanSquare() * static_cast<double>(n_));
    }
  }
  return true;
}

template <class Real>
void System<Real>::factorMask(const Real* mask, Real weight) {
  std::copy(mask, mask + n_, mask_.begin());
  weight_ = weight;
  factored_ = false;
  formAllColumns();
  factorGByLu();
}

template <class Real>
const Real* System<Real>::gram() {
  return kernel_->gram();
}

template <class Real>
const Real* System<Real>::projectedData() {
  if (projectedData_.empty()) {
    projectedData_.resize(length(kernel_->paddedColumns()));
    project(d_, projectedData_.data());
  }
  return projectedData_.data();
}

template <class Real>
void System<Real>::solve(const Real* right, Real* x) {
  std::copy(right, right + m_, x);
  if (form_ == Form::cholesky) {
    kernels::table<Real>().choleskySolve(m_, m_, G_.data(), x);
  } else {
    getrs(m_, G_.data(), m_, pivots_.data(), x);
  }
}

template <class Real>
void System<Real>::solveData(Real* c) {
  if constexpr (hasOtherForms) {
    if (form_ == Form::normalEquations) {
      normalEquations_->solveData(d_, projectedData(), c);
      return;
    }
  }
  solve(d_, c);
}

template <class Real>
void System<Real>::distributionOfData(const Real* c, Real* f) {
  if constexpr (hasOtherForms) {
    if (form_ == Form::normalEquations) {
      normalEquations_->distribution(projectedData(), f);
      return;
    }
  }
  distributionFromDual(c, f);
}

template <class Real>
void System<Real>::solveDual(const Real* c, bool isMaskOfC, Real* x) {
  if constexpr (hasOtherForms) {
    if (form_ == Form::normalEquations) {
      if (isMaskOfC) {
        normalEquations_->solveDual(c, x);
      } else {
        project(c, product_.data());
        normalEquations_->solve(c, product_.data(), x);
      }
      return;
    }
  }
  solve(c, x);
}

// The squared step of the dual vector from the caller's c in the first predicted pass.
template <class Real>
Real System<Real>::firstStep(const Real* c, Real weight) {
  Real step = 0;
  if constexpr (hasOtherForms) {
    const PassPrediction::FirstPass first = prediction_->firstPass();
    kernels::table<Real>().combineColumns(m_, static_cast<int>(first.active.size()),
                                          first.active.data(), K_, first.values.data(),
                                          newDual_.data());
    for (int j = 0; j < m_; ++j) {
      const Real change = c[j] - (d_[j] - newDual_[length(j)]) / weight;
      step += change * change;
    }
  }
  return step;
}

template <class Real>
const PassPrediction* System<Real>::predictPasses(Real* f, const Real* c, Real weight,
                                                  Real tolerance, int mostPasses,
                                                  bool stepsAreRead) {
  if constexpr (hasOtherForms) {
    if (!kernel_->isFinite() || !weightAllowsPrediction(weight, kernel_->meanSquare()) ||
        n_ > mostColumnsPerRow * m_ || kernel_->rankFactor() == nullptr) {
      return nullptr;
    }
    if (!prediction_) {
      prediction_.emplace(*kernel_->rankFactor(), projectedData());
    } else if (predictsOtherData_) {
      prediction_->takeData(projectedData());
    }
    predictsOtherData_ = false;
    if (!prediction_->run(weight, tolerance, mostPasses, f)) {
      return nullptr;
    }
    // The first step is from the caller's c, which may be where the solve ends.
    const Real least = stepsAreRead ? Real(0) : prediction_->leastFirstStep(norm(m_, c));
    if (prediction_->takeFirstStep(least, tolerance, f) ||
        prediction_->takeFirstStep(firstStep(c, weight), tolerance, f)) {
      return &*prediction_;
    }
  }
  return nullptr;
}

template <class Real>
Real System<Real>::squaredData() {
  if (!squaredData_) {
    squaredData_ = std::inner_product(d_, d_ + m_, d_, Real(0));
  }
  return *squaredData_;
}

template <class Real>
std::optional<Solution<Real>> System<Real>::predictedSolution(Real weight) {
  if constexpr (hasOtherForms) {
    // In units of w times the slope: what a Newton step on rss makes of an error.
    constexpr double mostError = 5e-8;
    if (!canSquare(weight)) {
      return {};
    }
    const std::optional<PassPrediction::Residual> found = prediction_->residual(squaredData());
    if (!found) {
      return {};
    }
    const Real change = weight * found->slope;
    if (found->error + weight * found->slopeError < mostError * change) {
      return Solution<Real>{found->rss, found->slope, solveConverged, true};
    }
  }
  return {};
}

template <class Real>
Solution<Real> residualAndSlope(System<Real>& system, bool isMaskOfC, Real* c, Real weight,
                                std::int32_t status) {
  Real* x = system.secondSolution();
  system.solveDual(c, isMaskOfC, x);
  const Solution<Real> solution = residualAndSlope(system.m(), c, x, weight, status);
  if (system.slopeIsCertain(solution)) {
    return solution;
  }
  // A search takes its direction from the sign of the slope.
  system.factorByLu();
  if (isMaskOfC) {
    system.solveData(c);
  }
  system.solveDual(c, isMaskOfC, x);
  return residualAndSlope(system.m(), c, x, weight, status);
}

template Solution<float> residualAndSlope(System<float>&, bool, float*, float, std::int32_t);
template Solution<double> residualAndSlope(System<double>&, bool, double*, double, std::int32_t);
template class System<double>;
template System<double> System<double>::converted(std::shared_ptr<const KernelForms<double>>,
                                                  const float*);
template class System<float>;
template System<float> System<float>::converted(std::shared_ptr<const KernelForms<float>>,
                                                const double*);

}  // namespace vorin::brd
