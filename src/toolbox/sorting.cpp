#include "toolbox/sorting.hpp"

#include <algorithm>
#include <vector>

#include "toolbox/index_quicksort.hpp"

namespace vorin {
namespace {

template <class Value>
void sortIndex(VectorView<const Value> arr, VectorView<std::int32_t> index) {
  const std::int32_t n =
      assert_eq(static_cast<std::int32_t>(index.n), static_cast<std::int32_t>(arr.n), "indexx_sp");
  arith_seq_i(index, 1, 1, n);
  detail::IndexQuicksort<Value>(arr.section(0, n), index.section(0, n)).run();
}

// values := values(index), as far as both sides exist.
void permute(VectorView<float> values, const std::vector<std::int32_t>& index) {
  std::vector<float> copy(static_cast<std::size_t>(values.n));
  for (std::ptrdiff_t k = 0; k < values.n; ++k) {
    copy[static_cast<std::size_t>(k)] = values[k];
  }
  const auto count = std::min(copy.size(), index.size());
  for (std::size_t k = 0; k < count; ++k) {
    const auto source = static_cast<std::size_t>(index[k] - 1);
    if (source < copy.size()) {
      values[static_cast<std::ptrdiff_t>(k)] = copy[source];
    }
  }
}

}  // namespace

void indexx_sp(VectorView<const float> arr, VectorView<std::int32_t> index) {
  sortIndex(arr, index);
}

void indexx_i(VectorView<const std::int32_t> arr, VectorView<std::int32_t> index) {
  sortIndex(arr, index);
}

void sort2(VectorView<float> arr, VectorView<float> slave) {
  assert_eq(static_cast<std::int32_t>(arr.n), static_cast<std::int32_t>(slave.n), "sort2");
  std::vector<std::int32_t> index(static_cast<std::size_t>(arr.n));
  indexx_sp(arr, {index.data(), arr.n, 1});
  permute(arr, index);
  permute(slave, index);
}

}  // namespace vorin
