// The mean decay of all voxels, and the one weight by it for each of them.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/mapping/voxel_inverter.hpp"

namespace vorin::toolkit {

/// Sums blocks one after the other. Each voxel is added in its turn, so that the mean does not
/// depend on how voxels are divided into blocks.
class MeanDecay {
 public:
  /// Of voxels with so many samples, skipped ones included.
  explicit MeanDecay(std::size_t samples) : sums_(samples) {}

  /// Goes on with the sums of so many voxels.
  MeanDecay(std::vector<double> sums, std::size_t voxels)
      : sums_(std::move(sums)), voxels_(voxels) {}

  /// Adds the voxels that `inverter` would invert: inside the mask, finite, not all 0, not below
  /// the threshold.
  void add(const VoxelInverter& inverter, const VoxelBlock& block);

  std::size_t voxels() const { return voxels_; }
  const std::vector<double>& sums() const { return sums_; }

  /// The mean in the unit of the data. Throws UserError where there is no voxel.
  std::vector<double> mean() const;

 private:
  std::vector<double> sums_;
  std::size_t voxels_ = 0;
};

/// `settings` with the weight at which invert() inverts `mean`, the mean of all decays, so that all
/// voxels are smoothed alike. The mean has less noise than a voxel, and a weight by its own noise
/// is smaller than that of a voxel: give the noise of one voxel in `settings`, and the weight is
/// the one for it. A weight that is given stays. Throws UserError where the mean can't be inverted.
InversionSettings withWeightOf(const Decay& mean, const InversionSettings& settings);

}  // namespace vorin::toolkit
