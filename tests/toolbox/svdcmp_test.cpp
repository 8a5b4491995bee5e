// The Golub-Reinsch decomposition: its product, its orthogonality, and its singular
// values against LAPACK's and against Jacobi rotations.
#include "toolbox/svdcmp.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/jacobi_svd.hpp"
#include "support/open_log.hpp"
#include "support/problems.hpp"
#include "toolbox/lapack.hpp"

namespace {

using vorin::denseColumns;
using vorin::MatrixView;
using vorin::VectorView;
using vorin::test::area;
using vorin::test::OpenLog;
using Lines = std::vector<std::string>;

void svdcmp(MatrixView<float> a, VectorView<float> w, MatrixView<float> v) {
  vorin::svdcmp_sp(a, w, v);
}
void svdcmp(MatrixView<double> a, VectorView<double> w, MatrixView<double> v) {
  vorin::svdcmp_dp(a, w, v);
}

template <class Real>
class Svdcmp : public ::testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Svdcmp, Precisions);

template <class Real>
struct Matrix {
  std::string name;
  int m = 0;
  int n = 0;
  std::vector<Real> values;
};

template <class Real>
Matrix<Real> random(const char* name, int m, int n, std::uint64_t seed) {
  return {name, m, n, vorin::test::randomProblem<Real>(m, n, seed).K};
}

// The product of m x rank and rank x n random matrices.
template <class Real>
Matrix<Real> deficient(const char* name, int m, int n, int rank, std::uint64_t seed) {
  const auto left = random<double>("", m, rank, seed);
  const auto right = random<double>("", rank, n, seed + 1);
  Matrix<Real> product{name, m, n, std::vector<Real>(area(m, n))};
  for (std::size_t j = 0; j < static_cast<std::size_t>(n); ++j) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(m); ++i) {
      double sum = 0.0;
      for (std::size_t k = 0; k < static_cast<std::size_t>(rank); ++k) {
        sum += left.values[i + area(m, int(k))] * right.values[k + area(rank, int(j))];
      }
      product.values[i + area(m, int(j))] = static_cast<Real>(sum);
    }
  }
  return product;
}

template <class Real>
std::vector<Matrix<Real>> matrices() {
  std::vector<Matrix<Real>> all = {
      random<Real>("tall", 40, 12, 1),
      random<Real>("square", 20, 20, 2),
      random<Real>("wide", 7, 19, 3),
      random<Real>("one column", 15, 1, 4),
      random<Real>("one row", 1, 9, 5),
      random<Real>("two by two", 2, 2, 6),
      deficient<Real>("rank 4 of 10", 30, 10, 4, 7),
      deficient<Real>("wide, rank 2 of 6", 6, 14, 2, 9),
      {"Laplace", 60, 20, vorin::test::laplaceProblem<Real>(60, 20, 0.0, 11).K},
      {"zero", 5, 4, std::vector<Real>(20)},
      {"zero columns", 4, 3, {0, 0, 0, 0, 1, 2, 3, 4, 0, 0, 0, 0}},
      {"diagonal", 3, 3, {3, 0, 0, 0, -1, 0, 0, 0, 2}},
      {"bidiagonal with a zero", 4, 4, {1, 0, 0, 0, 2, 0, 0, 0, 0, 3, 4, 0, 0, 0, 5, 6}},
      {"graded", 4, 3, {Real(1e12), Real(1e6), 1, 0, 1, Real(1e-6), 1, 2, 0, Real(1e-12), 1, 3}}};
  Matrix<Real> large = random<Real>("large", 12, 8, 21);
  Matrix<Real> small = random<Real>("small", 12, 8, 22);
  // Squares of singular values just fit the range.
  const Real scale = std::sqrt(std::numeric_limits<Real>::max()) / 64;
  for (std::size_t i = 0; i < large.values.size(); ++i) {
    large.values[i] *= scale;
    small.values[i] /= scale;
  }
  all.push_back(large);
  all.push_back(small);
  return all;
}

template <class Real>
struct Factors {
  std::vector<Real> u, w, v;
};

template <class Real>
Factors<Real> decomposed(const Matrix<Real>& a) {
  Factors<Real> f{a.values, std::vector<Real>(static_cast<std::size_t>(a.n)),
                  std::vector<Real>(area(a.n, a.n))};
  svdcmp(denseColumns(f.u.data(), a.m, a.n), {f.w.data(), a.n, 1},
         denseColumns(f.v.data(), a.n, a.n));
  return f;
}

