#include "toolkit/two_dimensional/map_checks.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr double largestValue = 1e30;    ///< of times and grids, as in one dimension
constexpr double largestSample = 1e100;  ///< can be squared with ease
constexpr double smallestSample = 1e-100;
constexpr std::size_t mostCells = 4'000'000;

/// Throws UserError unless `values` rise from above 0 (or from 0). `what` is "times" or "grid".
void requireAxis(const std::vector<double>& values, int axis, std::string_view what,
                 bool zeroAllowed) {
  const std::string_view name = axis == 1 ? "first" : "second";
  if (values.size() < 2) {
    throw UserError(fmt::format("the {} axis has {} {}; it needs 2 at least", name, values.size(),
                                what == "grid" ? "grid values" : "values"));
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double value = values[i];
    if (!(value >= 0.0) || (value == 0.0 && !zeroAllowed) || value > largestValue) {
      throw UserError(
          fmt::format("{} of the {} axis: value {} is {:g}; it must be {} 0 and {:g} at "
                      "most",
                      what, name, i + 1, value, zeroAllowed ? "at least" : "above", largestValue));
    }
    if (i > 0 && !(value > values[i - 1])) {
      throw UserError(
          fmt::format("{} of the {} axis: value {}, {:g}, does not rise above the {:g} before it; "
                      "sort the {} and give each value once",
                      what, name, i + 1, value, values[i - 1],
                      what == "grid" ? "grid"
                      : axis == 1    ? "rows"
                                     : "columns"));
    }
  }
}

void requireSignal(const MapData& data) {
  double largest = 0.0;
  for (double sample : data.samples) {
    largest = std::max(largest, std::fabs(sample));
  }
  if (largest < smallestSample) {
    throw UserError(largest == 0.0
                        ? "every sample is 0; a map needs data that are not"
                        : fmt::format("no sample is above {:g}; give the data in another unit",
                                      smallestSample));
  }
}

void requireMatrix(const MapData& data, const MapSettings& settings, int axis) {
  const auto& matrix = axis == 1 ? settings.matrix1 : settings.matrix2;
  if (!matrix) {
    return;
  }
  const std::size_t samples = (axis == 1 ? data.times1 : data.times2).size();
  const std::size_t grid = (axis == 1 ? settings.grid1 : settings.grid2).size();
  const std::string_view name = axis == 1 ? "first" : "second";
  if (matrix->size() != samples * grid) {
    throw UserError(fmt::format(
        "the kernel matrix of the {} axis has {} numbers; {} samples and {} grid values need {}",
        name, matrix->size(), samples, grid, samples * grid));
  }
  if (!std::all_of(matrix->begin(), matrix->end(),
                   [](double value) { return std::fabs(value) <= largestValue; })) {
    throw UserError(
        fmt::format("the kernel matrix of the {} axis holds what is no number of {:g} at most",
                    name, largestValue));
  }
  if (std::all_of(matrix->begin(), matrix->end(), [](double value) { return value == 0.0; })) {
    throw UserError(fmt::format("the kernel matrix of the {} axis is 0 everywhere", name));
  }
}

void requirePositive(double value, std::string_view what) {
  if (!(value > 0.0 && std::isfinite(value))) {
    throw UserError(fmt::format("the {} is {:g}; it must be a number above 0", what, value));
  }
}

}  // namespace

void requireAxes(const MapData& data) {
  requireAxis(data.times1, 1, "times", true);
  requireAxis(data.times2, 2, "times", true);
}

void requireSamples(const MapData& data, const std::vector<double>& channel,
                    std::string_view name) {
  const std::size_t rows = data.times1.size();
  const std::size_t columns = data.times2.size();
  if (channel.size() != rows * columns) {
    throw UserError(fmt::format(
        "{} has {} samples; {} values on the first axis and {} on the second need {} x {}", name,
        channel.size(), rows, columns, rows, columns));
  }
  for (std::size_t i = 0; i < channel.size(); ++i) {
    if (!(std::fabs(channel[i]) <= largestSample)) {
      throw UserError(
          fmt::format("the sample in row {}, column {} of {} is {}; every sample must be a number "
                      "of {:g} at most",
                      i / columns + 1, i % columns + 1, name, channel[i], largestSample));
    }
  }
}

void requireUsable(const MapData& data, const MapSettings& settings) {
  requireAxes(data);
  requireSamples(data, data.samples, "the matrix of the data");
  requireSignal(data);
  requireAxis(settings.grid1, 1, "grid", false);
  requireAxis(settings.grid2, 2, "grid", false);
  if (settings.grid1.size() * settings.grid2.size() > mostCells) {
    throw UserError(fmt::format("a map of {} x {} cells is too large; {} cells are the most",
                                settings.grid1.size(), settings.grid2.size(), mostCells));
  }
  requireMatrix(data, settings, 1);
  requireMatrix(data, settings, 2);
  if (settings.mode == MapWeightMode::fixed) {
    requirePositive(settings.weight, "weight");
  }
  if (settings.noise) {
    requirePositive(*settings.noise, "noise");
  }
  if (settings.quadrature && !data.quadratureNoise) {
    throw UserError("the noise of the imaginary channel is asked for, but the data have none");
  }
}

}  // namespace vorin::toolkit
