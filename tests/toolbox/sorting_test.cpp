// The index sorts against std::sort, and their behaviour at the edges.
#include "toolbox/sorting.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "support/open_log.hpp"
#include "toolbox/index_quicksort.hpp"

namespace {

using vorin::test::OpenLog;
using Lines = std::vector<std::string>;
using Index = std::vector<std::int32_t>;

vorin::VectorView<float> view(std::vector<float>& v) {
  return {v.data(), static_cast<std::ptrdiff_t>(v.size()), 1};
}

Index indexOf(const std::vector<float>& arr) {
  Index index(arr.size(), -1);
  const auto n = static_cast<std::ptrdiff_t>(arr.size());
  vorin::indexx_sp({arr.data(), n, 1}, {index.data(), n, 1});
  return index;
}

Index indexOf(const std::vector<std::int32_t>& arr) {
  Index index(arr.size(), -1);
  const auto n = static_cast<std::ptrdiff_t>(arr.size());
  vorin::indexx_i({arr.data(), n, 1}, {index.data(), n, 1});
  return index;
}

bool isPermutation(Index index) {
  std::sort(index.begin(), index.end());
  Index all(index.size());
  std::iota(all.begin(), all.end(), 1);
  return index == all;
}

template <class Value>
void expectSorts(const std::vector<Value>& arr) {
  const Index index = indexOf(arr);
  ASSERT_TRUE(isPermutation(index)) << arr.size();
  std::vector<Value> byIndex;
  for (const std::int32_t k : index) {
    byIndex.push_back(arr[static_cast<std::size_t>(k - 1)]);
  }
  std::vector<Value> sorted = arr;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(byIndex, sorted) << arr.size();
}

// Inputs of one size: random, sorted, reversed, equal, few different values, saw tooth.
std::vector<std::vector<std::int32_t>> inputs(std::size_t n) {
  std::mt19937 engine(static_cast<unsigned>(n) + 1);
  std::vector<std::int32_t> random(n);
  std::vector<std::int32_t> few(n);
  std::vector<std::int32_t> saw(n);
  for (std::size_t k = 0; k < n; ++k) {
    random[k] = static_cast<std::int32_t>(engine() % 100000) - 50000;
    few[k] = static_cast<std::int32_t>(engine() % 3);
    saw[k] = static_cast<std::int32_t>(k % 7);
  }
  std::vector<std::int32_t> sorted = random;
  std::sort(sorted.begin(), sorted.end());
  const std::vector<std::int32_t> reversed(sorted.rbegin(), sorted.rend());
  return {random, sorted, reversed, std::vector<std::int32_t>(n, 4), few, saw};
}

TEST(Sorting, AgreesWithStdSortForEverySizeAndOrder) {
  for (std::size_t n = 0; n <= 200; ++n) {  // 15, 16 and 17 among them
    for (const auto& integers : inputs(n)) {
      expectSorts(integers);
      std::vector<float> reals;
      for (const std::int32_t value : integers) {
        reals.push_back(static_cast<float>(value) * 0.37f);
      }
      expectSorts(reals);
    }
  }
}

TEST(Sorting, LargeInputsNeedLittleStack) {
  vorin::test::loadSettings();
  OpenLog log("SORTBIG");
  for (const auto& integers : inputs(100000)) {
    expectSorts(integers);
  }
  EXPECT_EQ(log.written(), Lines{});
}

TEST(Sorting, EmptyAndSingleAreLeftAlone) {
  EXPECT_EQ(indexOf(std::vector<float>{}), Index{});
  EXPECT_EQ(indexOf(std::vector<float>{3.0f}), Index{1});
  std::vector<float> one{3.0f};
  std::vector<float> slave{8.0f};
  vorin::sort2(view(one), view(slave));
  EXPECT_EQ(one[0], 3.0f);
  EXPECT_EQ(slave[0], 8.0f);
  std::vector<float> none;
  vorin::sort2(view(none), view(none));
}

TEST(Sorting, FifteenAndSixteenEitherSideOfPartitioning) {
  // 15 entries are left to insertion, which keeps equal values in order; of 16 equal
  // values partitioning moves some.
  Index inOrder(16);
  std::iota(inOrder.begin(), inOrder.end(), 1);
  EXPECT_EQ(indexOf(std::vector<float>(15, 1.0f)), Index(inOrder.begin(), inOrder.end() - 1));
  const Index sixteen = indexOf(std::vector<float>(16, 1.0f));
  EXPECT_NE(sixteen, inOrder);
  EXPECT_TRUE(isPermutation(sixteen));
  // By hand: entry 8, the middle, is exchanged with entry 2. Both scans stop on every
  // equal value and exchange places 3 and 15, 4 and 14, ... 8 and 10; they meet at
  // place 9 and pass. Place 2 takes what stands at place 8, which is entry 10, and
  // place 8 takes the pivot.
  EXPECT_EQ(sixteen, (Index{1, 10, 15, 14, 13, 12, 11, 8, 9, 2, 7, 6, 5, 4, 3, 16}));
}

// The steps of the sort by recursion, in place of a stack of postponed parts: entries first to last
// of `index`.
void sortPlainly(const std::vector<std::int32_t>& arr, Index& index, std::size_t first,
                 std::size_t last) {
  const auto value = [&](std::size_t place) {
    return arr[static_cast<std::size_t>(index[place] - 1)];
  };
  const auto begin = index.begin() + static_cast<std::ptrdiff_t>(first);
  const std::size_t size = last - first + 1;
  if (size < 16) {
    std::stable_sort(begin, begin + static_cast<std::ptrdiff_t>(size),
                     [&](std::int32_t one, std::int32_t other) {
                       return arr[static_cast<std::size_t>(one - 1)] <
                              arr[static_cast<std::size_t>(other - 1)];
                     });
    return;
  }
  const std::size_t second = first + 1;
  const std::size_t middleFromOne = (first + 1 + last + 1) / 2;
  std::swap(index[second], index[middleFromOne - 1]);
  for (const auto& [low, high] : {std::pair(first, last), {second, last}, {first, second}}) {
    if (value(low) > value(high)) {
      std::swap(index[low], index[high]);
    }
  }
  std::size_t up = second + 1;
  std::size_t down = last - 1;
  for (;; ++up, --down) {
    while (value(up) < value(second)) {
      ++up;
    }
    while (value(down) > value(second)) {
      --down;
    }
    if (down < up) {
      break;
    }
    std::swap(index[up], index[down]);
  }
  std::swap(index[second], index[down]);
  sortPlainly(arr, index, up, last);
  sortPlainly(arr, index, first, down - 1);
}

TEST(Sorting, EqualValuesComeInTheOrderOfItsSteps) {
  for (std::size_t n = 1; n <= 200; ++n) {
    for (const auto& values : inputs(n)) {
      Index expected(n);
      std::iota(expected.begin(), expected.end(), 1);
      sortPlainly(values, expected, 0, n - 1);
      EXPECT_EQ(indexOf(values), expected) << n;
    }
  }
}

// Counts its comparisons.
struct Counted {
  int value;
  static inline long comparisons = 0;
  friend bool operator>(Counted a, Counted b) { return ++comparisons, a.value > b.value; }
  friend bool operator>=(Counted a, Counted b) { return ++comparisons, a.value >= b.value; }
  friend bool operator<=(Counted a, Counted b) { return ++comparisons, a.value <= b.value; }
};

TEST(Sorting, ManyEqualValuesKeepThePartsBalanced) {
  const std::int32_t n = 1 << 14;
  const std::vector<Counted> arr(static_cast<std::size_t>(n), Counted{1});
  Index index(arr.size());
  std::iota(index.begin(), index.end(), 1);
  Counted::comparisons = 0;
  vorin::detail::IndexQuicksort<Counted>({arr.data(), n, 1}, {index.data(), n, 1}).run();
  // Halves at every level: log2(n) levels of about n comparisons. Lopsided parts would
  // cost n^2 / 4, which is 4096 n.
  EXPECT_LT(Counted::comparisons, 2L * n * 14);
  EXPECT_TRUE(isPermutation(index));
}

// Values that are decided only when they are compared, so that every partition is as
// lopsided as it can be (M. D. McIlroy, "A killer adversary for quicksort", Softw.
// Pract. Exper. 29 (1999) 341-344). `direction` 1 makes the upper parts the large ones,
// -1 the lower ones.
class Adversary {
 public:
  Adversary(std::size_t n, int direction) : rank_(n, undecided), direction_(direction) {}

