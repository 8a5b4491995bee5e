// The linear algebra of a pass in its literal form, in place of src/brd/system.cpp: the
// m-by-m system with all columns in it, those out of the mask as zeros, formed by plain
// loops and factored by LU in every pass. Nothing is kept from one call to the next.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "brd/system.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/lapack.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
template <class Real>
System<Real>::System(int m, int n, const Real* K, const Real* d)
    : System(std::make_shared<const KernelForms<Real>>(m, n, K), d) {}

template <class Real>
System<Real>::System(std::shared_ptr<const KernelForms<Real>> kernel, const Real* d)
    : kernel_(std::move(kernel)), m_(kernel_->m()), n_(kernel_->n()), K_(kernel_->K()), d_(d) {
  const auto length = static_cast<std::size_t>(m_);
  product_.resize(static_cast<std::size_t>(n_));
  projectedData_.resize(static_cast<std::size_t>(n_));
  mask_.resize(static_cast<std::size_t>(n_));
  newDual_.resize(length);
  secondSolution_.resize(length);
  pivots_.resize(length);
}

template <class Real>
template <class Other>
System<Real> System<Real>::converted(std::shared_ptr<const KernelForms<Real>> kernel,
                                     const Other* d) {
  std::vector<Real> data(static_cast<std::size_t>(kernel->m()));
  for (std::size_t j = 0; j < data.size(); ++j) {
    data[j] = static_cast<Real>(d[j]);
  }
  System system(std::move(kernel), data.data());
  system.ownData_ = std::move(data);
  return system;
}

// out = K' x.
template <class Real>
void System<Real>::project(const Real* x, Real* out) const {
  const ColumnMajorView<const Real> K{K_, m_};
  for (int i = 0; i < n_; ++i) {
    out[i] = Real(0);
    for (int j = 0; j < m_; ++j) {
      out[i] += K(j, i) * x[j];
    }
  }
}

template <class Real>
const Real* System<Real>::gram() {
  allColumnG_.resize(area(n_, n_));
  const ColumnMajorView<const Real> K{K_, m_};
  const ColumnMajorView<Real> KtK{allColumnG_.data(), n_};
  for (int i = 0; i < n_; ++i) {
    for (int k = 0; k < n_; ++k) {
      Real sum = 0;
      for (int j = 0; j < m_; ++j) {
        sum += K(j, i) * K(j, k);
      }
      KtK(k, i) = sum;
    }
  }
  return allColumnG_.data();
}

template <class Real>
const Real* System<Real>::projectedData() {
  project(d_, projectedData_.data());
  return projectedData_.data();
}

template <class Real>
void System<Real>::distributionFromDual(const Real* c, Real* f) {
  project(c, product_.data());
  for (int i = 0; i < n_; ++i) {
    const Real value = product_[static_cast<std::size_t>(i)];
    f[i] = value <= Real(0) ? Real(0) : value;
  }
}

template <class Real>
bool System<Real>::sameMask(const Real* /*f*/, Real /*weight*/) const {
  return false;
}

template <class Real>
bool System<Real>::factor(const Real* f, Real weight) {
  for (int i = 0; i < n_; ++i) {
    mask_[static_cast<std::size_t>(i)] = f[i] > Real(0) ? Real(1) : f[i];
  }
  factorMask(mask_.data(), weight);
  return false;
}

// B = H K', then G = the sum over all columns i of the outer product of row i of B with
// column i of K.
template <class Real>
void System<Real>::factorMask(const Real* mask, Real weight) {
  const ColumnMajorView<const Real> K{K_, m_};
  std::vector<Real> masked(area(n_, m_));
  const ColumnMajorView<Real> B{masked.data(), n_};
  for (int i = 0; i < n_; ++i) {
    for (int j = 0; j < m_; ++j) {
      B(i, j) = mask[i] * K(j, i);
    }
  }
  G_.assign(area(m_, m_), Real(0));
  const ColumnMajorView<Real> G{G_.data(), m_};
  for (int i = 0; i < n_; ++i) {
    const Real* column = K.column(i);
    for (int j = 0; j < m_; ++j) {
      const Real factor = B(i, j);
      for (int k = 0; k < m_; ++k) {
        G(k, j) += factor * column[k];
      }
    }
  }
  for (int j = 0; j < m_; ++j) {
    G(j, j) += weight;
  }
  getrf(m_, G_.data(), m_, pivots_.data());
}

template <class Real>
void System<Real>::solve(const Real* right, Real* x) {
  std::copy(right, right + m_, x);
  getrs(m_, G_.data(), m_, pivots_.data(), x);
}

template <class Real>
void System<Real>::solveData(Real* c) {
  solve(d_, c);
}

template <class Real>
void System<Real>::distributionOfData(const Real* c, Real* f) {
  distributionFromDual(c, f);
}

template <class Real>
void System<Real>::solveDual(const Real* c, bool /*isMaskOfC*/, Real* x) {
  solve(c, x);
}

template <class Real>
const PassPrediction* System<Real>::predictPasses(Real* /*f*/, const Real* /*c*/, Real /*weight*/,
                                                  Real /*tolerance*/, int /*mostPasses*/,
                                                  bool /*stepsAreRead*/) {
  return nullptr;
}

template <class Real>
std::optional<Solution<Real>> System<Real>::predictedSolution(Real /*weight*/) {
  return {};
}

template <class Real>
bool System<Real>::allowsScout(Real /*weight*/) const {
  return false;
}

template <class Real>
Solution<Real> residualAndSlope(System<Real>& system, bool isMaskOfC, Real* c, Real weight,
                                std::int32_t status) {
  Real* x = system.secondSolution();
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
