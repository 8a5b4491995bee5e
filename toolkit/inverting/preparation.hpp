// From a measured decay to what invert() takes: the first samples left out, complex data
// turned, kernel and grid found.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/matrix.hpp"

namespace vorin::toolkit {

/// The kernel of a job: one by name, or a matrix with a row for each sample.
struct KernelChoice {
  Kernel kernel = Kernel::t2;
  std::string name;  ///< of the matrix in messages: its file's
  Matrix matrix;     ///< for Kernel::matrix, all measured samples x the grid
};

/// A decay with what it is to be inverted by.
struct Prepared {
  Decay decay;
  std::shared_ptr<const std::vector<float>> matrix;  ///< for Kernel::matrix, as invert() takes it
  std::vector<double> grid;
  std::optional<double> phase;  ///< by which complex data were turned back, in radians
};

/// Leaves the first samples of `measured` out as `skip` says (readSkip()), turns complex data
/// to the real channel, and finds the grid where `grid` is empty. `name` is that of the decay
/// in messages. Throws UserError for a skip that leaves too few samples and for a matrix that
/// has another shape than samples and grid ask for.
Prepared prepare(MeasuredDecay measured, const KernelChoice& kernel,
                 const std::vector<double>& grid, const std::string& skip, const std::string& name);

}  // namespace vorin::toolkit
