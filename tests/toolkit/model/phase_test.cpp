// Complex data turned to the real axis, against the angle they were made with.
#include "toolkit/model/phase.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/simulation.hpp"

namespace vorin::toolkit {
namespace {

/// exp(-t / 0.1 s) or its recovery, turned by `angle`, with noise in both channels.
MeasuredDecay turnedBy(double angle, Kernel kernel, double noise) {
  MeasuredDecay measured;
  NormalNoise random(7);
  for (int i = 1; i <= 2000; ++i) {
    const double t = 0.001 * i;
    const double re = kernelValue(kernel, t, 0.1) + noise * random.next();
    const double im = noise * random.next();
    measured.decay.time.push_back(t);
    measured.decay.amplitude.push_back(re * std::cos(angle) - im * std::sin(angle));
    measured.imaginary.push_back(re * std::sin(angle) + im * std::cos(angle));
  }
  return measured;
}

TEST(Phase, IsTheOneTheDataWereMadeWith) {
  for (Kernel kernel : {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion}) {
    for (double angle : {0.0, 0.3, -1.2, 2.0, -3.0, 1.57}) {
      MeasuredDecay measured = turnedBy(angle, kernel, 0.0);
      const double found = phaseCorrect(measured, kernel);
      EXPECT_NEAR(std::remainder(found - angle, 2.0 * std::numbers::pi), 0.0, 1e-12);
      for (std::size_t i = 0; i < measured.imaginary.size(); ++i) {
        ASSERT_NEAR(measured.decay.amplitude[i], kernelValue(kernel, measured.decay.time[i], 0.1),
                    1e-12);
        ASSERT_NEAR(measured.imaginary[i], 0.0, 1e-12);
      }
    }
  }
}

TEST(Phase, LeavesTheImaginaryChannelSmallest) {
  MeasuredDecay measured = turnedBy(0.7, Kernel::t2, 0.05);
  phaseCorrect(measured, Kernel::t2);
  const auto squares = [&](double angle) {
    double sum = 0.0;
    for (std::size_t i = 0; i < measured.imaginary.size(); ++i) {
      const double im =
          measured.imaginary[i] * std::cos(angle) + measured.decay.amplitude[i] * std::sin(angle);
      sum += im * im;
    }
    return sum;
  };
  for (double angle : {1e-4, 0.01, 0.5}) {
    EXPECT_LT(squares(0.0), squares(angle));
    EXPECT_LT(squares(0.0), squares(-angle));
  }
}

TEST(Phase, TheImaginaryChannelTellsTheNoise) {
  MeasuredDecay measured = turnedBy(-2.5, Kernel::t2, 0.05);
  phaseCorrect(measured, Kernel::t2);
  // The deviation of 2000 normal variates spreads by 1 / sqrt(2 * 2000) = 1.6 %.
  ASSERT_TRUE(measured.decay.quadratureNoise.has_value());
  EXPECT_NEAR(*measured.decay.quadratureNoise / 0.05, 1.0, 4 * 0.016);
}

TEST(Phase, AnOffsetOfTheImaginaryChannelIsNoNoise) {
  // The sum of the products, 8 + 4 + 8 - 20, is 0: there is nothing to turn.
  MeasuredDecay measured{{{1.0, 2.0, 3.0, 4.0}, {8.0, 4.0, 8.0, -8.0}}, {1.0, 1.0, 1.0, 2.5}};
  EXPECT_EQ(phaseCorrect(measured, Kernel::t2), 0.0);
  // Mean 1.375, squares 3 * 0.375^2 + 1.125^2 = 1.6875 over 3.
  EXPECT_DOUBLE_EQ(*measured.decay.quadratureNoise, std::sqrt(0.5625));
}

}  // namespace
}  // namespace vorin::toolkit
