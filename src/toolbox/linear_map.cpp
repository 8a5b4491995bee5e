#include "toolbox/linear_map.hpp"

#include <algorithm>
#include <cstddef>

namespace vorin {

void formFit(int m, int n, const float* K, const float* f, float* fit) {
  const std::ptrdiff_t rows = std::max(m, 0);
  std::fill(fit, fit + rows, 0.0f);
  for (int j = 0; j < n; ++j) {
    const float amplitude = f[j];
    const float* column = K + j * rows;
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
      fit[i] += amplitude * column[i];
    }
  }
}

}  // namespace vorin
