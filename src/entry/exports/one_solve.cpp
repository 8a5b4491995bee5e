// Section "One solve at one weight": the solver of the inversion at a weight that the host
// gives. The dual vector is not part of the interface.
#include <algorithm>
#include <vector>

#include "brd/dispatch.hpp"
#include "brd/iteration.hpp"
#include "brd/qp_solver.hpp"
#include "entry/exports/flush_on_return.hpp"
#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

static_assert(int{VORIN_SOLVE_OK} == int{vorin::brd::solveConverged});
static_assert(int{VORIN_SOLVE_FAILED} == int{vorin::brd::solveFailed});
static_assert(int{VORIN_QP_OK} == int{vorin::brd::qpSolved});
static_assert(int{VORIN_QP_NOT_DEFINITE} == int{vorin::brd::qpNotPositiveDefinite});
static_assert(int{VORIN_QP_LIMIT} == int{vorin::brd::qpLimitReached});

template <class Real, class Dispatcher>
void solveOnce(Dispatcher dispatch, std::int32_t m, std::int32_t n, const Real* K, const Real* d,
               Real* f, Real freshDual, const Real* weight, Real* rss, Real* rssSlope,
               std::int32_t* status) {
  std::vector<Real> c(static_cast<std::size_t>(std::max(m, 0)), freshDual);
  std::fill_n(f, std::max(n, 0), Real(1));
  vorin::brd::Problem<Real> problem(m, n, K, d);
  dispatch(problem, f, c.data(), *weight, *rss, *rssSlope, *status);
}

}  // namespace

extern "C" {

// The single-precision iteration starts from c, here ones as in the weight search. The
// double-precision iteration only compares with c, here zeros.
void VORIN_CALL vrBRDw_sp_dll(int32_t m, int32_t n, const float* K, const float* d, float* f,
                              const float* weight, float* rss, float* rssSlope,
                              int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  const auto dispatch = [](auto&&... arguments) { vorin::brd::vrBRD_s(arguments...); };
  solveOnce(dispatch, m, n, K, d, f, 1.0f, weight, rss, rssSlope, status);
}

void VORIN_CALL vrBRDw_dp_dll(int32_t m, int32_t n, const double* K, const double* d, double* f,
                              const double* weight, double* rss, double* rssSlope,
                              int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  const vorin::entry::FlushOnReturn flush;
  solveOnce(vorin::brd::vrBRD_d, m, n, K, d, f, 0.0, weight, rss, rssSlope, status);
}

}  // extern "C"
