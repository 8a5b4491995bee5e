#include "toolbox/solve_svd.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "toolbox/svbksb.hpp"
#include "toolbox/svd_factors.hpp"
#include "toolbox/views.hpp"

namespace vorin {

void VorinSolveSVD_s(int m, int n, const float* A, const float* b, float* x, float rthr, int nmax) {
  const std::ptrdiff_t rows = std::max(m, 0);
  const std::ptrdiff_t columns = std::max(n, 0);
  std::vector<float> U(A, A + rows * columns);
  std::vector<float> S(static_cast<std::size_t>(columns));
  std::vector<float> VT(static_cast<std::size_t>(columns * columns));
  decomposeInPlace(m, n, U.data(), m, S.data(), VT.data());

  float largest = -std::numeric_limits<float>::infinity();
  for (const float value : S) {
    largest = std::max(largest, value);
  }
  const float cut = largest * rthr;
  for (std::ptrdiff_t i = 0; i < columns; ++i) {
    float& value = S[static_cast<std::size_t>(i)];
    if (value < cut || i >= nmax) {
      value = 0.0f;
    }
  }
  // V as the rows of V', seen through exchanged strides.
  const MatrixView<const float> V{VT.data(), columns, columns, columns, 1};
  svbksb_sp(denseColumns<const float>(U.data(), rows, columns), {S.data(), columns, 1}, V,
            {b, rows, 1}, {x, columns, 1});
}

}  // namespace vorin
