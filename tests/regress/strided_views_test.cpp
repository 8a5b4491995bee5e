// Every routine of the family gives the same bits on sections of larger arrays as on
// dense copies, and touches nothing between the elements of a section.
#include <gtest/gtest.h>

#include "regress/penalised_fit.hpp"
#include "regress/random_problem.hpp"
#include "regress/solver_runs.hpp"
#include "regress/strided.hpp"

namespace vorin::testing {
namespace {

using regress::LUPen_sp;
using regress::plsN_sp;
using regress::plsPen_dp;
using regress::plsPen_sp;

constexpr std::ptrdiff_t strides[] = {1, 2, 3, -1, -2};

template <class Real>
BoxProblem<Real> problemFor(Random& random, bool everyBound) {
  BoxProblem<Real> p;
  p.m = random.integer(1, 9);
  p.n = random.integer(1, 9);
  fillMatrix(random, Columns::reals, p);
  if (everyBound) {
    fillBounds(random, p);
  } else {
    nonNegativeBounds(p);
  }
  return p;
}

template <class Real>
class StridedViews : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(StridedViews, Precisions);

TYPED_TEST(StridedViews, Bvls) {
  Random random(77001);
  for (int count = 0; count < 300; ++count) {
    const auto p = problemFor<TypeParam>(random, true);
    const std::ptrdiff_t stride = random.pick(strides);
    Run<TypeParam> start(p);
    const Run<TypeParam> dense = runBvls(p);
    Strided<TypeParam> A(p.A, p.m, p.n, stride, 4);
    Strided<TypeParam> bounds(boundsOf(p), 2, p.n, random.pick(strides), 2);
    auto b = spreadVector(p.b, random.pick(strides));
    auto x = spreadVector(start.x, random.pick(strides));
    auto w = spreadVector(start.w, random.pick(strides));
    auto index = spreadVector(start.index, random.pick(strides));
    callBvls(A.matrix(), b.vector(), bounds.matrix(), x.vector(), start.rnorm, start.nsetp,
             w.vector(), index.vector(), 0, start.status);
    ASSERT_EQ(start.status, dense.status);
    ASSERT_EQ(start.nsetp, dense.nsetp);
    ASSERT_EQ(bitsOf(start.rnorm), bitsOf(dense.rnorm));
    ASSERT_TRUE(sameBits(A.dense(), dense.A));
    ASSERT_TRUE(sameBits(b.dense(), dense.b));
    ASSERT_TRUE(sameBits(x.dense(), dense.x));
    ASSERT_TRUE(sameBits(w.dense(), dense.w));
    ASSERT_EQ(index.dense(), dense.index);
    ASSERT_TRUE(A.gapsUntouched() && b.gapsUntouched() && x.gapsUntouched() && w.gapsUntouched() &&
                index.gapsUntouched() && bounds.gapsUntouched());
  }
}

TYPED_TEST(StridedViews, PlsB) {
  Random random(77002);
  for (int count = 0; count < 200; ++count) {
    const auto p = problemFor<TypeParam>(random, false);
    Run<TypeParam> start(p);
    const Run<TypeParam> dense = runPlsB(p);
    Strided<TypeParam> A(p.A, p.m, p.n, random.pick(strides), 5);
    auto b = spreadVector(p.b, random.pick(strides));
    auto x = spreadVector(start.x, random.pick(strides));
    callPlsB(A.matrix(), b.vector(), x.vector(), start.rnorm, 0, start.status);
    ASSERT_EQ(start.status, dense.status);
    ASSERT_EQ(bitsOf(start.rnorm), bitsOf(dense.rnorm));
    ASSERT_TRUE(sameBits(x.dense(), dense.x));
    ASSERT_TRUE(A.gapsUntouched() && b.gapsUntouched() && x.gapsUntouched());
  }
}

TYPED_TEST(StridedViews, Nnls) {
  Random random(77003);
  for (int count = 0; count < 300; ++count) {
    const auto p = problemFor<TypeParam>(random, false);
    Run<TypeParam> start(p);
    const Run<TypeParam> dense = runNnls(p);
    Strided<TypeParam> A(p.A, p.m, p.n, random.pick(strides), 4);
    auto b = spreadVector(p.b, random.pick(strides));
    auto x = spreadVector(start.x, random.pick(strides));
    auto w = spreadVector(start.w, random.pick(strides));
    auto index = spreadVector(start.index, random.pick(strides));
    callNnls(A.matrix(), b.vector(), x.vector(), start.rnorm, w.vector(), index.vector(),
             start.status);
    ASSERT_EQ(start.status, dense.status);
    ASSERT_EQ(bitsOf(start.rnorm), bitsOf(dense.rnorm));
    ASSERT_TRUE(sameBits(A.dense(), dense.A));
    ASSERT_TRUE(sameBits(b.dense(), dense.b));
    ASSERT_TRUE(sameBits(x.dense(), dense.x));
    ASSERT_TRUE(sameBits(w.dense(), dense.w));
    ASSERT_EQ(index.dense(), dense.index);
    ASSERT_TRUE(A.gapsUntouched() && b.gapsUntouched() && x.gapsUntouched() && w.gapsUntouched() &&
                index.gapsUntouched());
  }
}

template <class Real, class Fit>
void expectSameFit(std::uint64_t seed, Fit fit) {
  Random random(seed);
  for (int count = 0; count < 200; ++count) {
    const auto p = problemFor<Real>(random, false);
    std::vector<Real> lambda = {Real(0.5), Real(0.25), Real(2)};
    lambda.resize(static_cast<std::size_t>(random.integer(1, 3)));
    std::vector<Real> xDense(static_cast<std::size_t>(p.n), Real(-77));
    std::vector<Real> X = p.A;
    std::vector<Real> y = p.b;
    std::int32_t statusDense = -77;
    fit(denseColumns<const Real>(X.data(), p.m, p.n), viewOf(y), viewOf(xDense), viewOf(lambda),
        statusDense);
    EXPECT_EQ(X, p.A) << "the caller's matrix is never written";
    EXPECT_EQ(y, p.b);
    Strided<Real> spreadX(p.A, p.m, p.n, random.pick(strides), 4);
    auto spreadY = spreadVector(p.b, random.pick(strides));
    auto x = spreadVector(std::vector<Real>(xDense.size(), Real(-77)), random.pick(strides));
    auto spreadLambda = spreadVector(lambda, random.pick(strides));
    std::int32_t status = -77;
    fit(spreadX.matrix(), spreadY.vector(), x.vector(), spreadLambda.vector(), status);
    ASSERT_EQ(status, statusDense);
    ASSERT_TRUE(sameBits(x.dense(), xDense));
    ASSERT_TRUE(x.gapsUntouched());
    ASSERT_TRUE(sameBits(spreadX.dense(), p.A));
  }
}

TEST(StridedViewsOfFits, PlsPenSp) {
  expectSameFit<float>(77004, [](MatrixView<const float> X, VectorView<const float> y,
                                 VectorView<float> x, VectorView<const float> lambda,
                                 std::int32_t& status) { plsPen_sp(X, y, x, lambda, status); });
}

TEST(StridedViewsOfFits, PlsPenDp) {
  expectSameFit<double>(77005, [](MatrixView<const double> X, VectorView<const double> y,
                                  VectorView<double> x, VectorView<const double> lambda,
                                  std::int32_t& status) { plsPen_dp(X, y, x, lambda, status); });
}

TEST(StridedViewsOfFits, LUPenSp) {
  expectSameFit<float>(77006, [](MatrixView<const float> X, VectorView<const float> y,
                                 VectorView<float> x, VectorView<const float> lambda,
                                 std::int32_t& status) { LUPen_sp(X, y, x, lambda, status); });
}

TEST(StridedViewsOfFits, PlsNSp) {
  expectSameFit<float>(77007,
                       [](MatrixView<const float> A, VectorView<const float> b, VectorView<float> x,
                          VectorView<const float>, std::int32_t& status) {
                         float rnorm = 0;
                         plsN_sp(A, b, x, rnorm, 50, status);
                       });
}

}  // namespace
}  // namespace vorin::testing