// A few rounding units of the largest value, growing slowly with the size.
template <class Real>
double tolerance(const Matrix<Real>& a) {
  return 4.0 * static_cast<double>(std::numeric_limits<Real>::epsilon()) *
         std::sqrt(static_cast<double>(a.m + a.n));
}

template <class Real>
std::vector<double> reference(const Matrix<Real>& a) {
  return vorin::test::jacobiSingularValues(std::size_t(a.m), std::size_t(a.n), a.values.data());
}

double columnDot(std::size_t rows, const auto& x, std::size_t p, std::size_t q) {
  double sum = 0.0;
  for (std::size_t i = 0; i < rows; ++i) {
    sum += static_cast<double>(x[i + p * rows]) * static_cast<double>(x[i + q * rows]);
  }
  return sum;
}

TYPED_TEST(Svdcmp, ProductOfTheFactorsIsTheMatrix) {
  for (const auto& a : matrices<TypeParam>()) {
    SCOPED_TRACE(a.name);
    const auto f = decomposed(a);
    const double largest = reference(a)[0];
    for (int j = 0; j < a.n; ++j) {
      for (int i = 0; i < a.m; ++i) {
        double sum = 0.0;
        for (int k = 0; k < a.n; ++k) {
          sum += double(f.u[std::size_t(i) + area(a.m, k)]) * double(f.w[std::size_t(k)]) *
                 double(f.v[std::size_t(j) + area(a.n, k)]);
        }
        EXPECT_NEAR(sum, double(a.values[std::size_t(i) + area(a.m, j)]), tolerance(a) * largest);
      }
    }
  }
}

TYPED_TEST(Svdcmp, LeftAndRightVectorsAreOrthonormal) {
  for (const auto& a : matrices<TypeParam>()) {
    SCOPED_TRACE(a.name);
    const auto f = decomposed(a);
    const double largest = reference(a)[0];
    const auto n = static_cast<std::size_t>(a.n);
    // Of a wide matrix only the columns of U that belong to values are orthonormal.
    const auto counts = [&](std::size_t k) {
      return a.m >= a.n || static_cast<double>(f.w[k]) > 1e-3 * largest;
    };
    int columns = 0;
    for (std::size_t q = 0; q < n; ++q) {
      columns += counts(q) ? 1 : 0;
      for (std::size_t p = 0; p <= q; ++p) {
        const double expected = p == q ? 1.0 : 0.0;
        EXPECT_NEAR(columnDot(n, f.v, p, q), expected, tolerance(a)) << p << " " << q;
        if (counts(p) && counts(q)) {
          EXPECT_NEAR(columnDot(std::size_t(a.m), f.u, p, q), expected, tolerance(a))
              << p << " " << q;
        }
      }
    }
    EXPECT_GE(columns, largest > 0.0 ? 1 : 0);
  }
}

TYPED_TEST(Svdcmp, SingularValuesAreThoseOfJacobiRotations) {
  for (const auto& a : matrices<TypeParam>()) {
    SCOPED_TRACE(a.name);
    auto w = decomposed(a).w;
    EXPECT_TRUE(std::all_of(w.begin(), w.end(), [](auto value) { return value >= 0; }));
    std::sort(w.begin(), w.end(), std::greater<>());
    const std::vector<double> expected = reference(a);
    for (std::size_t i = 0; i < w.size(); ++i) {
      EXPECT_NEAR(double(w[i]), expected[i], tolerance(a) * expected[0]) << i;
    }
  }
}

TYPED_TEST(Svdcmp, SingularValuesAreThoseOfLapack) {
  for (const auto& a : matrices<float>()) {
    SCOPED_TRACE(a.name);
    const Matrix<TypeParam> same{a.name, a.m, a.n, {a.values.begin(), a.values.end()}};
    auto w = decomposed(same).w;
    std::sort(w.begin(), w.end(), std::greater<>());
    std::vector<float> copy = a.values;
    std::vector<float> s(static_cast<std::size_t>(a.n));
    std::vector<float> vt(area(a.n, a.n));
    vorin::gesvd(a.m, a.n, copy.data(), a.m, s.data(), vt.data(), a.n);
    for (std::size_t i = 0; i < w.size(); ++i) {
      EXPECT_NEAR(double(w[i]), double(s[i]), 2.0 * tolerance(a) * double(s[0])) << i;
    }
  }
}

