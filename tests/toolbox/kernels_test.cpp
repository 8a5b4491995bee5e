// The kernels against the plain loops that state their meaning: equal bits at
// every instruction-set level, at odd sizes too.
#include "toolbox/kernels/kernels.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <type_traits>
#include <vector>

#include "support/problems.hpp"
#include "toolbox/aligned.hpp"

namespace {

using vorin::AlignedVector;
using vorin::kernels::Level;
using vorin::test::area;
using vorin::test::Uniform;

const Level levels[] = {Level::baseline, Level::avx2, Level::avx512};

class LevelGuard {
 public:
  LevelGuard() : before_(vorin::kernels::currentLevel()) {}
  ~LevelGuard() { vorin::kernels::useLevel(before_); }

 private:
  Level before_;
};

template <class Real>
class KernelsTest : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(KernelsTest, Precisions);

template <class Real>
std::vector<Real> plainGram(int m, int columns, const std::vector<Real>& A) {
  std::vector<Real> G(area(m, m));
  for (int s = 0; s < m; ++s) {
    for (int r = 0; r < m; ++r) {
      Real sum = 0;
      for (int i = 0; i < columns; ++i) {
        sum += A[static_cast<std::size_t>(r) + area(m, i)] *
               A[static_cast<std::size_t>(s) + area(m, i)];
      }
      G[static_cast<std::size_t>(r) + area(m, s)] = sum;
    }
  }
  return G;
}

template <class Real>
AlignedVector<Real> pack(int m, int columns, const std::vector<Real>& A) {
  const int rows = vorin::kernels::panelRows<Real>;
  const int panels = (m + rows - 1) / rows;
  AlignedVector<Real> packed(area(panels * rows, columns), Real(0));
  for (int i = 0; i < columns; ++i) {
    for (int r = 0; r < m; ++r) {
      packed[static_cast<std::size_t>((r / rows * columns + i) * rows + r % rows)] =
          A[static_cast<std::size_t>(r) + area(m, i)];
    }
  }
  return packed;
}

TYPED_TEST(KernelsTest, GramHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const int m : {1, 2, 7, 8, 9, 15, 16, 17, 33, 100}) {
    for (const int columns : {0, 1, 3, 40}) {
      Uniform uniform(static_cast<std::uint64_t>(m * 1000 + columns));
      std::vector<Real> A(area(m, columns));
      for (Real& value : A) {
        value = static_cast<Real>(uniform());
      }
      const std::vector<Real> expected = plainGram(m, columns, A);
      const AlignedVector<Real> packed = pack(m, columns, A);
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> G(expected.size(), Real(-7));
        vorin::kernels::table<Real>().gram(m, columns, packed.data(), G.data());
        EXPECT_EQ(std::memcmp(G.data(), expected.data(), G.size() * sizeof(Real)), 0)
            << m << " x " << columns << " at level " << static_cast<int>(level);
      }
    }
  }
}

TYPED_TEST(KernelsTest, GramOfSinglesHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const int m : {1, 7, 8, 17, 33}) {
    for (const int columns : {0, 1, 3, 40, 300}) {
      Uniform uniform(static_cast<std::uint64_t>(m * 1000 + columns));
      std::vector<Real> A(area(m, columns));
      for (std::size_t i = 0; i < A.size(); ++i) {
        // From the largest to denormal numbers of single precision.
        const double size = std::pow(10.0, static_cast<double>(i % 8) * 10.0 - 44.0);
        A[i] = static_cast<Real>(static_cast<float>(uniform() * size));
      }
      const std::vector<Real> expected = plainGram(m, columns, A);
      const AlignedVector<Real> packed = pack(m, columns, A);
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> G(expected.size(), Real(-7));
        vorin::kernels::table<Real>().gramOfSingles(m, columns, packed.data(), G.data());
        EXPECT_EQ(std::memcmp(G.data(), expected.data(), G.size() * sizeof(Real)), 0)
            << m << " x " << columns << " at level " << static_cast<int>(level);
      }
    }
  }
}

