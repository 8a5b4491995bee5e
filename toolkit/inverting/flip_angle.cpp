#include "toolkit/inverting/flip_angle.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/inverting/repeated_fit.hpp"

namespace vorin::toolkit {

/// What one angle needs.
struct FlipAngles::Row {
  std::shared_ptr<const std::vector<float>> matrix;
  std::vector<double> KtK;  ///< grid x grid
};

FlipAngles::FlipAngles(EchoTrain train, std::vector<double> times, std::vector<double> grid)
    : train_(train), times_(std::move(times)), grid_(std::move(grid)) {
  echoNumbers(train_, times_);  // refuses other times before the first decay is looked at
}

FlipAngles::~FlipAngles() = default;

const FlipAngles::Row& FlipAngles::at(std::size_t index) const {
  std::call_once(made_.at(index), [&] {
    auto row = std::make_unique<Row>();
    EchoTrain train = train_;
    train.flip = angle(index);
    std::vector<float> K = echoMatrix(train, times_, grid_);
    row->KtK = normalMatrix(K, times_.size());
    row->matrix = std::make_shared<const std::vector<float>>(std::move(K));
    rows_.at(index) = std::move(row);
  });
  return *rows_[index];
}

std::shared_ptr<const std::vector<float>> FlipAngles::matrix(std::size_t index) const {
  return at(index).matrix;
}

std::size_t FlipAngles::nearest(double degrees) {
  const double folded = degrees > 180.0 ? 360.0 - degrees : degrees;
  return static_cast<std::size_t>(std::lround(std::clamp(folded, 1.0, 180.0))) - 1;
}

std::size_t FlipAngles::closest(const std::vector<double>& amplitude) const {
  constexpr std::size_t coarse = 10;
  constexpr std::size_t first = 89;  // 90 degrees
  RepeatedFit fit(grid_.size());
  std::vector<double> Ktd;
  constexpr double unknown = -1.0;
  std::array<double, count> explained{};
  explained.fill(unknown);
  const auto explainedAt = [&](std::size_t index) {
    if (explained.at(index) == unknown) {
      const Row& row = at(index);
      projectOnColumns(*row.matrix, amplitude, Ktd);
      explained.at(index) = fit.solve(row.KtK, Ktd);
    }
    return explained.at(index);
  };
  // From 180 degrees down, so that of equals the angle nearest to it is taken.
  std::size_t best = count - 1;
  for (std::size_t index = count - 1 - coarse; index >= first; index -= coarse) {
    if (explainedAt(index) > explainedAt(best)) {
      best = index;
    }
  }
  for (std::size_t width = 4; width > 0; width /= 2) {
    for (bool better = true; better;) {
      better = false;
      for (const std::size_t other : {best + width, best - width}) {
        if (other >= first && other < count && explainedAt(other) > explainedAt(best)) {
          best = other;
          better = true;
        }
      }
    }
  }
  return best;
}

}  // namespace vorin::toolkit
