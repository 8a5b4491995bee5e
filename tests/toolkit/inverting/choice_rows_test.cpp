// The condensed rows against those before, and the penalised fits against the conditions of a
// minimum and against eigenvalues.
#include "toolkit/inverting/choice_rows.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "toolkit/inverting/inversion_keys.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/inverting/nonnegative.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"

namespace {

using namespace vorin::toolkit;

double sumOfSquares(const std::vector<double>& values) {
  return std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
}

class ChoiceRowsTest : public testing::TestWithParam<Kernel> {
 protected:
  ChoiceRowsTest() {
    NormalNoise variates(3);
    for (int i = 1; i <= 1000; ++i) {
      decay_.time.push_back(0.002 * i);
    }
    for (double t : decay_.time) {
      decay_.amplitude.push_back(60.0 * std::exp(-t / 0.02) + 40.0 * std::exp(-t / 0.3) +
                                 variates.next());
    }
    settings_.kernel = GetParam();
    settings_.grid = gridFor(decay_.time, GetParam()).times();
    setKeys(settings_);
  }

  LibraryJob job_;
  Decay decay_;
  InversionSettings settings_;
};

TEST_P(ChoiceRowsTest, AreFewAndLeaveEverySumOfSquaresWhatItIs) {
  const Problem problem(decay_, settings_);
  const ReducedProblem before = problem.reduced();
  const ChoiceRows rows(problem, 5);
  // The directions of 200 exponentials over three decades above 1e-7, the rows kept and the rest.
  EXPECT_LT(rows.problem().rows, 45);
  EXPECT_EQ(rows.problem().observed, before.rows);
  NormalNoise variates(5);
  for (int draw = 0; draw < 20; ++draw) {
    std::vector<double> f(settings_.grid.size());
    std::generate(f.begin(), f.end(), [&] { return std::max(0.0, variates.next()) / 100.0; });
    const double expected = sumOfSquares(residualOf(before, f));
    // What a direction of 1e-7 of a column moves the residual by, relative to itself.
    EXPECT_NEAR(sumOfSquares(residualOf(rows.problem(), f)), expected, 1e-5 * expected);
    EXPECT_EQ(rows.residual(f, 0), residualOf(before, f));
  }
}

TEST_P(ChoiceRowsTest, KeepTheFirstRowsAndLeaveThemOut) {
  const Problem problem(decay_, settings_);
  const ReducedProblem before = problem.reduced();
  ChoiceRows rows(problem, 5);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(rows.problem().d[i], before.d[i]);
  }
  ASSERT_GE(rows.singleRows(), 3U);
  const std::vector<std::size_t> left{0, 2};
  rows.leaveOut(left);
  const ReducedProblem fewer = withoutRows(before, left);
  EXPECT_EQ(rows.problem().observed, fewer.rows);
  const double rss = closestFit(rows.problem()).rss;
  // Two solutions in single precision.
  EXPECT_NEAR(rss, closestFit(fewer).rss, 1e-4 * rss);
}

TEST_P(ChoiceRowsTest, TakeOtherDataAndAConstant) {
  const Problem problem(decay_, settings_);
  const ChoiceRows rows(problem, 5);
  const std::vector<float> ones(decay_.time.size(), 1.0F);
  const std::vector<double> constant = rows.rowsOf(ones);
  ASSERT_EQ(constant.size(), rows.ones().size());
  for (std::size_t i = 0; i < constant.size(); ++i) {
    EXPECT_NEAR(constant[i], rows.ones()[i], 1e-6);
  }
  const std::vector<double> own = rows.rowsOf(problem.data());
  EXPECT_EQ(own, rows.problem().d);
}