TYPED_TEST(Svdcmp, FewerRowsThanColumnsLeaveValuesAtZero) {
  const auto a = random<TypeParam>("wide", 3, 8, 31);
  const auto w = decomposed(a).w;
  const double largest = reference(a)[0];
  EXPECT_EQ(std::count_if(w.begin(), w.end(),
                          [&](auto value) { return double(value) <= tolerance(a) * largest; }),
            5);
}

TYPED_TEST(Svdcmp, StridedViewsGiveTheSameBitsAndLeaveTheRestAlone) {
  using Real = TypeParam;
  constexpr Real untouched = -123;
  const auto a = random<Real>("tall", 9, 5, 32);
  const auto expected = decomposed(a);
  // Every second row of a matrix stored by rows, every third element, every second column.
  std::vector<Real> u(area(20, 7), untouched);
  std::vector<Real> w(20, untouched);
  std::vector<Real> v(area(6, 12), untouched);
  const MatrixView<Real> uView{u.data() + 7, 9, 5, 14, 1};
  const VectorView<Real> wView{w.data() + 1, 5, 3};
  const MatrixView<Real> vView{v.data() + 1, 5, 5, 1, 12};
  for (int j = 0; j < 5; ++j) {
    for (int i = 0; i < 9; ++i) {
      uView(i, j) = a.values[std::size_t(i) + area(9, j)];
    }
  }
  svdcmp(uView, wView, vView);
  for (int j = 0; j < 5; ++j) {
    EXPECT_EQ(wView[j], expected.w[std::size_t(j)]);
    for (int i = 0; i < 9; ++i) {
      EXPECT_EQ(uView(i, j), expected.u[std::size_t(i) + area(9, j)]);
    }
    for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(vView(i, j), expected.v[std::size_t(i) + area(5, j)]);
    }
  }
  EXPECT_EQ(std::count(u.begin(), u.end(), untouched), 140 - 45);
  EXPECT_EQ(std::count(w.begin(), w.end(), untouched), 20 - 5);
  EXPECT_EQ(std::count(v.begin(), v.end(), untouched), 72 - 25);
}

template <class Real>
std::string tag() {
  return sizeof(Real) == sizeof(float) ? "svdcmp_sp" : "svdcmp_dp";
}

TYPED_TEST(Svdcmp, MismatchedSizesLeaveOneRecordAndNothingIsComputed) {
  using Real = TypeParam;
  const Lines record = {" nrerror: an assert_eq failed with this tag:" + tag<Real>()};
  struct Sizes {
    int columns, vRows, vColumns, values;
  };
  for (const Sizes s :
       {Sizes{3, 4, 4, 4}, Sizes{4, 3, 4, 4}, Sizes{4, 4, 3, 4}, Sizes{4, 4, 4, 3}}) {
    OpenLog log("SVDSIZES");
    std::vector<Real> a(20, 2);
    std::vector<Real> w(4, 3);
    std::vector<Real> v(16, 4);
    svdcmp(denseColumns(a.data(), 5, s.columns), {w.data(), s.values, 1},
           denseColumns(v.data(), s.vRows, s.vColumns));
    EXPECT_EQ(a, std::vector<Real>(20, 2));
    EXPECT_EQ(w, std::vector<Real>(4, 3));
    EXPECT_EQ(v, std::vector<Real>(16, 4));
    EXPECT_EQ(log.written(), record);
  }
}

TYPED_TEST(Svdcmp, RequiredNoConvergenceIsLoggedAndTheWorkGoesOn) {
  using Real = TypeParam;
  // With a NaN no element is ever negligible: every value but the first, which has
  // nothing above it to be split from, runs out of passes.
  auto a = random<Real>("not a number", 6, 4, 33);
  a.values[0] = std::numeric_limits<Real>::quiet_NaN();
  OpenLog log("SVDNAN");
  const auto f = decomposed(a);
  const std::string record = " nrerror: " + tag<Real>() + ": no convergence in svdcmp";
  EXPECT_EQ(log.written(), Lines(3, record));
  EXPECT_TRUE(std::isnan(f.w[3]));
}

TYPED_TEST(Svdcmp, ConvergenceIsSilent) {
  OpenLog log("SVDQUIET");
  for (const auto& a : matrices<TypeParam>()) {
    decomposed(a);
  }
  EXPECT_EQ(log.written(), Lines{});
}

