#include "weight/weight_driver.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "brd/dispatch.hpp"
#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "weight/corner_mode.hpp"
#include "weight/mode_result.hpp"
#include "weight/noise_mode.hpp"
#include "weight/residual.hpp"

namespace vorin::weight {
namespace {

enum Target { fixed = 0, noise = 1, corner = 2 };

// One solve at the host's weight.
void fixedMode(brd::Problem<float>& problem, float* f, float* c, ModeResult& result,
               std::int32_t& status) {
  params::VorinLogLine("Vorin_SEtoW", "Comment", [&] {
    return "WEIG: target W=" + params::generalField(double(result.w), 12, 4);
  });
  params::setReal("CWIT", 0.0f);
  float rss = 0.0f;
  float rssSlope = 0.0f;
  brd::vrBRD_s(problem, f, c, result.w, rss, rssSlope, status);
  result.signow = std::sqrt(rss / static_cast<float>(problem.m()));
  result.iter = 0.0f;
}

}  // namespace

void Vorin_SEtoW(brd::Problem<float>& problem, float* f, std::int32_t& status) {
  // The dual vector starts at ones and is carried from solve to solve.
  std::vector<float> c(static_cast<std::size_t>(std::max(problem.m(), 0)), 1.0f);
  ModeResult result;
  result.w = params::queryReal("WEIG");
  status = cornerModeStatus;
  switch (params::queryInteger("TARG")) {
    case noise:
      noiseMode(problem, f, c.data(), result, status);
      break;
    case corner:
      cornerMode(problem, f, result);
      break;
    default:
      fixedMode(problem, f, c.data(), result, status);
      break;
  }
  // CSE2 reaches the slot of CSE, so that the value from the solver's own rss,
  // written later, is what a host reads.
  std::vector<float> fit;
  params::setReal("CSE2", rootMeanSquareResidual(problem, f, fit));
  params::setReal("CWIT", result.iter);
  params::setReal("CWEI", result.w);
  params::setReal("CSE ", result.signow);
  params::setReal("CSTA", static_cast<float>(status));
}

void Vorin_SEtoW(int m, int n, const float* K, const float* d, float* f, std::int32_t& status) {
  brd::Problem<float> problem(m, n, K, d);
  Vorin_SEtoW(problem, f, status);
}

}  // namespace vorin::weight
