#include "toolkit/inverting/preparation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The matrix without the rows of the first `skipped` samples, as the library takes it.
std::shared_ptr<const std::vector<float>> withoutFirst(const Matrix& matrix, std::size_t skipped) {
  std::vector<std::size_t> omitted(skipped);
  std::iota(omitted.begin(), omitted.end(), std::size_t{0});
  const std::vector<double> kept = withoutRows(matrix.values, matrix.rows, omitted);
  return std::make_shared<const std::vector<float>>(kept.begin(), kept.end());
}

void requireShape(const KernelChoice& kernel, std::size_t samples, std::size_t points,
                  const std::string& name) {
  if (kernel.matrix.rows != samples || kernel.matrix.columns != points) {
    throw UserError(fmt::format(
        "--kernel {}: the matrix has {} rows and {} columns, but {} has {} samples and the grid {} "
        "values; {} rows and {} columns are required",
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
    prepared.matrix = withoutFirst(kernel.matrix, skipped);
  }
  dropFirst(measured.decay.time, skipped);
  dropFirst(measured.decay.amplitude, skipped);
  dropFirst(measured.imaginary, skipped);
  if (!measured.imaginary.empty()) {
    prepared.phase = phaseCorrect(measured, kernel.kernel);
  }
  prepared.decay = std::move(measured.decay);
  prepared.grid = grid.empty() ? gridFor(prepared.decay.time, kernel.kernel).times() : grid;
  return prepared;
}

}  // namespace vorin::toolkit
