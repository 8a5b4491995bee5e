#include "toolbox/norms.hpp"

#include <algorithm>
#include <cstddef>

namespace vorin {

float meanSquaredColumnNorm(int m, int n, const float* K) {
  // Columns are independent sums: eight run side by side to hide the latency of
  // the additions, each in its own order.
  constexpr int group = 8;
  const std::ptrdiff_t rows = std::max(m, 0);
  float total = 0.0f;
  for (int j0 = 0; j0 < n; j0 += group) {
    float sums[group] = {};
    const int columns = std::min(group, n - j0);
    const float* block = K + j0 * rows;
    if (columns == group) {
      for (std::ptrdiff_t i = 0; i < rows; ++i) {
        for (int j = 0; j < group; ++j) {
          const float value = block[j * rows + i];
          sums[j] += value * value;
        }
      }
    } else {
      for (int j = 0; j < columns; ++j) {
        for (std::ptrdiff_t i = 0; i < rows; ++i) {
          const float value = block[j * rows + i];
          sums[j] += value * value;
        }
      }
    }
    for (int j = 0; j < columns; ++j) {
      total += sums[j];
    }
  }
  return total / static_cast<float>(n);
}

}  // namespace vorin
