// The body of the index sorts, one for all element types.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "toolbox/array_helpers.hpp"
#include "toolbox/nrerror.hpp"
#include "toolbox/views.hpp"

namespace vorin::detail {

// A stretch of fewer entries than this is left to insertion.
constexpr std::ptrdiff_t shortStretch = 16;

// Entries of the stack of postponed parts above which it counts as too small.
constexpr int stackLimit = 50;

/// One sort of `index` (n entries, from 1) by `arr` (n values). A class, since its
/// steps share the stretch l .. r at hand and the stack of postponed ones.
///
/// The stack: the larger part waits and the smaller is at most half of its stretch,
/// so a sort of n entries never has more than log2(n / 15) parts waiting: 27 pairs
/// for any 32-bit n. The message about 50 entries is a warning only; the storage
/// has room for 32 pairs, and nothing is ever written outside it.
template <class Value>
class IndexQuicksort {
 public:
  IndexQuicksort(VectorView<const Value> arr, VectorView<std::int32_t> index,
                 int limit = stackLimit)
      : arr_(arr), index_(index), limit_(limit), r_(index.n - 1) {}

  void run() {
    for (;;) {
      if (r_ - l_ < shortStretch - 1) {
        insertionSort();
        if (top_ == 0) {
          return;
        }
        r_ = stack_[static_cast<std::size_t>(--top_)];
        l_ = stack_[static_cast<std::size_t>(--top_)];
      } else {
        orderThree();
        partition();
        postponeLarger();
      }
    }
  }

 private:
  Value at(std::ptrdiff_t k) const { return arr_[index_[k] - 1]; }

  void insertionSort() {
    for (std::ptrdiff_t j = l_ + 1; j <= r_; ++j) {
      const std::int32_t entry = index_[j];
      const Value value = arr_[entry - 1];
      std::ptrdiff_t i = j;
      for (; i > l_ && at(i - 1) > value; --i) {
        index_[i] = index_[i - 1];
      }
      index_[i] = entry;
    }
  }

  void exchangeIfGreater(std::ptrdiff_t first, std::ptrdiff_t second) {
    if (at(first) > at(second)) {
      swap_i(index_[first], index_[second]);
    }
  }

  // Leaves the median of first, middle and last at l + 1, with a bound for each of
  // the scans at l and r. The middle is that of positions counted from 1.
  void orderThree() {
    swap_i(index_[(l_ + 1 + r_ + 1) / 2 - 1], index_[l_ + 1]);
    exchangeIfGreater(l_, r_);
    exchangeIfGreater(l_ + 1, r_);
    exchangeIfGreater(l_, l_ + 1);
  }

  // Values equal to the pivot stop both scans, which keeps the parts balanced when
  // many are equal. The bounds l and r only matter where a NaN hides the values
  // that would stop a scan.
  void partition() {
    const std::int32_t pivotEntry = index_[l_ + 1];
    const Value pivot = arr_[pivotEntry - 1];
    i_ = l_ + 1;
    j_ = r_;
    for (;;) {
      do {
        ++i_;
      } while (i_ < r_ && !(at(i_) >= pivot));
      do {
        --j_;
      } while (j_ > l_ && !(at(j_) <= pivot));
      if (j_ < i_) {
        break;
      }
      swap_i(index_[i_], index_[j_]);
    }
    index_[l_ + 1] = index_[j_];
    index_[j_] = pivotEntry;
  }

  void postponeLarger() {
    if (top_ + 2 > limit_) {
      nrerror("indexx: NSTACK too small");
    }
    if (r_ - i_ + 1 >= j_ - l_) {
      push(i_, r_);
      r_ = j_ - 1;
    } else {
      push(l_, j_ - 1);
      l_ = i_;
    }
  }

  void push(std::ptrdiff_t l, std::ptrdiff_t r) {
    stack_[static_cast<std::size_t>(top_++)] = l;
    stack_[static_cast<std::size_t>(top_++)] = r;
  }

  VectorView<const Value> arr_;
  VectorView<std::int32_t> index_;
  int limit_;
  std::ptrdiff_t l_ = 0;
  std::ptrdiff_t r_;
  std::ptrdiff_t i_ = 0;  // behind a partition: start of the upper part
  std::ptrdiff_t j_ = 0;  // behind a partition: place of the pivot
  int top_ = 0;
  std::array<std::ptrdiff_t, 64> stack_{};
};

}  // namespace vorin::detail
