#include "literal_calls.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "brd/problem.hpp"
#include "brd/qp_route.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/norms.hpp"
#include "toolbox/views.hpp"
#include "vorin.h"
#include "weight/weight_driver.hpp"

namespace {

constexpr int capacity = 5000;  // rows that a pruned problem may have
constexpr int fewestPruned = 10;
constexpr int modeLinear = 2;
constexpr int modeLogarithmic = 1;

int number(const char* key) {
  float value = 0.0f;
  std::int32_t ignored = 0;
  VorinSQR("Q", key, &value, &ignored);
  return static_cast<int>(value);
}

void setReference(float value) {
  std::int32_t ignored = 0;
  VorinSQR("S", "WREF", &value, &ignored);
}

std::string pruningMode() {
  std::string text(32, ' ');
  const auto length = static_cast<std::int32_t>(text.size());
  std::int32_t ignored = 0;
  VorinSQC("Q", "PRMO", text.data(), &length, &ignored);
  return text.substr(0, 2);
}

struct Pruned {
  std::int32_t rows = 0;
  std::vector<float> kernel;
  std::vector<float> data;
};

Pruned prune(int nf, int ng, const float* K, const float* Y, int mode) {
  Pruned out;
  const std::size_t points = vorin::length(nf);
  std::vector<float> matrix(capacity * points);
  std::vector<float> t(points);
  const std::vector<float> ones(points, 1.0f);
  std::vector<float> sumsOfT(capacity), norms(capacity);
  out.data.resize(capacity);
  for (std::size_t i = 0; i < points; ++i) {
    t[i] = static_cast<float>(i + 1);
  }
  const int target = std::clamp(number("PRPO"), fewestPruned, capacity);
  std::int32_t status = 0;
  VorinPruneZ(nf, nf, capacity, Y, t.data(), ones.data(), number("PRLO"), number("PRHI"), target,
              mode, &out.rows, out.data.data(), sumsOfT.data(), norms.data(), matrix.data(),
              &status);
  out.kernel.resize(vorin::area(out.rows, ng));
  const vorin::ColumnMajorView<const float> P{matrix.data(), capacity};
  const vorin::ColumnMajorView<const float> full{K, nf};
  const vorin::ColumnMajorView<float> pruned{out.kernel.data(), out.rows};
  for (int j = 0; j < ng; ++j) {
    for (int i = 0; i < nf; ++i) {
      const float value = full(i, j);
      for (int r = 0; r < out.rows; ++r) {
        pruned(r, j) += P(r, i) * value;
      }
    }
  }
  return out;
}

}  // namespace

void VORIN_CALL referenceVorin_s(std::int32_t nf, std::int32_t ng, const float* K, const float* Y,
                                 float* F, std::int32_t* status) noexcept {
  vorin::kernels::useLevel(vorin::kernels::Level::baseline);
  const std::string mode = pruningMode();
  if (mode == "NO") {
    Vorin_s(nf, ng, K, Y, F, status);
    return;
  }
  const Pruned problem = prune(nf, ng, K, Y, mode == "LI" ? modeLinear : modeLogarithmic);
  setReference(vorin::meanSquaredColumnNorm(problem.rows, ng, problem.kernel.data()));
  vorin::weight::Vorin_SEtoW(problem.rows, ng, problem.kernel.data(), problem.data.data(), F,
                             *status);
}

void VORIN_CALL referenceQuadraticProgram(std::int32_t m, std::int32_t n, const double* K,
                                          const double* d, double* f, double* c, double weight,
                                          double* rss, double* rssSlope,
                                          std::int32_t* status) noexcept {
  vorin::kernels::useLevel(vorin::kernels::Level::baseline);
  vorin::brd::Problem<double> problem(m, n, K, d);
  const auto solution = vorin::brd::vrBRD_qp_d(problem.quadraticProgram(), f, c, weight);
  *rss = solution.rss;
  *rssSlope = solution.rssSlope;
  *status = solution.status;
}
