// The kernels.
#include "toolkit/model/kernel.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

TEST(Kernel, HasItsLimitsAndItsValueAtOneRelaxationTime) {
  const double e = std::exp(1.0);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t2, 0.0, 2.0), 1.0);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t2, 2.0, 2.0), 1.0 / e);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t1Saturation, 0.0, 2.0), 0.0);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t1Saturation, 2.0, 2.0), 1.0 - 1.0 / e);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t1Saturation, 1e3, 2.0), 1.0);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t1Inversion, 0.0, 2.0), -1.0);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::t1Inversion, 1e3, 2.0), 1.0);
  // An inversion recovery crosses 0 at T ln 2.
  EXPECT_NEAR(kernelValue(Kernel::t1Inversion, 2.0 * std::log(2.0), 2.0), 0.0, 1e-15);
}

TEST(Kernel, SaturationRecoveryKeepsItsPlacesAtShortTimes) {
  // 1 - exp(-x) = x - x^2/2 + ...; formed as written it would lose seven places here.
  EXPECT_NEAR(kernelValue(Kernel::t1Saturation, 1e-9, 1.0) / (1e-9 - 0.5e-18), 1.0, 1e-15);
}

TEST(Kernel, AttenuationByDiffusionIsExponentialInTheProduct) {
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::diffusion, 0.0, 2e-9), 1.0);
  EXPECT_DOUBLE_EQ(kernelValue(Kernel::diffusion, 5e8, 2e-9), std::exp(-1.0));
  EXPECT_EQ(abscissaQuantity(Kernel::diffusion), Quantity::bValue);
  EXPECT_EQ(gridQuantity(Kernel::diffusion), Quantity::diffusion);
}

TEST(Kernel, MatrixIsStoredByColumns) {
  const std::vector<float> matrix = kernelMatrix(Kernel::t2, {0.0, 1.0, 2.0}, {1.0, 2.0});
  ASSERT_EQ(matrix.size(), 6U);
  EXPECT_FLOAT_EQ(matrix[1], std::exp(-1.0F));  // t = 1, T = 1
  EXPECT_FLOAT_EQ(matrix[4], std::exp(-0.5F));  // t = 1, T = 2
  EXPECT_FLOAT_EQ(matrix[5], std::exp(-1.0F));  // t = 2, T = 2
}

TEST(Kernel, MatrixHasTheValuesOfTheKernelAlsoWhereItHasFaded) {
  std::vector<double> times;
  for (int i = 0; i <= 600; ++i) {
    times.push_back(80.0 + 0.1 * i);
  }
  for (const Kernel kernel :
       {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion, Kernel::diffusion}) {
    const std::vector<float> matrix = kernelMatrix(kernel, times, {1.0});
    for (std::size_t i = 0; i < times.size(); ++i) {
      EXPECT_EQ(matrix[i], static_cast<float>(kernelValue(kernel, times[i], 1.0))) << times[i];
    }
  }
}

TEST(Kernel, DecayIsTheSumOverRelaxationTimes) {
  const std::vector<double> decay = decayOf(Kernel::t2, {0.0, 1.0}, {1.0, 2.0}, {3.0, 4.0});
  EXPECT_DOUBLE_EQ(decay[0], 7.0);
  EXPECT_DOUBLE_EQ(decay[1], 3.0 * std::exp(-1.0) + 4.0 * std::exp(-0.5));
}

TEST(Kernel, IsNamed) {
  for (Kernel kernel : {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion, Kernel::diffusion}) {
    EXPECT_EQ(parseKernel(kernelName(kernel), "--kernel"), kernel);
  }
  EXPECT_THROW(parseKernel("T3", "--kernel"), UserError);
  EXPECT_THROW(parseKernel("matrix", "--kernel"), UserError);  // it needs its file
}

}  // namespace
}  // namespace vorin::toolkit
