#include "toolkit/inverting/preparation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The matrix without the rows of the first `skipped` samples, as the library takes it.
std::shared_ptr<const std::vector<float>> withoutRows(const Matrix& matrix, std::size_t skipped) {
  auto values = std::make_shared<std::vector<float>>();
  values->reserve((matrix.rows - skipped) * matrix.columns);
  for (std::size_t column = 0; column < matrix.columns; ++column) {
    for (std::size_t row = skipped; row < matrix.rows; ++row) {
      values->push_back(static_cast<float>(matrix.values[column * matrix.rows + row]));
    }
  }
  return values;
}

void requireShape(const KernelChoice& kernel, std::size_t samples, std::size_t points,
                  const std::string& name) {
  if (kernel.matrix.rows != samples || kernel.matrix.columns != points) {
    throw UserError(fmt::format(
        "--kernel {}: the matrix has {} rows and {} columns, but {} has {} samples and the grid {} "
        "values; {} rows and {} columns are wanted",
        kernel.name, kernel.matrix.rows, kernel.matrix.columns, name, samples, points, samples,
        points));
  }
}

void dropFirst(std::vector<double>& values, std::size_t count) {
  values.erase(values.begin(),
               values.begin() + static_cast<std::ptrdiff_t>(std::min(count, values.size())));
}

}  // namespace

Prepared prepare(MeasuredDecay measured, const KernelChoice& kernel,
                 const std::vector<double>& grid, const std::string& skip,
                 const std::string& name) {
  Prepared prepared;
  const std::size_t samples = measured.decay.time.size();
  const std::size_t skipped = readSkip(skip, samples);
  if (kernel.kernel == Kernel::matrix) {
    requireShape(kernel, samples, grid.size(), name);
    prepared.matrix = withoutRows(kernel.matrix, skipped);
  }
  dropFirst(measured.decay.time, skipped);
  dropFirst(measured.decay.amplitude, skipped);
  dropFirst(measured.imaginary, skipped);
  if (!measured.imaginary.empty()) {
    prepared.phase = turnToReal(measured, kernel.kernel);
  }
  prepared.decay = std::move(measured.decay);
  prepared.grid = grid.empty() ? gridFor(prepared.decay.time, kernel.kernel).times() : grid;
  return prepared;
}

}  // namespace vorin::toolkit