// Of two blocks, whose products are summed each by itself.
TYPED_TEST(KernelsTest, AddPanelProductsHasTheBitsOfThePlainSumsAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  constexpr int rows = vorin::kernels::panelRows<Real>;
  for (const int panels : {1, 2, 3, 5}) {
    for (const int columns : {0, 1, 5, 128}) {
      const int m = panels * rows;
      Uniform uniform(static_cast<std::uint64_t>(panels * 1000 + columns));
      std::vector<Real> A(area(m, columns));
      std::vector<Real> B(A.size());
      for (std::size_t i = 0; i < A.size(); ++i) {
        A[i] = static_cast<Real>(static_cast<float>(uniform()));
        B[i] = static_cast<Real>(static_cast<float>(uniform()));
      }
      const std::vector<Real> first = plainGram(m, columns, A);
      const std::vector<Real> second = plainGram(m, columns, B);
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        AlignedVector<Real> tiles(area(panels * rows, rows), Real(0));
        const auto& kernel = vorin::kernels::table<Real>();
        kernel.addPanelProducts(panels, columns, pack(m, columns, A).data(), tiles.data());
        kernel.addPanelProducts(panels, columns, pack(m, columns, B).data(), tiles.data());
        for (int r = 0; r < m; ++r) {
          for (int s = 0; s < rows; ++s) {
            const std::size_t place = static_cast<std::size_t>(r) + area(m, s);
            const Real expected = Real(0) + first[place] + second[place];
            EXPECT_EQ(tiles[static_cast<std::size_t>((r / rows * rows + s) * rows + r % rows)],
                      expected)
                << panels << " panels, " << columns << " columns, " << r << ' ' << s;
          }
        }
      }
    }
  }
}

TYPED_TEST(KernelsTest, CombineRowsHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  const int padding = vorin::kernels::rowPadding<Real>;
  for (const int rows : {0, 1, 5, 64}) {
    for (const int blocks : {1, 2, 3, 5, 9, 17}) {
      const int stride = blocks * padding;
      Uniform uniform(static_cast<std::uint64_t>(rows * 100 + blocks));
      AlignedVector<Real> a(area(rows, stride));
      std::vector<Real> x(static_cast<std::size_t>(rows));
      for (Real& value : a) {
        value = static_cast<Real>(uniform());
      }
      for (Real& value : x) {
        value = static_cast<Real>(uniform());
      }
      std::vector<Real> expected(static_cast<std::size_t>(stride));
      for (int i = 0; i < stride; ++i) {
        Real sum = 0;
        for (int j = 0; j < rows; ++j) {
          sum += a[area(j, stride) + static_cast<std::size_t>(i)] * x[static_cast<std::size_t>(j)];
        }
        expected[static_cast<std::size_t>(i)] = sum;
      }
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        AlignedVector<Real> out(expected.size(), Real(-7));
        vorin::kernels::table<Real>().combineRows(rows, stride, a.data(), x.data(), out.data());
        EXPECT_EQ(std::memcmp(out.data(), expected.data(), out.size() * sizeof(Real)), 0)
            << rows << " rows, stride " << stride << " at level " << static_cast<int>(level);
      }
    }
  }
}

TYPED_TEST(KernelsTest, CombinePanelsHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  const int width = vorin::kernels::panelRows<Real>;
  for (const int rows : {0, 1, 5, 57}) {
    for (const int panels : {0, 1, 2, 3, 4, 5, 9, 13}) {
      Uniform uniform(static_cast<std::uint64_t>(rows * 100 + panels));
      std::vector<Real> A(area(panels * width, rows));  // A' of the product, column-major
      std::vector<Real> x(static_cast<std::size_t>(rows));
      for (Real& value : A) {
        value = static_cast<Real>(uniform());
      }
      for (Real& value : x) {
        value = static_cast<Real>(uniform());
      }
      const AlignedVector<Real> packed = pack(panels * width, rows, A);
      std::vector<Real> expected(area(panels, width));
      for (std::size_t i = 0; i < expected.size(); ++i) {
        Real sum = 0;
        for (int j = 0; j < rows; ++j) {
          sum += A[area(panels * width, j) + i] * x[static_cast<std::size_t>(j)];
        }
        expected[i] = sum;
      }
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        AlignedVector<Real> out(expected.size(), Real(-7));
        vorin::kernels::table<Real>().combinePanels(rows, panels, packed.data(), x.data(),
                                                    out.data());
        EXPECT_EQ(std::vector<Real>(out.begin(), out.end()), expected)
            << rows << " rows, " << panels << " panels at level " << static_cast<int>(level);
      }
    }
  }
}

