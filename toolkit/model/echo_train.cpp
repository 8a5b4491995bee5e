#include "toolkit/model/echo_train.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The coherences of order k = 0, 1, ... in units of the dephasing of half a spacing, of a train
/// whose magnetisation lies along the axis of its pulses. There all are real: `ahead` that of F(k),
/// `behind` that of F(-k), both along the pulses' axis, `stored` that along the field.
class PhaseGraph {
 public:
  PhaseGraph(double flip, std::size_t orders)
      : ahead_(orders + 2, 0.0), behind_(orders + 2, 0.0), stored_(orders + 2, 0.0) {
    const double half = 0.5 * flip * std::numbers::pi / 180.0;
    sinSquared_ = std::sin(half) * std::sin(half);
    cosSquared_ = 1.0 - sinSquared_;
    sine_ = std::sin(2.0 * half);
    cosine_ = 1.0 - 2.0 * sinSquared_;
    ahead_[0] = behind_[0] = 1.0;
  }

  /// Half a spacing: all decay, and the transverse ones dephase by one order.
  void wait(double transverse, double along) {
    for (std::size_t k = used_ + 1; k > 0; --k) {
      ahead_[k] = transverse * ahead_[k - 1];
    }
    for (std::size_t k = 0; k <= used_; ++k) {
      behind_[k] = transverse * behind_[k + 1];
      stored_[k] *= along;
    }
    ahead_[0] = behind_[0];
    used_ = std::min(used_ + 1, ahead_.size() - 2);
  }

  /// A rotation by the flip angle about the axis of the echoes (Weigel, J. Magn. Reson. Imaging 41,
  /// 266, 2015, at a phase of 90 degrees).
  void refocus() {
    for (std::size_t k = 0; k <= used_; ++k) {
      const double ahead = ahead_[k];
      const double behind = behind_[k];
      const double stored = stored_[k];
      ahead_[k] = cosSquared_ * ahead + sinSquared_ * behind + sine_ * stored;
      behind_[k] = sinSquared_ * ahead + cosSquared_ * behind - sine_ * stored;
      stored_[k] = cosine_ * stored - 0.5 * sine_ * (ahead - behind);
    }
  }

  double echo() const { return ahead_[0]; }

 private:
  std::vector<double> ahead_;
  std::vector<double> behind_;
  std::vector<double> stored_;
  std::size_t used_ = 0;  ///< the highest order that may be above 0
  double sinSquared_ = 0.0;
  double cosSquared_ = 0.0;
  double sine_ = 0.0;
  double cosine_ = 0.0;
};

double spacingOf(const EchoTrain& train, const std::vector<double>& times) {
  return train.spacing.value_or(times.front());
}

}  // namespace

std::vector<double> echoes(const EchoTrain& train, double spacing, double T2, std::size_t count) {
  // A coherence of an order above the halves that are left is in no echo any more: the order
  // `count` is the highest that comes back.
  PhaseGraph graph(train.flip, count);
  const double transverse = std::exp(-0.5 * spacing / T2);
  const double along = std::exp(-0.5 * spacing / train.t1);
  std::vector<double> result(count);
  for (double& echo : result) {
    graph.wait(transverse, along);
    graph.refocus();
    graph.wait(transverse, along);
    echo = graph.echo();
  }
  return result;
}

std::vector<std::size_t> echoNumbers(const EchoTrain& train, const std::vector<double>& times) {
  constexpr double tolerance = 1e-3;  // of a spacing
  constexpr double mostEchoes = 2000.0;
  const double spacing = spacingOf(train, times);
  std::vector<std::size_t> numbers;
  numbers.reserve(times.size());
  for (const double t : times) {
    const double number = std::round(t / spacing);
    // Written so that a spacing of 0, whose quotient is no number, is refused too.
    if (!(number >= 1.0 && number <= mostEchoes && std::fabs(t / spacing - number) <= tolerance)) {
      throw UserError(fmt::format(
          "--kernel t2-epg: the time {:g} s is no echo of a train with {:g} s from echo to echo; "
          "times have to be 1 to 2000 times --echo-spacing (without it the first time)",
          t, spacing));
    }
    numbers.push_back(static_cast<std::size_t>(number));
  }
  return numbers;
}

std::vector<float> echoMatrix(const EchoTrain& train, const std::vector<double>& times,
                              const std::vector<double>& relaxationTimes) {
  const std::vector<std::size_t> numbers = echoNumbers(train, times);
  const std::size_t count = *std::max_element(numbers.begin(), numbers.end());
  std::vector<float> matrix;
  matrix.reserve(times.size() * relaxationTimes.size());
  for (const double T2 : relaxationTimes) {
    const std::vector<double> column = echoes(train, spacingOf(train, times), T2, count);
    for (const std::size_t number : numbers) {
      matrix.push_back(static_cast<float>(column[number - 1]));
    }
  }
  return matrix;
}

}  // namespace vorin::toolkit
