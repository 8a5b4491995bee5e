// The refocusing angle that a decay tells.
#include "toolkit/inverting/flip_angle.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/model/grid.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

std::vector<double> spinEchoes() {
  return evenTimes(0.01, 56);
}

/// Two components, as myelin and the water between cells.
std::vector<double> twoComponents(double flip) {
  const EchoTrain train{flip, 1.0, {}};
  const std::vector<double> fast = echoes(train, 0.01, 0.02, 56);
  const std::vector<double> slow = echoes(train, 0.01, 0.08, 56);
  std::vector<double> decay(56);
  for (std::size_t n = 0; n < decay.size(); ++n) {
    decay[n] = 20.0 * fast[n] + 80.0 * slow[n];
  }
  return decay;
}

std::vector<double> gridOfTimes() {
  return LogGrid{0.008, 2.0, 60}.times();
}

TEST(FlipAngles, FindTheAngleOfADecayWithoutNoise) {
  const FlipAngles angles(EchoTrain{}, spinEchoes(), gridOfTimes());
  for (const double flip : {97.0, 120.0, 133.0, 150.0, 166.0, 180.0}) {
    // Near 180 degrees the echoes depend on the square of what is missing.
    const double tolerance = flip > 170.0 ? 3.0 : 1.0;
    EXPECT_NEAR(FlipAngles::angle(angles.closest(twoComponents(flip))), flip, tolerance);
  }
}

TEST(FlipAngles, FindItInNoise) {
  const FlipAngles angles(EchoTrain{}, spinEchoes(), gridOfTimes());
  NormalNoise noise(1);
  for (const double flip : {110.0, 140.0}) {
    double sum = 0.0;
    constexpr int draws = 20;
    for (int draw = 0; draw < draws; ++draw) {
      std::vector<double> decay = twoComponents(flip);
      for (double& value : decay) {
        value += 0.5 * noise.next();  // S/N 200 of the total
      }
      const double found = FlipAngles::angle(angles.closest(decay));
      EXPECT_NEAR(found, flip, 6.0);
      sum += found;
    }
    EXPECT_NEAR(sum / draws, flip, 2.0);
  }
}

/// The neighbours of what is found leave a larger misfit, by another solver than the search's.
TEST(FlipAngles, NoNeighbourFitsBetter) {
  const FlipAngles angles(EchoTrain{}, spinEchoes(), gridOfTimes());
  std::vector<double> decay = twoComponents(144.0);
  NormalNoise noise(3);
  for (double& value : decay) {
    value += 1.0 * noise.next();
  }
  const auto misfit = [&](std::size_t index) {
    // Projected gradients with Nesterov's momentum, on the matrix itself.
    const auto K = angles.matrix(index);
    const std::size_t n = decay.size();
    const std::size_t m = gridOfTimes().size();
    double bound = 0.0;
    for (const float value : *K) {
      bound += static_cast<double>(value) * static_cast<double>(value);
    }
    std::vector<double> x(m, 0.0);
    std::vector<double> y = x;
    double rss = 0.0;
    for (int pass = 1; pass < 20000; ++pass) {
      std::vector<double> residual = decay;
      for (std::size_t j = 0; j < m; ++j) {
        for (std::size_t i = 0; i < n; ++i) {
          residual[i] -= static_cast<double>((*K)[j * n + i]) * y[j];
        }
      }
      rss = 0.0;
      for (const double r : residual) {
        rss += r * r;
      }
      const double momentum = (pass - 1.0) / (pass + 2.0);
      for (std::size_t j = 0; j < m; ++j) {
        double gradient = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
          gradient += static_cast<double>((*K)[j * n + i]) * residual[i];
        }
        const double next = std::fmax(0.0, y[j] + gradient / bound);
        y[j] = next + momentum * (next - x[j]);
        x[j] = next;
      }
    }
    return rss;
  };
  const std::size_t best = angles.closest(decay);
  ASSERT_GT(best, 2U);
  ASSERT_LT(best, FlipAngles::count - 3);
  const double least = misfit(best);
  EXPECT_GE(misfit(best - 2), least * (1.0 - 1e-6));
  EXPECT_GE(misfit(best + 2), least * (1.0 - 1e-6));
}

TEST(FlipAngles, RefuseTimesBetweenEchoes) {
  EXPECT_THROW(FlipAngles(EchoTrain{}, {0.01, 0.025}, gridOfTimes()), UserError);
}

}  // namespace
}  // namespace vorin::toolkit