template <class Real, class From, class Kernel>
void expectTransposes(Kernel kernel) {
  for (const int rows : {0, 1, 3, 4, 7, 16, 33}) {
    for (const int columns : {0, 4, 8, 16}) {
      constexpr int spare = 3;
      const int ldIn = rows + spare;
      const int ldOut = columns + spare;
      Uniform uniform(static_cast<std::uint64_t>(rows * 100 + columns));
      std::vector<From> in(area(ldIn, columns));
      for (From& value : in) {
        value = static_cast<From>(uniform());
      }
      std::vector<Real> out(area(ldOut, rows), Real(-7));
      std::vector<Real> expected = out;
      for (int j = 0; j < rows; ++j) {
        for (int i = 0; i < columns; ++i) {
          expected[area(ldOut, j) + static_cast<std::size_t>(i)] =
              static_cast<Real>(in[area(ldIn, i) + static_cast<std::size_t>(j)]);
        }
      }
      kernel(rows, columns, in.data(), ldIn, out.data(), ldOut);
      EXPECT_EQ(out, expected) << rows << " x " << columns;
    }
  }
}

TYPED_TEST(KernelsTest, TransposesAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const Level level : levels) {
    SCOPED_TRACE(static_cast<int>(level));
    vorin::kernels::useLevel(level);
    expectTransposes<Real, Real>(vorin::kernels::table<Real>().transpose);
    expectTransposes<Real, float>(vorin::kernels::table<Real>().transposeSingles);
  }
}

TYPED_TEST(KernelsTest, CombineColumnsHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const int m : {0, 1, 3, 8, 17, 64, 131}) {
    for (const int count : {0, 1, 5, 30}) {
      Uniform uniform(static_cast<std::uint64_t>(m * 100 + count));
      std::vector<Real> K(area(m, 2 * count + 1));
      std::vector<Real> x(static_cast<std::size_t>(count));
      std::vector<int> columns;
      for (Real& value : K) {
        value = static_cast<Real>(uniform());
      }
      for (int k = 0; k < count; ++k) {
        x[static_cast<std::size_t>(k)] = static_cast<Real>(uniform());
        columns.push_back(2 * k + 1);
      }
      std::vector<Real> expected(static_cast<std::size_t>(m));
      for (int j = 0; j < m; ++j) {
        Real sum = 0;
        for (int k = 0; k < count; ++k) {
          sum +=
              K[area(m, 2 * k + 1) + static_cast<std::size_t>(j)] * x[static_cast<std::size_t>(k)];
        }
        expected[static_cast<std::size_t>(j)] = sum;
      }
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> out(expected.size(), Real(-7));
        vorin::kernels::table<Real>().combineColumns(m, count, columns.data(), K.data(), x.data(),
                                                     out.data());
        EXPECT_EQ(out, expected) << m << " rows, " << count << " columns";
      }
    }
  }
}

TEST(Kernels, ALevelTheCpuLacksGivesTheHighestPossible) {
  const LevelGuard guard;
  vorin::kernels::useLevel(Level::avx512);
  EXPECT_EQ(vorin::kernels::currentLevel(), vorin::kernels::highestLevel());
  vorin::kernels::useLevel(Level::baseline);
  EXPECT_EQ(vorin::kernels::currentLevel(), Level::baseline);
}

TYPED_TEST(KernelsTest, SumRunsHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  const int rows = 61;
  const std::vector<vorin::kernels::Run<Real>> runs = {
      {0, 1, Real(0.7)},   {1, 4, Real(0.3)}, {3, 7, Real(1)},     {7, 12, Real(-2)},
      {12, 12, Real(0.1)}, {12, 20, Real(5)}, {21, 44, Real(0.9)}, {44, 61, Real(0.11)}};
  const int count = static_cast<int>(runs.size());
  for (const int columns : {0, 1, 3, 4, 7, 15, 16, 17, 21, 40}) {
    for (const int spare : {0, 5}) {
      const int ldIn = rows + spare;
      const int ldOut = count + spare;
      Uniform uniform(static_cast<std::uint64_t>(columns * 10 + spare));
      std::vector<Real> in(area(ldIn, columns));
      for (Real& value : in) {
        value = static_cast<Real>(uniform());
      }
      std::vector<Real> expected(area(ldOut, columns), Real(-7));
      for (int j = 0; j < columns; ++j) {
        for (int r = 0; r < count; ++r) {
          const auto& run = runs[static_cast<std::size_t>(r)];
          Real sum = 0;
          for (int i = run.begin; i < run.end; ++i) {
            sum += run.share * in[area(ldIn, j) + static_cast<std::size_t>(i)];
          }
          expected[area(ldOut, j) + static_cast<std::size_t>(r)] = sum;
        }
      }
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> out(expected.size(), Real(-7));
        vorin::kernels::table<Real>().sumRuns(count, runs.data(), columns, in.data(), ldIn,
                                              out.data(), ldOut);
        EXPECT_TRUE(out.empty() ||
                    std::memcmp(out.data(), expected.data(), out.size() * sizeof(Real)) == 0)
            << columns << " columns at level " << static_cast<int>(level);
      }
    }
  }
}

