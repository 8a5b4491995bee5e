// Section "Regression": linear fits of the host's double-precision arrays. Three of the
// four work on single-precision copies.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "brd/nnls.hpp"
#include "entry/exports/flush_on_return.hpp"
#include "regress/bvls.hpp"
#include "regress/penalised_fit.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "toolbox/views.hpp"
#include "vorin.h"

namespace vorin::regress {
namespace {

static_assert(int{VORIN_PLSN_SOLVED} == int{brd::nnlsSolved});
static_assert(int{VORIN_PLSN_EMPTY} == int{brd::nnlsEmpty});
static_assert(int{VORIN_PLSN_ITERATION_LIMIT} == int{brd::nnlsIterationLimit});
static_assert(int{VORIN_PLSB_SOLVED} == int{bvlsSolved});
static_assert(int{VORIN_PLSB_EMPTY} == int{bvlsEmpty});
static_assert(int{VORIN_PLSB_ITERATION_LIMIT} == int{bvlsIterationLimit});
static_assert(int{VORIN_PLSREG_SOLVED} == int{bvlsSolved});
static_assert(int{VORIN_PLSREG_EMPTY} == int{bvlsEmpty});
static_assert(int{VORIN_PLSREG_ITERATION_LIMIT} == int{bvlsIterationLimit});

std::ptrdiff_t extent(std::int64_t size) {
  return static_cast<std::ptrdiff_t>(std::max<std::int64_t>(size, 0));
}

// `count` doubles rounded to the nearest float; beyond its range to an infinity.
std::vector<float> narrowed(const double* values, std::ptrdiff_t count) {
  std::vector<float> copy(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < copy.size(); ++i) {
    copy[i] = static_cast<float>(values[i]);
  }
  return copy;
}

// A fit of matrix (m by n) to vector (m) in single precision, on copies of the host's
// arrays, with a solution of its own. Without columns nothing is read.
class SingleFit {
 public:
  SingleFit(const double* matrix, std::int32_t m, std::int32_t n, const double* vector)
      : m_(extent(m)),
        n_(extent(n)),
        matrix_(narrowed(matrix, m_ * n_)),
        vector_(narrowed(vector, n_ > 0 ? m_ : 0)),
        solution_(static_cast<std::size_t>(n_)) {}

  MatrixView<float> matrix() { return denseColumns(matrix_.data(), m_, n_); }
  VectorView<float> vector() {
    return {vector_.data(), static_cast<std::ptrdiff_t>(vector_.size()), 1};
  }
  VectorView<float> solution() { return {solution_.data(), n_, 1}; }

  void deliver(double* x) const {
    for (std::size_t j = 0; j < solution_.size(); ++j) {
      x[j] = static_cast<double>(solution_[j]);
    }
  }

 private:
  std::ptrdiff_t m_;
  std::ptrdiff_t n_;
  std::vector<float> matrix_;
  std::vector<float> vector_;
  std::vector<float> solution_;
};

void fitN(const double* A, std::int32_t m, std::int32_t n, const double* b, double* x,
          std::int32_t& status) noexcept {
  SingleFit fit(A, m, n, b);
  float rnorm = 0;
  plsN_sp(fit.matrix(), fit.vector(), fit.solution(), rnorm, fitIterationLimit(n), status);
  if (status != brd::nnlsEmpty) {
    fit.deliver(x);
  }
}

void fitB(const double* A, std::int32_t m, std::int32_t n, const double* b, double* x,
          std::int32_t itmax, std::int32_t& status) noexcept {
  SingleFit fit(A, m, n, b);
  float rnorm = 0;
  plsB_sp(fit.matrix(), fit.vector(), fit.solution(), rnorm, itmax, status);
  if (status != bvlsEmpty) {
    fit.deliver(x);
  }
}

void fitReg(const double* X, std::int32_t m, std::int32_t n, const double* y, double* x,
            const double* lambda, std::int32_t K, std::int32_t& status) noexcept {
  const VectorView<const double> weights{lambda, extent(std::int64_t{K} + 1), 1};
  plsPen_dp(denseColumns(X, extent(m), extent(n)), {y, extent(m), 1}, {x, extent(n), 1}, weights,
            status);
}

void fitLU(const double* X, std::int32_t m, std::int32_t n, const double* y, double* x,
           const double* lambda, std::int32_t K, std::int32_t& status) noexcept {
  SingleFit fit(X, m, n, y);
  const std::ptrdiff_t orders = n < 1 ? 0 : extent(std::int64_t{K} + 1);
  const std::vector<float> weights = narrowed(lambda, orders);
  LUPen_sp(fit.matrix(), fit.vector(), fit.solution(), {weights.data(), orders, 1}, status);
  fit.deliver(x);
}

}  // namespace
}  // namespace vorin::regress

extern "C" {

void VORIN_CALL plsN_dll(const double* A, int32_t m, int32_t n, const double* b, double* x,
                         int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  vorin::regress::fitN(A, m, n, b, x, *status);
}

void VORIN_CALL plsB_dll(const double* A, int32_t m, int32_t n, const double* b, double* x,
                         int32_t itmax, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  vorin::regress::fitB(A, m, n, b, x, itmax, *status);
}

void VORIN_CALL plsReg_DLL(const double* X, int32_t m, int32_t n, const double* y, double* x,
                           const double* lambda, int32_t K, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  vorin::regress::fitReg(X, m, n, y, x, lambda, K, *status);
}

void VORIN_CALL LUReg_DLL(const double* X, int32_t m, int32_t n, const double* y, double* x,
                          const double* lambda, int32_t K, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  vorin::regress::fitLU(X, m, n, y, x, lambda, K, *status);
}

}  // extern "C"
