#include "weight/corner_mode.hpp"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "brd/dispatch.hpp"
#include "params/store.hpp"
#include "weight/corner_search.hpp"
#include "weight/residual.hpp"

namespace vorin::weight {
namespace {

// RWEI in this closed interval keeps the solution at the corner.
constexpr float keepFrom = 0.95f;
constexpr float keepTo = 1.05f;

}  // namespace

void cornerMode(brd::Problem<float>& problem, float* f, ModeResult& result) {
  std::vector<double> fDouble(static_cast<std::size_t>(std::max(problem.n(), 0)));
  result.w = static_cast<float>(searchCorner(problem, fDouble.data()).w);
  std::transform(fDouble.begin(), fDouble.end(), f,
                 [](double value) { return static_cast<float>(value); });
  const float scale = params::queryReal("RWEI");
  if (scale < keepFrom || scale > keepTo) {
    result.w = scale * result.w;
    float rss = 0.0f;
    float rssSlope = 0.0f;
    std::int32_t ignored = 0;
    brd::vrBRD_s_qp(problem, f, result.w, rss, rssSlope, ignored);
  }
  std::vector<float> work;
  result.signow = rootMeanSquareResidual(problem, f, work);
  result.iter = 0.0f;
}

}  // namespace vorin::weight