template <class Real>
std::vector<Real> randomValues(std::size_t length) {
  Uniform uniform(length);
  std::vector<Real> values(length);
  for (Real& value : values) {
    value = static_cast<Real>(uniform());
  }
  return values;
}

TYPED_TEST(KernelsTest, AddColumnsHasTheBitsOfThePlainSumAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const int n : {1, 3, 8, 17, 64, 131}) {
    for (const int count : {0, 1, 5, 30}) {
      Uniform uniform(static_cast<std::uint64_t>(n * 100 + count));
      const auto random = [&uniform](std::size_t length) {
        std::vector<Real> values(length);
        for (Real& value : values) {
          value = static_cast<Real>(uniform() - 0.5);
        }
        return values;
      };
      const std::vector<Real> Q = random(area(n, 2 * count + 1));
      const std::vector<Real> x = random(static_cast<std::size_t>(count));
      const std::vector<Real> start = random(static_cast<std::size_t>(n));
      std::vector<int> columns;
      std::vector<Real> sum = start;
      std::vector<Real> size = start;
      for (int k = 0; k < count; ++k) {
        columns.push_back(2 * k + 1);
        for (std::size_t i = 0; i < start.size(); ++i) {
          const Real term = Q[area(n, 2 * k + 1) + i] * x[static_cast<std::size_t>(k)];
          sum[i] += term;
          size[i] += std::abs(term);
        }
      }
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> gotSum = start;
        std::vector<Real> gotSize = start;
        vorin::kernels::table<Real>().addColumns(n, count, columns.data(), Q.data(), x.data(),
                                                 gotSum.data(), gotSize.data());
        EXPECT_EQ(gotSum, sum) << n << ", " << count << " at level " << static_cast<int>(level);
        EXPECT_EQ(gotSize, size) << n << ", " << count << " at level " << static_cast<int>(level);
      }
    }
  }
}

TYPED_TEST(KernelsTest, OuterProductsHaveTheBitsOfThePlainLoopsAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  constexpr int padding = vorin::kernels::rowPadding<Real>;
  for (const int n : {0, padding, 2 * padding, 5 * padding}) {
    for (const int count : {0, 1, 3, 20}) {
      const std::vector<Real> A = randomValues<Real>(area(n, 2 * count + 1));
      const std::vector<Real> start = randomValues<Real>(area(n, n));
      for (const Real factor : {Real(1), Real(-1)}) {
        std::vector<int> columns;
        std::vector<Real> expected = start;
        for (int k = 0; k < count; ++k) {
          columns.push_back(2 * k + 1);
          const Real* a = A.data() + area(n, 2 * k + 1);
          for (int j = 0; j < n; ++j) {
            for (int i = j; i < n; ++i) {
              expected[area(n, j) + static_cast<std::size_t>(i)] += a[i] * (factor * a[j]);
            }
          }
        }
        for (const Level level : levels) {
          vorin::kernels::useLevel(level);
          std::vector<Real> got = start;
          vorin::kernels::table<Real>().addOuterProducts(n, count, columns.data(), A.data(), factor,
                                                         got.data());
          for (int j = 0; j < n; ++j) {
            for (int i = j; i < n; ++i) {
              const std::size_t place = area(n, j) + static_cast<std::size_t>(i);
              EXPECT_EQ(got[place], expected[place])
                  << n << ", " << count << " at level " << static_cast<int>(level);
            }
          }
        }
      }
    }
  }
}

