// The exported corner search, for a host that wants its weight without a parameter.
#include <algorithm>
#include <vector>

#include "brd/qp_solver.hpp"
#include "vorin.h"
#include "weight/corner_search.hpp"

namespace {

static_assert(int{VORIN_QP_OK} == int{vorin::brd::kQpSolved});
static_assert(int{VORIN_QP_NOT_DEFINITE} == int{vorin::brd::kQpNotPositiveDefinite});
static_assert(int{VORIN_QP_LIMIT} == int{vorin::brd::kQpLimitReached});

template <class Real>
void report(const vorin::weight::CornerSolution& corner, Real* w, Real* rss, Real* rssSlope,
            std::int32_t* status) {
  *w = static_cast<Real>(corner.w);
  *rss = static_cast<Real>(corner.rss);
  *rssSlope = static_cast<Real>(corner.rssSlope);
  *status = corner.status;
}

}  // namespace

void vorinTarget2_sp(int32_t m, int32_t n, const float* K, const float* d, float* f, float* w,
                     float* rss, float* rssSlope, int32_t* status) noexcept {
  vorin::brd::Problem<float> problem(m, n, K, d);
  std::vector<double> fTwice(static_cast<std::size_t>(std::max(n, 0)));
  report(vorin::weight::searchCorner(problem, fTwice.data()), w, rss, rssSlope, status);
  std::transform(fTwice.begin(), fTwice.end(), f,
                 [](double value) { return static_cast<float>(value); });
}

void vorinTarget2_dp(int32_t m, int32_t n, const double* K, const double* d, double* f, double* w,
                     double* rss, double* rssSlope, int32_t* status) noexcept {
  vorin::brd::Problem<double> problem(m, n, K, d);
  report(vorin::weight::searchCorner(problem, f), w, rss, rssSlope, status);
}
