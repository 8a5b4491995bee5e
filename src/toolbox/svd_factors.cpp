#include "toolbox/svd_factors.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "toolbox/lapack.hpp"

namespace vorin {
namespace {

bool isFinite(std::ptrdiff_t m, std::ptrdiff_t n, const float* a, std::ptrdiff_t lda) {
  for (std::ptrdiff_t j = 0; m > 0 && j < n; ++j) {
    const float* column = a + j * lda;
    if (!std::all_of(column, column + m, [](float value) { return std::isfinite(value); })) {
      return false;
    }
  }
  return true;
}

void fillColumns(std::ptrdiff_t m, std::ptrdiff_t from, std::ptrdiff_t to, float* a,
                 std::ptrdiff_t lda, float value) {
  for (std::ptrdiff_t j = from; m > 0 && j < to; ++j) {
    std::fill_n(a + j * lda, m, value);
  }
}

}  // namespace

void decomposeInPlace(int m, int n, float* a, int lda, float* s, float* vt) {
  if (n < 1) {
    return;
  }
  const std::ptrdiff_t rows = std::max(m, 0);
  const std::ptrdiff_t columns = n;
  if (!isFinite(rows, columns, a, lda)) {
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    fillColumns(rows, 0, columns, a, lda, none);
    fillColumns(columns, 0, columns, vt, columns, none);
    std::fill_n(s, columns, none);
    return;
  }
  if (rows == 0) {
    std::fill_n(vt, columns * columns, 0.0f);
    for (std::ptrdiff_t j = 0; j < columns; ++j) {
      vt[j + j * columns] = 1.0f;
    }
  }
  gesvd(m, n, a, lda, s, vt, n);
  const std::ptrdiff_t values = std::min(rows, columns);
  std::fill(s + values, s + columns, 0.0f);
  fillColumns(rows, values, columns, a, lda, 0.0f);
}

}  // namespace vorin