// A symmetric matrix by way of its factor: L with a dominant diagonal, or one whose square
// has a negative element taken from the diagonal.
template <class Real>
std::vector<Real> triangle(int n, int ld, bool definite) {
  Uniform uniform(static_cast<std::uint64_t>(n * 100 + ld));
  std::vector<Real> A(area(ld, n));
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < ld; ++i) {
      A[area(ld, j) + static_cast<std::size_t>(i)] = static_cast<Real>(uniform());
    }
    A[area(ld, j) + static_cast<std::size_t>(j)] += static_cast<Real>(n);
  }
  if (!definite && n > 0) {
    A[area(ld, n / 2) + static_cast<std::size_t>(n / 2)] = Real(-1);
  }
  return A;
}

TYPED_TEST(KernelsTest, CholeskyHasTheBitsOfThePlainLoopsAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const bool definite : {true, false}) {
    for (const int n : {0, 1, 3, 4, 5, 8, 17, 32, 59, 64, 101}) {
      for (const int spare : {0, 3, 5, 8}) {
        const int ld = n + spare;
        std::vector<Real> A = triangle<Real>(n, ld, definite);
        constexpr int behind = 16;
        A.insert(A.end(), behind, Real(7));
        std::vector<Real> expected = A;
        std::vector<Real> pivots(static_cast<std::size_t>(n));
        const auto at = [&](int i, int j) -> Real& {
          return expected[area(ld, j) + static_cast<std::size_t>(i)];
        };
        for (int j = 0; j < n; ++j) {
          for (int i = j; i < n; ++i) {
            for (int k = 0; k < j; ++k) {
              at(i, j) -= at(i, k) * at(j, k);
            }
          }
          pivots[static_cast<std::size_t>(j)] = at(j, j);
          at(j, j) = std::sqrt(at(j, j));
          for (int i = j + 1; i < n; ++i) {
            at(i, j) /= at(j, j);
          }
        }
        const int sound = definite ? n : n / 2;
        for (const Level level : levels) {
          vorin::kernels::useLevel(level);
          std::vector<Real> L = A;
          std::vector<Real> got(pivots.size());
          vorin::kernels::table<Real>().cholesky(n, ld, L.data(), got.data());
          SCOPED_TRACE(testing::Message()
                       << n << " rows of " << ld << " at level " << static_cast<int>(level));
          for (int j = 0; j < sound; ++j) {
            const std::size_t place = area(ld, j) + static_cast<std::size_t>(j);
            EXPECT_EQ(std::memcmp(&L[place], &expected[place],
                                  static_cast<std::size_t>(n - j) * sizeof(Real)),
                      0);
          }
          // No address of an empty array may reach memcmp.
          EXPECT_TRUE(sound == 0 ||
                      std::memcmp(got.data(), pivots.data(),
                                  static_cast<std::size_t>(sound) * sizeof(Real)) == 0);
          EXPECT_TRUE(sound == n || !(got[static_cast<std::size_t>(sound)] > Real(0)));
          EXPECT_TRUE(std::equal(L.end() - behind, L.end(), A.end() - behind))
              << "behind the matrix";
        }
      }
    }
  }
}

TYPED_TEST(KernelsTest, CholeskySolveHasTheBitsOfThePlainLoopsAndSolves) {
  using Real = TypeParam;
  const LevelGuard guard;
  for (const int n : {0, 1, 3, 4, 5, 8, 17, 32, 59, 64, 101}) {
    for (const int spare : {0, 3}) {
      const int ld = n + spare;
      const std::vector<Real> A = triangle<Real>(n, ld, true);
      std::vector<Real> L = A;
      std::vector<Real> pivots(static_cast<std::size_t>(n));
      vorin::kernels::table<Real>().cholesky(n, ld, L.data(), pivots.data());
      const auto at = [&](int i, int j) { return L[area(ld, j) + static_cast<std::size_t>(i)]; };
      vorin::test::Uniform uniform(static_cast<std::uint64_t>(n) + 5);
      std::vector<Real> right(static_cast<std::size_t>(n));
      for (Real& value : right) {
        value = static_cast<Real>(uniform());
      }
      std::vector<Real> expected = right;
      const auto b = [&](int i) -> Real& { return expected[static_cast<std::size_t>(i)]; };
      for (int k = 0; k < n; ++k) {
        b(k) /= at(k, k);
        for (int i = k + 1; i < n; ++i) {
          b(i) -= at(i, k) * b(k);
        }
      }
      for (int k = n - 1; k >= 0; --k) {
        for (int i = n - 1; i > k; --i) {
          b(k) -= at(i, k) * b(i);
        }
        b(k) /= at(k, k);
      }
      SCOPED_TRACE(testing::Message() << n << " rows of " << ld);
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> got = right;
        vorin::kernels::table<Real>().choleskySolve(n, ld, L.data(), got.data());
        EXPECT_EQ(got, expected) << static_cast<int>(level);
      }
      // |A x - b| within the rounding of a sum of n terms of the size of |A| |x|; the diagonal is
      // dominant, so that |x| is at most 1.
      for (int i = 0; i < n; ++i) {
        double sum = -double(right[static_cast<std::size_t>(i)]);
        for (int j = 0; j < n; ++j) {
          const int row = std::max(i, j);
          sum += double(A[area(ld, std::min(i, j)) + static_cast<std::size_t>(row)]) *
                 double(expected[static_cast<std::size_t>(j)]);
        }
        EXPECT_LE(std::abs(sum), 4.0 * n * double(std::numeric_limits<Real>::epsilon()) * 2.0);
      }
    }
  }
}

