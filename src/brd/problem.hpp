// One least-squares problem: kernel, data, and what its solves share. A weight search
// makes one Problem and solves it many times, so conversions are made once and work
// arrays are allocated once. Problems of many data vectors on one kernel share its forms.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <type_traits>

#include "brd/kernel_forms.hpp"
#include "brd/qp_route.hpp"
#include "brd/system.hpp"
#include "toolbox/norms.hpp"

namespace vorin::brd {

/// A kernel in its caller's precision with its forms in both, each made at its first use, by
/// whichever thread comes first. K (m x n, column-major, leading dimension m) belongs to the
/// caller and must stay as it is. Sizes below 1 count as empty.
template <class Real>
class ProblemKernel {
 public:
  ProblemKernel(int m, int n, const Real* K) : m_(m), n_(n), K_(K) {}

  int m() const { return m_; }
  int n() const { return n_; }
  const Real* K() const { return K_; }

  /// vorin::meanSquaredColumnNorm() of K, formed once.
  float meanSquaredColumnNorm() const {
    std::call_once(normFormed_, [this] { norm_ = vorin::meanSquaredColumnNorm(m_, n_, K_); });
    return norm_;
  }

  /// The forms in the precision `Working`.
  template <class Working>
  const std::shared_ptr<const KernelForms<Working>>& forms() const {
    Forms<Working>& made = std::get<Forms<Working>>(forms_);
    std::call_once(made.once, [&] {
      if constexpr (std::is_same_v<Working, Real>) {
        made.forms = std::make_shared<const KernelForms<Working>>(m_, n_, K_);
      } else {
        made.forms = KernelForms<Working>::converted(m_, n_, K_);
      }
    });
    return made.forms;
  }

 private:
  template <class Working>
  struct Forms {
    std::once_flag once;
    std::shared_ptr<const KernelForms<Working>> forms;
  };

  int m_;
  int n_;
  const Real* K_;
  mutable std::tuple<Forms<float>, Forms<double>> forms_;
  mutable std::once_flag normFormed_;
  mutable float norm_ = 0.0f;
};

/// d (m) and the kernel belong to the caller and must stay as they are while the Problem lives.
template <class Real>
class Problem {
 public:
  Problem(int m, int n, const Real* K, const Real* d)
      : own_(std::make_unique<ProblemKernel<Real>>(m, n, K)), kernel_(own_.get()), d_(d) {}

  /// Borrows the kernel, which other problems may use at the same time.
  Problem(const ProblemKernel<Real>& kernel, const Real* d) : kernel_(&kernel), d_(d) {}

  /// Goes on with other data (m), which stay the caller's, on the same kernel and arrays.
  void takeData(const Real* d) {
    d_ = d;
    if (single_) {
      single_->takeData(d);
    }
    if (double_) {
      double_->takeData(d);
    }
    program_.reset();
  }

  int m() const { return kernel_->m(); }
  int n() const { return kernel_->n(); }
  const Real* K() const { return kernel_->K(); }
  const Real* d() const { return d_; }
  float meanSquaredColumnNorm() const { return kernel_->meanSquaredColumnNorm(); }

  /// The system in single or in double precision, made at the first call.
  System<float>& singlePrecision() { return make(single_); }
  System<double>& doublePrecision() { return make(double_); }

  /// The quadratic program of the third route, made at the first call.
  QuadraticProgram& quadraticProgram() {
    if (!program_) {
      program_.emplace(doublePrecision());
    }
    return *program_;
  }

 private:
  template <class Working>
  System<Working>& make(std::optional<System<Working>>& system) {
    if (!system) {
      if constexpr (std::is_same_v<Working, Real>) {
        system.emplace(kernel_->template forms<Working>(), d_);
      } else {
        system.emplace(System<Working>::converted(kernel_->template forms<Working>(), d_));
      }
    }
    return *system;
  }

  std::unique_ptr<ProblemKernel<Real>> own_;
  const ProblemKernel<Real>* kernel_;
  const Real* d_;
  std::optional<System<float>> single_;
  std::optional<System<double>> double_;
  std::optional<QuadraticProgram> program_;
};

}  // namespace vorin::brd
