// Blocks of voxels: from the files of a map to the inverter, and from it to the journal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "map_job.hpp"
#include "toolkit/mapping/files/map_journal.hpp"

namespace vorin::toolkit {

/// Reads blocks as the inverter takes them.
class BlockReader {
 public:
  explicit BlockReader(const MapJob& job) : job_(job) {}

  /// Shows arrays of the reader, until the next call.
  VoxelBlock read(const VoxelBox& box);

 private:
  void dropSkipped(std::size_t voxels);
  /// Complex data are turned by one phase a voxel, and the real channel is taken.
  void turn(std::size_t voxels);

  const MapJob& job_;
  VolumeNumbers numbers_;
  VolumeNumbers maskNumbers_;
  VolumeNumbers flipNumbers_;
  std::vector<std::uint8_t> mask_;
  std::vector<double> noise_;
};

/// Announces which boxes are read, to the volume and what comes with it.
void expect(const MapJob& job, const Tiling& tiling, std::size_t first, std::size_t last);

/// The arrays that a map of `job` has.
std::vector<MapArray> arraysOf(const MapJob& job, const VoxelInverter& inverter);

/// The arrays of arraysOf() in their order.
MapBlock blockOf(VoxelMaps maps, std::size_t ranges, bool distribution);

}  // namespace vorin::toolkit
