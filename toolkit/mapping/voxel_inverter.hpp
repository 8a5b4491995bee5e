// Very many decays at the same times: blocks of voxels in, maps of what was found out, on all
// processors. A voxel that can't be inverted never stops the others.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/mapping/voxel_maps.hpp"
#include "toolkit/measures/calibration.hpp"

namespace vorin::toolkit {

/// How voxels are inverted, beside the settings of an inversion.
struct VoxelSettings {
  std::vector<double> cutoffs;      ///< between the ranges of `share`, rising from above 0
  bool distribution = false;        ///< keep the distribution of each voxel
  std::optional<double> threshold;  ///< voxels without a sample of this magnitude are left out
  std::size_t skip = 0;             ///< first samples of each voxel that are left out
  Calibration calibration{};        ///< of all amplitudes of the maps
  int threads = 0;                  ///< 0: one for each processor
};

/// Called with the count of voxels done, by one thread at a time. What it throws ends the block.
using VoxelProgress = std::function<void(std::size_t)>;

class VoxelInverter {
 public:
  /// For voxels with a sample at each of `times`, the skipped ones included. `settings` are those
  /// of invert() on the times that are not skipped, with a grid; its matrix, if any, has rows for
  /// these times. Throws UserError for settings that can't be carried out on any voxel.
  VoxelInverter(const std::vector<double>& times, const InversionSettings& settings,
                const VoxelSettings& voxelSettings);
  ~VoxelInverter();
  VoxelInverter(const VoxelInverter&) = delete;
  VoxelInverter& operator=(const VoxelInverter&) = delete;

  std::size_t samples() const;              ///< of a voxel, the skipped ones included
  const std::vector<double>& grid() const;  ///< of the distributions
  /// The edges of the ranges of `share`: 0, the cutoffs, infinity. One range more than cutoffs;
  /// none without.
  const std::vector<double>& rangeEdges() const;
  std::size_t ranges() const;
  bool keepsFlip() const;  ///< the maps have refocusing angles

  /// Inverts every voxel of `block`. Each number is that of invert() on the voxel's decay, to the
  /// last bit, whatever the block and the count of threads. Any number of threads may call at
  /// once; each call has threads of its own. Throws UserError for a block of another shape, and
  /// what `progress` throws.
  VoxelMaps invert(const VoxelBlock& block, const VoxelProgress& progress = {}) const;

  /// What is to be said of a voxel before it is inverted: ok, or why it is left out. `samples`
  /// becomes its row in double precision.
  VoxelStatus look(const VoxelBlock& block, std::size_t voxel, std::vector<double>& samples) const;

  /// Throws UserError unless the arrays of `block` have the sizes that its count of voxels asks
  /// for, each noise is above 0 or not a number, and each angle is one or not a number.
  void requireShape(const VoxelBlock& block) const;

 private:
  class Lane;
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vorin::toolkit
