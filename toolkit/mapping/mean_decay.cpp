#include "toolkit/mapping/mean_decay.hpp"

#include <fmt/format.h>

#include "toolkit/model/decay.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

void MeanDecay::add(const VoxelInverter& inverter, const VoxelBlock& block) {
  inverter.requireShape(block);
  std::vector<double> samples;
  for (std::size_t voxel = 0; voxel < block.voxels; ++voxel) {
    if (inverter.look(block, voxel, samples) != VoxelStatus::ok) {
      continue;
    }
    for (std::size_t i = 0; i < sums_.size(); ++i) {
      sums_[i] += samples[i];
    }
    ++voxels_;
  }
}

std::vector<double> MeanDecay::mean() const {
  if (voxels_ == 0) {
    throw UserError(
        "no voxel can be inverted: all are outside the mask, below the threshold, 0 or not finite");
  }
  std::vector<double> result = sums_;
  for (double& value : result) {
    value /= static_cast<double>(voxels_);
  }
  return result;
}

InversionSettings withWeightOf(const Decay& mean, const InversionSettings& settings) {
  if (settings.weight) {
    return settings;
  }
  Inversion inversion = invert(mean, settings);
  if (inversion.finding.kind == FindingKind::noiseTooLarge) {
    inversion.finding = {};  // for the mean, but it is that of a voxel
  }
  if (!succeeded(inversion)) {
    throw UserError(fmt::format("--weight shared: the mean decay of all voxels has no weight: {}",
                                statusText(inversion)));
  }
  InversionSettings result = settings;
  result.weight = inversion.weight;
  result.corner = false;
  return result;
}

}  // namespace vorin::toolkit
