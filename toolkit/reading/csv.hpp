// What the programs read from columns of numbers beside decays: distributions, grids and kernel
// matrices. table.hpp describes the format of the files.
#pragma once

#include <filesystem>
#include <vector>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// The distribution in the first two columns of `path`, for comparison. Throws UserError
/// as readDecay does, and for times of 0 or amplitudes below 0.
Distribution readDistribution(const std::filesystem::path& path,
                              Quantity quantity = Quantity::time);

/// The grid in the first column of `path`, in SI units. Throws UserError as readDecay
/// does, and for values of 0.
std::vector<double> readGrid(const std::filesystem::path& path, Quantity quantity);

/// All columns of `path`. Throws UserError as readDecay does.
Matrix readMatrix(const std::filesystem::path& path);

}  // namespace vorin::toolkit
