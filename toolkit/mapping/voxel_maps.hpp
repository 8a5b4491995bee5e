// A block of voxels before and after their inversion, as arrays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

#include "toolkit/mapping/voxel_status.hpp"

namespace vorin::toolkit {

/// Voxels as they come from a file: a row of samples for each, row after row.
struct VoxelBlock {
  std::size_t voxels = 0;
  /// voxels x samples, in single or double precision.
  std::variant<std::span<const float>, std::span<const double>> samples;
  std::span<const std::uint8_t> mask{};  ///< 0: not inverted; empty: all are
  /// Standard deviation of the noise of each voxel in the unit of the data, above 0; one that is
  /// not a number leaves it to the settings. Empty: all are left to the settings.
  std::span<const double> noise{};
  /// Refocusing angle of each voxel in degrees, above 0 and below 360, to the nearest degree, for
  /// Kernel::t2Epg whose settings estimate it; one that is not a number is estimated. Empty: all
  /// are.
  std::span<const double> flip{};
};

/// What is known of each voxel, in the order of the block. Where the status is not ok all numbers
/// are not-a-number.
struct VoxelMaps {
  std::size_t voxels = 0;
  std::vector<double> total;          ///< sum of the distribution, unit of the data
  std::vector<double> logMean;        ///< unit of the grid; not a number where the total is 0
  std::vector<double> weight;         ///< of the inversion
  std::vector<double> noise;          ///< unit of the data; not a number where none is known
  std::vector<double> signalToNoise;  ///< largest magnitude over the noise
  std::vector<double> standardError;  ///< of the fit to the pruned points, unit of the data
  std::vector<double> share;          ///< voxels x ranges: the part of the total in each, 0 to 1
  std::vector<double> flip;           ///< of Kernel::t2Epg, in degrees; otherwise empty
  std::vector<double> distribution;   ///< voxels x grid; empty unless it is asked for
  std::vector<VoxelStatus> status;
};

}  // namespace vorin::toolkit
