// The exported single solve: the dispatcher of the inversion, for a host that
// brings its own weight. The dual vector is no part of the interface.
#include <algorithm>
#include <vector>

#include "brd/dispatch.hpp"
#include "vorin.h"

namespace {

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

// The single iteration starts from c: ones, as in the weight search. The double
// iteration only compares with it: zeros.
void vrBRDw_sp_dll(int32_t m, int32_t n, const float* K, const float* d, float* f,
                   const float* weight, float* rss, float* rssSlope, int32_t* status) noexcept {
  solveOnce(vorin::brd::vrBRD_s, m, n, K, d, f, 1.0f, weight, rss, rssSlope, status);
}

void vrBRDw_dp_dll(int32_t m, int32_t n, const double* K, const double* d, double* f,
                   const double* weight, double* rss, double* rssSlope, int32_t* status) noexcept {
  solveOnce(vorin::brd::vrBRD_d, m, n, K, d, f, 0.0, weight, rss, rssSlope, status);
}
