// The exported inversion entries of the primary driver.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "entry/driver.hpp"
#include "vorin.h"

using vorin::entry::MadeUpArrays;

void Voriny_s(int32_t nf, int32_t ng, const int32_t* /*nfAddress*/, const int32_t* /*ngAddress*/,
              const float* K, const float* T, const float* Y, float* W, const float* G, float* F,
              float* FIT, int32_t* status) noexcept {
  vorin::entry::invert({nf, ng, K, T, Y, W, G, F, FIT}, *status);
}

void Vorin_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
             int32_t* status) noexcept {
  MadeUpArrays arrays(nf, ng);
  vorin::entry::invert(arrays.job(K, Y, F), *status);
}

void vorin_s_cdecl(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                   int32_t* status) noexcept {
  Vorin_s(nf, ng, K, Y, F, status);
}

void Vorin_d(int32_t nf, int32_t ng, const double* K, const double* Y, double* F,
             int32_t* status) noexcept {
  const auto points = static_cast<std::size_t>(std::max(nf, 0));
  const auto gridPoints = static_cast<std::size_t>(std::max(ng, 0));
  const auto narrow = [](double value) { return static_cast<float>(value); };
  std::vector<float> kernel(points * gridPoints);
  std::vector<float> data(points);
  std::vector<float> distribution(gridPoints);
  std::transform(K, K + kernel.size(), kernel.begin(), narrow);
  std::transform(Y, Y + data.size(), data.begin(), narrow);
  std::transform(F, F + gridPoints, distribution.begin(), narrow);
  Vorin_s(nf, ng, kernel.data(), data.data(), distribution.data(), status);
  std::copy(distribution.begin(), distribution.end(), F);
}
