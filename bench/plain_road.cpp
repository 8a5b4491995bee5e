#include "plain_road.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "brd/problem.hpp"
#include "entry/driver.hpp"
#include "entry/report.hpp"
#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/store.hpp"
#include "toolbox/convert.hpp"
#include "toolbox/norms.hpp"
#include "vorin.h"
#include "weight/weight_driver.hpp"

namespace vorin::bench {
namespace {

constexpr int capacity = 5000;  // rows that a pruned problem may have

std::size_t area(int rows, int columns) {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

// The first `rows` rows of P K: element (r, j) adds P(r, i) K(i, j) over all points i.
void multiply(int rows, int nf, int ng, const float* P, const float* K, float* out) {
  std::fill_n(out, area(rows, ng), 0.0f);
  for (int j = 0; j < ng; ++j) {
    float* column = out + area(rows, j);
    for (int i = 0; i < nf; ++i) {
      const float value = K[area(nf, j) + static_cast<std::size_t>(i)];
      const float* map = P + area(capacity, i);
      for (int r = 0; r < rows; ++r) {
        column[r] += map[r] * value;
      }
    }
  }
}

}  // namespace

void invertPlainly(std::int32_t nf, std::int32_t ng, const float* K, const float* Y, float* F,
                   std::int32_t* status) {
  const std::string_view mode = params::storedText("PRMO").substr(0, 2);
  if (mode == "NO") {
    Vorin_s(nf, ng, K, Y, F, status);
    return;
  }
  entry::MadeUpArrays arrays(nf, ng);
  const entry::Inversion job = arrays.job(K, Y, F);
  entry::beginInversion(job);
  std::vector<float> P(area(capacity, nf));
  std::vector<float> data(capacity), tSum(capacity), norms(capacity);
  const int target = std::clamp(truncateToInt(params::queryReal("PRPO")), 10, capacity);
  std::int32_t rows = 0;
  VorinPruneZ(nf, nf, capacity, Y, job.T, job.W, truncateToInt(params::queryReal("PRLO")),
              truncateToInt(params::queryReal("PRHI")), target, mode == "LI" ? 2 : 1, &rows,
              data.data(), tSum.data(), norms.data(), P.data(), status);
  std::vector<float> kernel(area(rows, ng));
  multiply(rows, nf, ng, P.data(), K, kernel.data());
  entry::report(entry::reductionLine("With pruning from ", nf, rows));
  params::setReal("WREF", meanSquaredColumnNorm(rows, ng, kernel.data()));
  weight::Vorin_SEtoW(rows, ng, kernel.data(), data.data(), F, *status);
  entry::endInversion(job, true, *status);
  params::VorinLogOpen(false);
}

}  // namespace vorin::bench