TEST_P(ChoiceRowsTest, PenalisedFitsAreMinimaWithTheFreedomOfTheirMatrix) {
  const Problem problem(decay_, settings_);
  const ChoiceRows rows(problem, 5);
  const ReducedProblem& reduced = rows.problem();
  PenalisedFits fits(reduced);
  const double scale = fits.largestColumn();
  for (const double share : {10.0, 0.1, 1e-3, 1e-5, 1e-7, 1e-9}) {
    const double weight = share * scale;
    std::vector<double> f;
    const PenalisedFit fit = fits.at(weight, &f);
    const std::vector<double> residual = residualOf(reduced, f);
    EXPECT_NEAR(fit.rss, sumOfSquares(residual), 1e-9);
    EXPECT_NEAR(fit.norm, sumOfSquares(f), 1e-9 * fit.norm);
    // Karush, Kuhn and Tucker: the gradient of half the functional, w f - K' (d - K f), is 0
    // where f is positive and not negative where f is 0. A step along one element, of which the
    // curvature is at most scale + w, gains no more than the relative gap of 1e-8.
    const double most = 1e-8 * (fit.rss + weight * fit.norm);
    for (std::size_t k = 0; k < f.size(); ++k) {
      const auto* const column = reduced.K.data() + k * residual.size();
      const double gradient =
          weight * f[k] - std::inner_product(residual.begin(), residual.end(), column, 0.0);
      ASSERT_GE(f[k], 0.0);
      const double step = gradient / (scale + weight);
      EXPECT_LE(gradient * std::min(f[k], step), most) << k << " at " << share;
    }
    // Between 0 and the count of positive elements, and falling as the weight grows.
    const auto positive = std::count_if(f.begin(), f.end(), [](double v) { return v > 0.0; });
    EXPECT_GT(fit.freedom, 0.0);
    EXPECT_LT(fit.freedom, static_cast<double>(positive));
    EXPECT_GT(fit.logDeterminant, fit.freedom - 1e-9);  // ln(1 + x) >= x / (1 + x)
  }
}

INSTANTIATE_TEST_SUITE_P(Kernels, ChoiceRowsTest,
                         testing::Values(Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion),
                         [](const auto& each) {
                           std::string name(kernelName(each.param));
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST(PenalisedFits, FreedomAndDeterminantOfADiagonalKernelAreThoseOfItsElements) {
  // K diagonal with elements s: f = s d / (s^2 + w), freedom = sum s^2 / (s^2 + w),
  // ln det(I + A / w) = sum ln(1 + s^2 / w), over the positive d.
  const ReducedProblem problem{
      3, 3, {2.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.5}, {3.0, 1.0, -1.0}, 3};
  PenalisedFits fits(problem);
  const double w = 0.25;
  std::vector<double> f;
  const PenalisedFit fit = fits.at(w, &f);
  EXPECT_NEAR(f[0], 6.0 / 4.25, 1e-9);
  EXPECT_NEAR(f[1], 1.0 / 1.25, 1e-9);
  EXPECT_EQ(f[2], 0.0);
  EXPECT_NEAR(fit.freedom, 4.0 / 4.25 + 1.0 / 1.25, 1e-9);
  EXPECT_NEAR(fit.logDeterminant, std::log(17.0) + std::log(5.0), 1e-9);
  EXPECT_EQ(fits.largestColumn(), 4.0);
}

TEST(CondensedRows, OfFewSamplesAreTheSamples) {
  const std::vector<double> K{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  const CondensedRows rows(K, 3, 1);
  EXPECT_EQ(rows.count(), 3U);
  EXPECT_EQ(rows.kernel(), K);
  EXPECT_EQ(rows.data({1.0, 2.0, 3.0}), (std::vector<double>{1.0, 2.0, 3.0}));
}

TEST(CondensedRows, OfOneDirectionAreTwo) {
  // Every column is (1, 1, 1, 1): the data count by their mean and by what is left of them.
  const CondensedRows rows(std::vector<double>(8, 1.0), 4, 0);
  ASSERT_EQ(rows.count(), 2U);
  EXPECT_NEAR(std::fabs(rows.kernel()[0]), 2.0, 1e-15);
  EXPECT_EQ(rows.kernel()[1], 0.0);
  const std::vector<double> data = rows.data({1.0, 2.0, 3.0, 4.0});
  EXPECT_NEAR(std::fabs(data[0]), 5.0, 1e-14);
  EXPECT_NEAR(data[1], std::sqrt(5.0), 1e-14);  // of the deviations from the mean
}

}  // namespace
