#include "toolkit/two_dimensional/map_preparation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <numbers>
#include <utility>

#include "toolkit/model/phase.hpp"
#include "toolkit/two_dimensional/map_checks.hpp"
#include "toolkit/two_dimensional/map_support.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// Grid and kernel matrix of an axis sampled at `times`; `option` names its grid.
void setAxis(const MapAxis& axis, const std::vector<double>& times, std::string_view option,
             std::vector<double>& grid, std::shared_ptr<const std::vector<double>>& matrix) {
  grid = axis.grid;
  if (axis.kernel.kernel != Kernel::matrix) {
    grid = grid.empty() ? mapGridFor(times, axis.kernel.kernel) : grid;
    return;
  }
  if (grid.empty()) {
    throw UserError(fmt::format(
        "{}: the kernel matrix {} needs the values that its columns belong to; give them", option,
        axis.kernel.name));
  }
  const Matrix& given = axis.kernel.matrix;
  if (given.rows != times.size() || given.columns != grid.size()) {
    throw UserError(
        fmt::format("{}: the matrix has {} rows and {} columns; {} samples and {} grid values need "
                    "{} and {}",
                    axis.kernel.name, given.rows, given.columns, times.size(), grid.size(),
                    times.size(), grid.size()));
  }
  matrix = std::make_shared<const std::vector<double>>(given.values);
}

}  // namespace

PreparedMap prepareMap(MeasuredMap measured, const MapAxis& first, const MapAxis& second,
                       const MapSettings& method) {
  PreparedMap prepared;
  prepared.settings = method;
  MapSettings& settings = prepared.settings;
  settings.kernel1 = first.kernel.kernel;
  settings.kernel2 = second.kernel.kernel;
  MapData& data = measured.data;
  requireAxes(data);
  requireSamples(data, data.samples, "the matrix of the data");
  setAxis(first, data.times1, "--grid1", settings.grid1, settings.matrix1);
  setAxis(second, data.times2, "--grid2", settings.grid2, settings.matrix2);
  if (!measured.imaginary.empty()) {
    requireSamples(data, measured.imaginary, "the matrix of the imaginary channel");
    prepared.phase = turnMapToReal(data, measured.imaginary, settings.kernel1, settings.kernel2);
  } else if (settings.quadrature) {
    throw UserError(
        "--noise quadrature: the data have no imaginary channel; give one, or another noise");
  }
  requireUsable(data, settings);
  const auto hasDefaultGrid = [](const MapAxis& axis) {
    return axis.grid.empty() && axis.kernel.kernel != Kernel::matrix;
  };
  narrowGrids(data, settings, {hasDefaultGrid(first), hasDefaultGrid(second)});
  prepared.data = std::move(data);
  return prepared;
}

double turnMapToReal(MapData& data, std::vector<double>& imaginary, Kernel kernel1,
                     Kernel kernel2) {
  MeasuredDecay all{{{}, std::move(data.samples), {}}, std::move(imaginary)};
  double angle = phaseCorrect(all, Kernel::t2);
  data.samples = std::move(all.decay.amplitude);
  imaginary = std::move(all.imaginary);
  data.quadratureNoise = all.decay.quadratureNoise;
  // phaseCorrect makes the sum positive. An inversion recovery may have a negative one: its last
  // row (or column) decides, where the magnetisation has recovered.
  const std::size_t columns = data.times2.size();
  double end = 0.0;
  for (std::size_t i = 0; i < data.samples.size(); ++i) {
    const bool counts = kernel1 == Kernel::t1Inversion   ? i / columns + 1 == data.times1.size()
                        : kernel2 == Kernel::t1Inversion ? i % columns + 1 == columns
                                                         : true;
    end += counts ? data.samples[i] : 0.0;
  }
  if (end < 0.0) {
    for (std::vector<double>* channel : {&data.samples, &imaginary}) {
      std::transform(channel->begin(), channel->end(), channel->begin(), std::negate<>());
    }
    angle += angle > 0.0 ? -std::numbers::pi : std::numbers::pi;
  }
  return angle;
}

}  // namespace vorin::toolkit