  int compare(std::size_t x, std::size_t y) {
    if (rank_[x] == undecided && rank_[y] == undecided) {
      rank_[x == candidate_ ? x : y] = decided_++;
    }
    if (rank_[x] == undecided) {
      candidate_ = x;
    } else if (rank_[y] == undecided) {
      candidate_ = y;
    }
    return direction_ * (rank_[x] < rank_[y] ? -1 : rank_[x] > rank_[y] ? 1 : 0);
  }

 private:
  static constexpr int undecided = std::numeric_limits<int>::max();
  std::vector<int> rank_;
  int direction_;
  int decided_ = 0;
  std::size_t candidate_ = 0;
};

struct Undecided {
  std::size_t name;
  static inline Adversary* adversary = nullptr;
  friend bool operator>(Undecided a, Undecided b) { return adversary->compare(a.name, b.name) > 0; }
  friend bool operator>=(Undecided a, Undecided b) {
    return adversary->compare(a.name, b.name) >= 0;
  }
  friend bool operator<=(Undecided a, Undecided b) {
    return adversary->compare(a.name, b.name) <= 0;
  }
};

TEST(Sorting, StackStaysShallowOnTheWorstInputs) {
  vorin::test::loadSettings();
  OpenLog log("SORTWORST");
  constexpr std::int32_t n = 4000;
  // Two entries a part, and the one at hand is at most half of the one before: from
  // 4000 to 15 at most eight times, log2(4000 / 15).
  constexpr int sixteenEntries = 16;
  for (const int direction : {1, -1}) {
    Adversary adversary(n, direction);
    Undecided::adversary = &adversary;
    std::vector<Undecided> arr(n);
    for (std::size_t k = 0; k < arr.size(); ++k) {
      arr[k].name = k;
    }
    Index index(arr.size());
    std::iota(index.begin(), index.end(), 1);
    vorin::detail::IndexQuicksort<Undecided>({arr.data(), n, 1}, {index.data(), n, 1},
                                             sixteenEntries)
        .run();
    EXPECT_TRUE(isPermutation(index));
  }
  EXPECT_EQ(log.written(), Lines{});
}

TEST(Sorting, StackMessageIsAWarningAndTheSortGoesOn) {
  vorin::test::loadSettings();
  OpenLog log("SORTSTACK");
  std::mt19937 engine(7);
  std::vector<float> arr(5000);
  for (float& value : arr) {
    value = static_cast<float>(engine() % 1000);
  }
  Index index(arr.size());
  std::iota(index.begin(), index.end(), 1);
  constexpr int fourEntries = 4;
  vorin::detail::IndexQuicksort<float>({arr.data(), 5000, 1}, {index.data(), 5000, 1}, fourEntries)
      .run();
  for (std::size_t k = 1; k < arr.size(); ++k) {
    ASSERT_LE(arr[static_cast<std::size_t>(index[k - 1] - 1)],
              arr[static_cast<std::size_t>(index[k] - 1)]);
  }
  const Lines lines = log.written();
  ASSERT_FALSE(lines.empty());
  for (const std::string& line : lines) {
    EXPECT_EQ(line, " nrerror: indexx: NSTACK too small");
  }
}

TEST(Sorting, NanAmongTheValuesStaysInBounds) {
  std::mt19937 engine(11);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  for (std::size_t n = 0; n <= 120; ++n) {
    for (unsigned oneIn = 1; oneIn <= 4; ++oneIn) {
      std::vector<float> arr(n);
      for (float& value : arr) {
        value = engine() % oneIn == 0 ? nan : static_cast<float>(engine() % 10);
      }
      EXPECT_TRUE(isPermutation(indexOf(arr))) << n << ' ' << oneIn;
    }
  }
  expectSorts(std::vector<float>{inf, 1, -inf, 2, inf, -inf, 0, 3, 4, 5, 6, 7, 8, 9, inf, 1, 2});
}

TEST(Sorting, IndexOfUnequalSizeIsLeftAlone) {
  vorin::test::loadSettings();
  OpenLog log("SORTINDEX");
  const std::vector<float> arr{3, 2, 1};
  const std::vector<std::int32_t> integers{3, 2, 1};
  Index index(4, -9);
  vorin::indexx_sp({arr.data(), 3, 1}, {index.data(), 4, 1});
  vorin::indexx_i({integers.data(), 3, 1}, {index.data(), 2, 1});
  EXPECT_EQ(index, Index(4, -9));
  EXPECT_EQ(log.written(), Lines(2, " nrerror: an assert_eq failed with this tag:indexx_sp"));
}

TEST(Sorting, Sort2CarriesTheSlaveAlong) {
  for (std::size_t n = 0; n <= 60; ++n) {
    std::mt19937 engine(static_cast<unsigned>(n));
    std::vector<std::pair<float, float>> pairs(n);
    std::vector<float> arr(n);
    std::vector<float> slave(n);
    for (std::size_t k = 0; k < n; ++k) {
      arr[k] = static_cast<float>(engine());
      slave[k] = static_cast<float>(k);
      pairs[k] = {arr[k], slave[k]};
    }
    vorin::sort2(view(arr), view(slave));
    std::sort(pairs.begin(), pairs.end());
    for (std::size_t k = 0; k < n; ++k) {
      EXPECT_EQ(arr[k], pairs[k].first);
      EXPECT_EQ(slave[k], pairs[k].second);
    }
  }
}

TEST(Sorting, Sort2WithDifferentSizesLeavesOneRecordAndSortsArr) {
  vorin::test::loadSettings();
  OpenLog log("SORT2");
  std::vector<float> arr{3, 1, 2};
  std::vector<float> longer{30, 10, 20, 40};
  vorin::sort2(view(arr), view(longer));
  EXPECT_EQ(arr, (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(longer, (std::vector<float>{10, 20, 30, 40}));

  arr = {3, 1, 2};
  std::vector<float> shorter{30, 10};
  vorin::sort2(view(arr), view(shorter));
  EXPECT_EQ(arr, (std::vector<float>{1, 2, 3}));
  // The first is to come from the second; the second from the third, which is missing.
  EXPECT_EQ(shorter, (std::vector<float>{10, 10}));
  EXPECT_EQ(log.written(), Lines(2, " nrerror: an assert_eq failed with this tag:sort2"));
}

TEST(Sorting, Sort2OnStridedViews) {
  std::vector<float> arr{3, -1, 1, -1, 2, -1};
  std::vector<float> slave{0, 20, 0, 10, 0, 30};  // backward: 30, 10, 20
  vorin::sort2({arr.data(), 3, 2}, {slave.data() + 5, 3, -2});
  EXPECT_EQ(arr, (std::vector<float>{1, -1, 2, -1, 3, -1}));
  EXPECT_EQ(slave, (std::vector<float>{0, 30, 0, 20, 0, 10}));
}

}  // namespace
