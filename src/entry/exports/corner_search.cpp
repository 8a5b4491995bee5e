// Section "Corner search": the weight at the corner of the curve of norm against residual.
#include "weight/corner_search.hpp"

#include <algorithm>
#include <vector>

#include "toolbox/default_arithmetic.hpp"
#include "vorin.h"

namespace {

template <class Real>
void report(const vorin::weight::CornerSolution& corner, Real* w, Real* rss, Real* rssSlope,
            std::int32_t* status) {
  *w = static_cast<Real>(corner.w);
  *rss = static_cast<Real>(corner.rss);
  *rssSlope = static_cast<Real>(corner.rssSlope);
  *status = corner.status;
}

}  // namespace

extern "C" {

void VORIN_CALL vorinTarget2_sp(int32_t m, int32_t n, const float* K, const float* d, float* f,
                                float* w, float* rss, float* rssSlope, int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::brd::Problem<float> problem(m, n, K, d);
  std::vector<double> fDouble(static_cast<std::size_t>(std::max(n, 0)));
  report(vorin::weight::searchCorner(problem, fDouble.data()), w, rss, rssSlope, status);
  std::transform(fDouble.begin(), fDouble.end(), f,
                 [](double value) { return static_cast<float>(value); });
}

void VORIN_CALL vorinTarget2_dp(int32_t m, int32_t n, const double* K, const double* d, double* f,
                                double* w, double* rss, double* rssSlope,
                                int32_t* status) noexcept {
  const vorin::DefaultArithmetic arithmetic;
  vorin::brd::Problem<double> problem(m, n, K, d);
  report(vorin::weight::searchCorner(problem, f), w, rss, rssSlope, status);
}

}  // extern "C"
