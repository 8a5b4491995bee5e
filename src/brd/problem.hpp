// One least-squares problem: kernel, data, and what its solves share. A weight search
// makes one Problem and solves it many times, so conversions are made once and work
// arrays are allocated once.
#pragma once

#include <optional>
#include <type_traits>

#include "brd/qp_route.hpp"
#include "brd/system.hpp"

namespace vorin::brd {

/// K (m x n, column-major, leading dimension m) and d (m) belong to the caller and
/// must stay as they are while the Problem lives. Sizes below 1 count as empty.
template <class Real>
class Problem {
 public:
  Problem(int m, int n, const Real* K, const Real* d) : m_(m), n_(n), K_(K), d_(d) {}

  int m() const { return m_; }
  int n() const { return n_; }
  const Real* K() const { return K_; }
  const Real* d() const { return d_; }

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
        system.emplace(m_, n_, K_, d_);
      } else {
        system.emplace(System<Working>::converted(m_, n_, K_, d_));
      }
    }
    return *system;
  }

  int m_;
  int n_;
  const Real* K_;
  const Real* d_;
  std::optional<System<float>> single_;
  std::optional<System<double>> double_;
  std::optional<QuadraticProgram> program_;
};

}  // namespace vorin::brd
