// Sorting by way of an index.
//
// Quicksort with the median of three as pivot, the smaller part first and
// insertion for short stretches (C. A. R. Hoare, Comput. J. 5 (1962) 10-16;
// R. Sedgewick, Commun. ACM 21 (1978) 847-857). Not stable. Index vectors count
// from 1.
#pragma once

#include <cstdint>

#include "toolbox/views.hpp"

namespace vorin {

/// Fills `index` with the permutation of 1 .. n for which arr(index(1)) <=
/// arr(index(2)) <= ... Sizes that differ leave one record with the tag
/// "indexx_sp" (for integers too) and index as it was. With a NaN among the values
/// the order is of no meaning, but index is a permutation all the same. No routine of the
/// library sorts integers: indexx_i completes the pair.
void indexx_sp(VectorView<const float> arr, VectorView<std::int32_t> index);
void indexx_i(VectorView<const std::int32_t> arr, VectorView<std::int32_t> index);

/// Sorts arr ascending and carries slave along. Sizes that differ leave one record
/// with the tag "sort2"; the permutation is arr's then, and of slave only those
/// elements change that exist and are to come from one that exists.
void sort2(VectorView<float> arr, VectorView<float> slave);

}  // namespace vorin
