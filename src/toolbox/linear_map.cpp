#include "toolbox/linear_map.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

#include "toolbox/kernels/kernels.hpp"

namespace vorin {

void formFit(int m, int n, const float* K, const float* f, float* fit) {
  if (n < 1) {
    // A kernel without columns may have no address to start from.
    std::fill_n(fit, std::max(m, 0), 0.0f);
    return;
  }
  std::vector<int> columns(static_cast<std::size_t>(n));
  std::iota(columns.begin(), columns.end(), 0);
  kernels::table<float>().combineColumns(std::max(m, 0), static_cast<int>(columns.size()),
                                         columns.data(), K, f, fit);
}

}  // namespace vorin
