// Trains of echoes behind incomplete refocusing.
#include "toolkit/model/echo_train.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <string>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

struct Magnetisation {
  double x = 0.0;
  double y = 1.0;
  double z = 0.0;
};

/// The echoes by Bloch's equations: parts of the sample that dephase by whole fractions of a turn
/// in half a spacing, more of them than there are dephasings in the train, pulses about y, the
/// magnetisation along y at the start and recovering along z. Their mean along y is the signal.
std::vector<double> echoesOfParts(const EchoTrain& train, double spacing, double T2,
                                  std::size_t count) {
  const std::size_t parts = 4 * count + 1;
  std::vector<Magnetisation> sample(parts);
  const double flip = train.flip * std::numbers::pi / 180.0;
  const double transverse = std::exp(-0.5 * spacing / T2);
  const double along = std::exp(-0.5 * spacing / train.t1);
  const auto wait = [&] {
    for (std::size_t j = 0; j < parts; ++j) {
      Magnetisation& m = sample[j];
      const double turn =
          2.0 * std::numbers::pi * static_cast<double>(j) / static_cast<double>(parts);
      m = {transverse * (m.x * std::cos(turn) - m.y * std::sin(turn)),
           transverse * (m.x * std::sin(turn) + m.y * std::cos(turn)), 1.0 + (m.z - 1.0) * along};
    }
  };
  std::vector<double> result;
  for (std::size_t echo = 0; echo < count; ++echo) {
    wait();
    for (Magnetisation& m : sample) {
      m = {m.x * std::cos(flip) + m.z * std::sin(flip), m.y,
           m.z * std::cos(flip) - m.x * std::sin(flip)};
    }
    wait();
    double sum = 0.0;
    for (const Magnetisation& m : sample) {
      sum += m.y;
    }
    result.push_back(sum / static_cast<double>(parts));
  }
  return result;
}

TEST(EchoTrain, IsWhatBlochsEquationsGive) {
  struct Row {
    double flip, t1, spacing, T2;
  };
  for (const Row& row :
       {Row{180.0, 1.0, 0.01, 0.08}, Row{150.0, 1.0, 0.01, 0.08}, Row{120.0, 0.3, 0.01, 0.02},
        Row{60.0, 2.0, 0.005, 2.0}, Row{90.0, 0.05, 0.01, 0.04}, Row{1.0, 1.0, 0.01, 0.1}}) {
    const EchoTrain train{row.flip, row.t1, {}};
    const std::vector<double> phaseGraph = echoes(train, row.spacing, row.T2, 56);
    const std::vector<double> bloch = echoesOfParts(train, row.spacing, row.T2, 56);
    for (std::size_t n = 0; n < bloch.size(); ++n) {
      ASSERT_NEAR(phaseGraph[n], bloch[n], 1e-13) << row.flip << " degrees, echo " << n + 1;
    }
  }
}

TEST(EchoTrain, FollowsTheExponentialBehindCompletePulses) {
  const std::vector<double> train = echoes({180.0, 1.0, {}}, 0.01, 0.08, 40);
  for (std::size_t n = 0; n < train.size(); ++n) {
    EXPECT_NEAR(train[n], std::exp(-0.01 * static_cast<double>(n + 1) / 0.08), 1e-15);
  }
}

TEST(EchoTrain, BeginsWithThePartThatIsRefocused) {
  for (const double flip : {30.0, 90.0, 150.0}) {
    const double sine = std::sin(0.5 * flip * std::numbers::pi / 180.0);
    EXPECT_NEAR(echoes({flip, 1.0, {}}, 0.01, 0.05, 3)[0], sine * sine * std::exp(-0.2), 1e-15);
  }
}

TEST(EchoTrain, MatrixHasTheEchoesOfItsTimesInColumns) {
  const EchoTrain train{140.0, 1.0, 0.01};
  // Echoes 2, 3 and 5: the first may be left out, and gaps do no harm.
  const std::vector<double> times{0.02, 0.030001, 0.05};
  EXPECT_EQ(echoNumbers(train, times), (std::vector<std::size_t>{2, 3, 5}));
  const std::vector<float> matrix = echoMatrix(train, times, {0.03, 0.3});
  const std::vector<double> fast = echoes(train, 0.01, 0.03, 5);
  const std::vector<double> slow = echoes(train, 0.01, 0.3, 5);
  const std::array<double, 6> expected{fast[1], fast[2], fast[4], slow[1], slow[2], slow[4]};
  ASSERT_EQ(matrix.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(matrix[i], static_cast<float>(expected[i])) << i;
  }
}

TEST(EchoTrain, RefusesTimesBetweenEchoes) {
  EXPECT_THROW(echoNumbers({150.0, 1.0, {}}, {0.01, 0.0203}), UserError);
  EXPECT_THROW(echoNumbers({150.0, 1.0, {}}, {0.0, 0.01}), UserError);
  EXPECT_THROW(echoNumbers({150.0, 1.0, 0.01}, {0.004, 0.01}), UserError);
  EXPECT_THROW(echoNumbers({150.0, 1.0, 1e-6}, {0.01, 0.02, 0.03}), UserError);
  EXPECT_EQ(echoNumbers({150.0, 1.0, {}}, {0.01, 0.02}), (std::vector<std::size_t>{1, 2}));
}

}  // namespace
}  // namespace vorin::toolkit
