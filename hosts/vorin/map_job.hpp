// The options of `vorin map` as what is inverted and how.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "map_options.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/mapping/files/volume.hpp"
#include "toolkit/mapping/voxel_inverter.hpp"

namespace vorin::toolkit {

/// What is inverted and how.
struct MapJob {
  std::unique_ptr<Volume> volume;
  std::unique_ptr<Volume> mask;  ///< or none
  std::unique_ptr<Volume> flip;  ///< refocusing angles, or none
  std::size_t skip = 0;
  std::vector<double> times;  ///< without the skipped ones
  Kernel kernel = Kernel::t2;
  InversionSettings settings;
  VoxelSettings voxels;
  bool sharedWeight = false;
  bool quadrature = false;  ///< the noise is that of each voxel's imaginary channel
};

/// Opens the files of `options` and reads their words. Throws UserError for what can't be used.
MapJob mapJobFrom(const MapOptions& options);

}  // namespace vorin::toolkit