// S = 3 I + B B' of n rows in a leading dimension that is padded, zeros in the padding.
template <class Real>
AlignedVector<Real> definite(int n, int ld, std::uint64_t seed) {
  Uniform uniform(seed);
  std::vector<Real> B(area(n, n));
  for (Real& value : B) {
    value = static_cast<Real>(uniform());
  }
  const std::vector<Real> square = plainGram(n, n, B);
  AlignedVector<Real> S(area(ld, n), Real(0));
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      S[area(ld, j) + static_cast<std::size_t>(i)] =
          square[area(n, j) + static_cast<std::size_t>(i)] + (i == j ? Real(3) : Real(0));
    }
  }
  return S;
}

// x = (S + shift I)^-1 right by the plain loops beside the kernel's declaration.
template <class Real>
std::vector<Real> plainShiftedSolution(int n, const AlignedVector<Real>& S, Real shift,
                                       const AlignedVector<Real>& right) {
  const auto size = static_cast<std::size_t>(n);
  const auto at = [size](auto& matrix, std::size_t i, std::size_t j) -> auto& {
    return matrix[j * size + i];
  };
  AlignedVector<Real> A = S;
  AlignedVector<Real> L(A.size(), Real(0));
  std::vector<Real> z(right.begin(), right.end());
  std::vector<Real> x(size);
  for (std::size_t k = 0; k < size; ++k) {
    at(A, k, k) += shift;
  }
  for (std::size_t k = 0; k < size; ++k) {
    const Real p = Real(1) / at(A, k, k);
    for (std::size_t i = k + 1; i < size; ++i) {
      at(L, i, k) = at(A, i, k) * p;
      z[i] -= at(L, i, k) * z[k];
    }
    for (std::size_t j = k + 1; j < size; ++j) {
      for (std::size_t i = j; i < size; ++i) {
        at(A, i, j) -= at(A, i, k) * at(L, j, k);
      }
    }
    x[k] = z[k] * p;
  }
  for (std::size_t k = size; k-- > 0;) {
    const std::size_t group = (k / 4 + 1) * 4;
    Real sums[4] = {};
    for (std::size_t i = group; i < size; ++i) {
      sums[i % 4] += at(L, i, k) * x[i];
    }
    x[k] -= (sums[0] + sums[1]) + (sums[2] + sums[3]);
    for (std::size_t i = group - 1; i > k; --i) {
      x[k] -= at(L, i, k) * x[i];
    }
  }
  return x;
}