// Without a shift near a singular value an element above the diagonal falls by the square of the
// ratio of two neighbours a pass, here by some per cent.
TYPED_TEST(Svdcmp, CloseSingularValuesConvergeToo) {
  using Real = TypeParam;
  OpenLog log("SVDCLOSE");
  auto a = random<Real>("close values", 30, 30, 35);
  for (std::size_t i = 0; i < 30; ++i) {
    a.values[31 * i] += Real(100);
  }
  const auto f = decomposed(a);
  EXPECT_EQ(log.written(), Lines{});
  std::vector<double> values(f.w.begin(), f.w.end());
  std::sort(values.begin(), values.end());
  std::vector<double> expected = reference(a);
  std::sort(expected.begin(), expected.end());
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(values[i], expected[i], tolerance(a) * expected.back()) << i;
  }
}

template <class Real>
Matrix<Real> bidiagonal(int n, const std::function<double()>& diagonal,
                        const std::function<double()>& above) {
  Matrix<Real> a{"bidiagonal", n, n, std::vector<Real>(area(n, n))};
  const auto size = static_cast<std::size_t>(n);
  for (std::size_t i = 0; i < size; ++i) {
    a.values[i * (size + 1)] = static_cast<Real>(diagonal());
    if (i + 1 < size) {
      a.values[i * (size + 1) + size] = static_cast<Real>(above());
    }
  }
  return a;
}

// Equal elements on the diagonal, with a coupling from strong to none, need the shift that lies
// nearer to the corner: any other is as far from both values.
TYPED_TEST(Svdcmp, EqualDiagonalsConvergeWhateverTheirCoupling) {
  using Real = TypeParam;
  OpenLog log("SVDEQUAL");
  for (int step = 0; step < 20; ++step) {
    const double h = std::pow(10.0, -0.8 * step);
    const auto one = [] { return 1.0; };
    const auto coupling = [h] { return h; };
    for (const int n : {6, 60}) {
      decomposed(bidiagonal<Real>(n, one, coupling));
      decomposed(bidiagonal<Real>(n, coupling, one));
    }
    // Of (1 h; 0 1): the product of the values is 1, and the sum of their squares 2 + h h.
    auto w = decomposed(bidiagonal<Real>(2, one, coupling)).w;
    std::sort(w.begin(), w.end());
    const double middle = std::sqrt(1.0 + h * h / 4.0);
    const double unit = static_cast<double>(std::numeric_limits<Real>::epsilon());
    EXPECT_NEAR(w[0], middle - h / 2.0, 8.0 * unit) << h;
    EXPECT_NEAR(w[1], middle + h / 2.0, 8.0 * unit) << h;
  }
  EXPECT_EQ(log.written(), Lines{});
}

TYPED_TEST(Svdcmp, BidiagonalsOfManyMagnitudesConverge) {
  OpenLog log("SVDGRADE");
  vorin::test::Uniform uniform(36);
  const auto magnitude = [&uniform] { return std::pow(10.0, 3.0 * uniform()); };
  for (int trial = 0; trial < 100; ++trial) {
    decomposed(bidiagonal<TypeParam>(20, magnitude, magnitude));
  }
  EXPECT_EQ(log.written(), Lines{});
}

// What lies beside a value that dwarfs the others is negligible at once. A shift would have to
// square that value, beyond the range.
TYPED_TEST(Svdcmp, AValueWhoseSquareOverflowsSplitsOff) {
  using Real = TypeParam;
  const Real huge = std::sqrt(std::numeric_limits<Real>::max()) * 1024;
  const auto f = decomposed(Matrix<Real>{"huge", 2, 2, {huge, 0, 1, 1}});
  EXPECT_FLOAT_EQ(static_cast<float>(f.w[0] / huge), 1.0f);
  EXPECT_FLOAT_EQ(static_cast<float>(f.w[1]), 1.0f);  // their product is that of the diagonal
}

TYPED_TEST(Svdcmp, EmptyMatrices) {
  decomposed(Matrix<TypeParam>{"no columns", 3, 0, {}});
  const auto f = decomposed(Matrix<TypeParam>{"no rows", 0, 2, {}});
  EXPECT_EQ(f.w, (std::vector<TypeParam>{0, 0}));
  EXPECT_EQ(f.v, (std::vector<TypeParam>{1, 0, 0, 1}));
}

}  // namespace
