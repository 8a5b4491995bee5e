// Back-substitution from a decomposition: the formula on plain numbers, exact zeros,
// and sizes that don't agree.
#include "toolbox/svbksb.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "support/open_log.hpp"
#include "toolbox/views.hpp"

namespace {

using vorin::denseColumns;
using vorin::MatrixView;
using vorin::VectorView;
using vorin::test::OpenLog;
using Lines = std::vector<std::string>;

void svbksb(MatrixView<const float> u, VectorView<const float> w, MatrixView<const float> v,
            VectorView<const float> b, VectorView<float> x) {
  vorin::svbksb_sp(u, w, v, b, x);
}
void svbksb(MatrixView<const double> u, VectorView<const double> w, MatrixView<const double> v,
            VectorView<const double> b, VectorView<double> x) {
  vorin::svbksb_dp(u, w, v, b, x);
}

template <class Real>
class Svbksb : public ::testing::Test {
 protected:
  void SetUp() override { vorin::test::loadSettings(); }

  // U (3 x 2), V (2 x 2) and b need not come from a decomposition for the formula.
  // U'b = (1 + 20 + 300, 4 + 50 + 600) = (321, 654).
  std::vector<Real> u = {1, 2, 3, 4, 5, 6};
  std::vector<Real> v = {1, 2, 3, 4};
  std::vector<Real> b = {1, 10, 100};

  std::vector<Real> solve(std::vector<Real> w) {
    std::vector<Real> x(2, -9);
    svbksb(denseColumns<const Real>(u.data(), 3, 2), {w.data(), 2, 1},
           denseColumns<const Real>(v.data(), 2, 2), {b.data(), 3, 1}, {x.data(), 2, 1});
    return x;
  }
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Svbksb, Precisions);

TYPED_TEST(Svbksb, Formula) {
  // t = (321 / 3, 654 / 2) = (107, 327), x = V t.
  EXPECT_EQ(this->solve({3, 2}), (std::vector<TypeParam>{107 + 3 * 327, 2 * 107 + 4 * 327}));
}

TYPED_TEST(Svbksb, ExactZerosDropTheirDirection) {
  EXPECT_EQ(this->solve({0, 2}), (std::vector<TypeParam>{3 * 327, 4 * 327}));
  EXPECT_EQ(this->solve({3, TypeParam(-0.0)}), (std::vector<TypeParam>{107, 214}));
  EXPECT_EQ(this->solve({0, 0}), (std::vector<TypeParam>{0, 0}));
}

TYPED_TEST(Svbksb, ATinyValueDividesHoweverLargeTheResult) {
  const TypeParam tiny = std::numeric_limits<TypeParam>::denorm_min();
  const auto x = this->solve({tiny, 2});
  EXPECT_EQ(x[0], std::numeric_limits<TypeParam>::infinity());
  EXPECT_EQ(x[1], std::numeric_limits<TypeParam>::infinity());
}

TYPED_TEST(Svbksb, AgreeingSizesWriteNoRecord) {
  OpenLog log("BKSBOK");
  this->solve({3, 2});
  EXPECT_EQ(log.written(), Lines{});
}

TYPED_TEST(Svbksb, StridesAreHonoured) {
  using Real = TypeParam;
  const std::vector<Real> rowsOfU = {1, 4, -1, 2, 5, -1, 3, 6, -1};
  const std::vector<Real> rowsOfV = {1, 3, 2, 4};
  const std::vector<Real> w = {3, -1, 2};
  const std::vector<Real> spread = {1, -1, 10, -1, 100};
  std::vector<Real> x(4, -9);
  svbksb({rowsOfU.data(), 3, 2, 3, 1}, {w.data(), 2, 2}, {rowsOfV.data(), 2, 2, 2, 1},
         {spread.data(), 3, 2}, {x.data(), 2, 3});
  EXPECT_EQ(x, (std::vector<Real>{107 + 3 * 327, -9, -9, 2 * 107 + 4 * 327}));
}

template <class Real>
Lines records(bool rows, bool columns) {
  const bool single = sizeof(Real) == sizeof(float);
  const std::string text = " nrerror: an assert_eq failed with this tag:";
  Lines expected;
  if (rows) {
    expected.push_back(text + (single ? "svbksb_sp: mdum" : "C_dp: mdum"));
  }
  if (columns) {
    expected.push_back(text + (single ? "svbksb_sp: ndum" : "svbksb_dp: ndum"));
  }
  return expected;
}

TYPED_TEST(Svbksb, RequiredTagsOfSizesThatDontAgree) {
  using Real = TypeParam;
  const std::vector<Real> w = {3, 2};
  const auto run = [&](std::ptrdiff_t rows, std::ptrdiff_t values) {
    OpenLog log("BKSBSIZE");
    std::vector<Real> x(2, -9);
    svbksb(denseColumns<const Real>(this->u.data(), 3, 2), {w.data(), values, 1},
           denseColumns<const Real>(this->v.data(), 2, 2), {this->b.data(), rows, 1},
           {x.data(), 2, 1});
    return std::pair(log.written(), x);
  };
  // The routine goes on with what there is: two rows give U'b = (21, 54), one value
  // gives the first direction alone.
  EXPECT_EQ(run(2, 2),
            std::pair(records<Real>(true, false), std::vector<Real>{7 + 3 * 27, 14 + 4 * 27}));
  EXPECT_EQ(run(3, 1), std::pair(records<Real>(false, true), std::vector<Real>{107, 214}));
  EXPECT_EQ(run(2, 1), std::pair(records<Real>(true, true), std::vector<Real>{7, 14}));
  EXPECT_EQ(run(3, 0), std::pair(records<Real>(false, true), std::vector<Real>{0, 0}));
}

}  // namespace
