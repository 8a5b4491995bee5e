// The refocusing angle of a train of echoes, found from the decay itself: at the true angle a
// distribution of T2 comes closest to the data.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "toolkit/model/echo_train.hpp"

namespace vorin::toolkit {

/// The matrices of one train at the whole degrees up to 180, each computed when it is first asked
/// for. Angles above 180 have the echoes of those below. Any number of threads may use one.
class FlipAngles {
 public:
  /// Throws UserError for times that are no echoes of the train.
  FlipAngles(EchoTrain train, std::vector<double> times, std::vector<double> grid);
  ~FlipAngles();

  static constexpr std::size_t count = 180;

  /// In degrees.
  static double angle(std::size_t index) { return static_cast<double>(index + 1); }
  /// The number of the angle nearest to `degrees`, above 0 and below 360.
  static std::size_t nearest(double degrees);

  /// The number of the angle at which the non-negative fit without a penalty leaves the least sum
  /// of squares (Prasloski et al., Magn. Reson. Med. 67, 1803, 2012), of amplitudes at the times.
  /// Each tenth angle from 90 degrees up is tried, and the neighbours of the best until none is
  /// better. All amplitudes have to be finite.
  std::size_t closest(const std::vector<double>& amplitude) const;

  /// echoMatrix() at an angle.
  std::shared_ptr<const std::vector<float>> matrix(std::size_t index) const;

 private:
  struct Row;
  const Row& at(std::size_t index) const;

  EchoTrain train_;
  std::vector<double> times_;
  std::vector<double> grid_;
  mutable std::array<std::once_flag, count> made_;
  mutable std::array<std::unique_ptr<const Row>, count> rows_;
};

}  // namespace vorin::toolkit
