#include "weight/residual.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "toolbox/linear_map.hpp"

namespace vorin::weight {

float rootMeanSquareOfData(const brd::Problem<float>& problem) {
  float square = 0.0f;
  for (int j = 0; j < problem.m(); ++j) {
    square += problem.d()[j] * problem.d()[j];
  }
  return std::sqrt(square / static_cast<float>(problem.m()));
}

float rootMeanSquareResidual(const brd::Problem<float>& problem, const float* f,
                             std::vector<float>& work) {
  const auto m = static_cast<std::size_t>(std::max(problem.m(), 0));
  work.resize(m);
  formFit(problem.m(), problem.n(), problem.K(), f, work.data());
  float square = 0.0f;
  for (std::size_t j = 0; j < m; ++j) {
    const float r = work[j] - problem.d()[j];
    square += r * r;
  }
  return std::sqrt(square / static_cast<float>(problem.m()));
}

}  // namespace vorin::weight