TYPED_TEST(KernelsTest, ShiftedSolutionsHaveTheBitsOfThePlainLoopsAtEveryLevelAndSolve) {
  using Real = TypeParam;
  const LevelGuard guard;
  constexpr bool isDouble = std::is_same_v<Real, double>;
  constexpr int padding = vorin::kernels::rowPadding<Real>;
  constexpr Real shift = Real(0.75);
  for (int n = padding; n <= (isDouble ? 4 : 2) * padding; n += padding) {
    AlignedVector<Real> S = definite<Real>(n, n, static_cast<std::uint64_t>(n));
    const AlignedVector<Real> whole = S;
    Uniform uniform(static_cast<std::uint64_t>(n + 1));
    AlignedVector<Real> right(static_cast<std::size_t>(n));
    for (int j = 0; j < n; ++j) {
      right[static_cast<std::size_t>(j)] = static_cast<Real>(uniform());
      for (int i = 0; i < j; ++i) {
        S[area(n, j) + static_cast<std::size_t>(i)] = Real(1e3);  // not of the system
      }
    }
    const std::vector<Real> expected = plainShiftedSolution(n, S, shift, right);
    for (const Level level : levels) {
      vorin::kernels::useLevel(level);
      const auto& kernel = vorin::kernels::table<Real>();
      AlignedVector<Real> x = right;
      ASSERT_TRUE(kernel.solveShifted(n, S.data(), shift, x.data(), x.data()));
      EXPECT_EQ(std::vector<Real>(x.begin(), x.end()), expected)
          << n << " at level " << static_cast<int>(level);
    }
    for (int i = 0; i < n; ++i) {
      double sum =
          static_cast<double>(shift) * static_cast<double>(expected[static_cast<std::size_t>(i)]);
      for (int j = 0; j < n; ++j) {
        sum += static_cast<double>(whole[area(n, j) + static_cast<std::size_t>(i)]) *
               static_cast<double>(expected[static_cast<std::size_t>(j)]);
      }
      EXPECT_NEAR(sum, static_cast<double>(right[static_cast<std::size_t>(i)]),
                  1e3 * static_cast<double>(std::numeric_limits<Real>::epsilon()));
    }
  }
}

TYPED_TEST(KernelsTest, ShiftedSystemsOfOtherSizesAreLeftToTheCaller) {
  using Real = TypeParam;
  const LevelGuard guard;
  constexpr int padding = vorin::kernels::rowPadding<Real>;
  for (const Level level : levels) {
    vorin::kernels::useLevel(level);
    Real x = Real(7);
    for (const int n : {0, 1, padding - 1, padding + 1, 5 * padding}) {
      EXPECT_FALSE(vorin::kernels::table<Real>().solveShifted(n, nullptr, Real(1), nullptr, &x));
    }
    EXPECT_EQ(x, Real(7));
  }
}

// Zeros of both signs, the smallest numbers, infinities and NaN, in every place.
TYPED_TEST(KernelsTest, SubtractAndSignTellsTheSignsAtEveryLevel) {
  using Real = TypeParam;
  const LevelGuard guard;
  const Real special[] = {Real(0),
                          -Real(0),
                          std::numeric_limits<Real>::denorm_min(),
                          -std::numeric_limits<Real>::denorm_min(),
                          std::numeric_limits<Real>::infinity(),
                          -std::numeric_limits<Real>::infinity(),
                          std::numeric_limits<Real>::quiet_NaN()};
  for (const int n : {0, 1, 7, 8, 9, 60, 63, 64, 65, 100, 128, 200}) {
    for (int place = -1; place < n; ++place) {
      Uniform uniform(static_cast<std::uint64_t>(n));
      std::vector<Real> b(static_cast<std::size_t>(n));
      std::vector<Real> product(b.size());
      for (std::size_t i = 0; i < b.size(); ++i) {
        b[i] = static_cast<Real>(uniform() + (i % 3 == 0 ? 2.0 : -3.0));
        product[i] = static_cast<Real>(uniform() / 8.0);
      }
      if (place >= 0) {
        const auto at = static_cast<std::size_t>(place);
        b[at] = special[at % std::size(special)];
        product[at] = Real(0);
      }
      for (const Level level : levels) {
        vorin::kernels::useLevel(level);
        std::vector<Real> values = product;
        std::vector<std::uint64_t> positive(b.size() / 64 + 1, ~std::uint64_t{0});
        vorin::kernels::table<Real>().subtractAndSign(n, b.data(), values.data(), positive.data());
        for (std::size_t i = 0; i < b.size(); ++i) {
          const Real difference = b[i] - product[i];
          EXPECT_TRUE(values[i] == difference || std::isnan(difference));
          EXPECT_EQ(positive[i / 64] >> (i % 64) & 1U, difference > Real(0) ? 1U : 0U)
              << n << ' ' << place;
        }
        if (b.size() % 64 != 0) {
          EXPECT_EQ(positive[b.size() / 64] >> (b.size() % 64), 0U);
        }
      }
    }
  }
}

}  // namespace
