#include "weight/outliers.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "regress/penalised_fit.hpp"
#include "toolbox/convert.hpp"
#include "toolbox/views.hpp"
#include "weight/difference_noise.hpp"

namespace vorin::weight {
namespace {

std::ptrdiff_t extent(int n) {
  return std::max(n, 0);
}

const float* column(const OutlierSearch& search, std::ptrdiff_t j) {
  return search.K + j * search.lda;
}

// `ridge` times the mean squared column norm of K / W.
float ridgeTerm(const OutlierSearch& search) {
  float mean = 0.0f;
  for (int j = 0; j < search.n; ++j) {
    const float* k = column(search, j);
    float square = 0.0f;
    for (int i = 0; i < search.m; ++i) {
      const float scaled = k[i] / search.W[i];
      square += scaled * scaled;
    }
    mean += square / static_cast<float>(search.n);
  }
  return mean * search.ridge;
}

// The fit of y / W by K / W. Rows are multiplied by 1 / W, data are divided by W: two
// roundings for the one, one for the other.
void fit(const OutlierSearch& search, const std::vector<float>& data, std::int32_t& status) {
  const std::ptrdiff_t m = extent(search.m);
  const std::ptrdiff_t n = extent(search.n);
  std::vector<float> kernel(static_cast<std::size_t>(m * n));
  for (std::ptrdiff_t j = 0; j < n; ++j) {
    const float* from = column(search, j);
    for (std::ptrdiff_t i = 0; i < m; ++i) {
      kernel[static_cast<std::size_t>(i + j * m)] = from[i] * (1.0f / search.W[i]);
    }
  }
  const float lambda = ridgeTerm(search);
  const MatrixView<const float> design{kernel.data(), m, n, 1, m};
  regress::plsPen_sp(design, {data.data(), m, 1}, {search.x, n, 1}, {&lambda, 1, 1}, status);
}

// (K x - y) / W, with K x summed column after column.
std::vector<float> weightedResiduals(const OutlierSearch& search) {
  std::vector<float> u(static_cast<std::size_t>(extent(search.m)));
  for (int j = 0; j < search.n; ++j) {
    const float* k = column(search, j);
    for (std::size_t i = 0; i < u.size(); ++i) {
      u[i] += k[i] * search.x[j];
    }
  }
  for (std::size_t i = 0; i < u.size(); ++i) {
    u[i] = (u[i] - search.y[i]) / search.W[i];
  }
  return u;
}

}  // namespace

void serol(const OutlierSearch& search, std::int32_t& nGood, std::int32_t& nBad,
           std::int32_t& status) {
  std::vector<float> data(static_cast<std::size_t>(extent(search.m)));
  for (std::size_t i = 0; i < data.size(); ++i) {
    data[i] = search.y[i] / search.W[i];
  }
  fit(search, data, status);
  const std::vector<float> u = weightedResiduals(search);
  const float noise = seDiff(secondDifferences, search.m, data.data());
  float good = 0.0f;
  for (std::size_t i = 0; i < u.size(); ++i) {
    // Required: the residual is brought back to the unit of y, while the noise is that
    // of y / W. Callers' thresholds are tuned to this ratio.
    const float misfit = std::abs(u[i]) * search.W[i] / noise;
    search.flags[i] = search.thresh <= misfit ? 0.0f : 1.0f;
    good += search.flags[i];
  }
  nGood = truncateToInt(good);
  nBad = search.m - nGood;
}

}  // namespace vorin::weight
