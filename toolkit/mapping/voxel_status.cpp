#include "toolkit/mapping/voxel_status.hpp"

#include <fmt/format.h>
#include <vorin.h>

#include <numeric>

#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::array<VoxelStatusText, voxelStatusCount> texts{{
    {"ok", "inverted"},
    {"masked", "outside the mask"},
    {"below threshold", "no sample is as large as the threshold"},
    {"not finite", "a sample is infinite or not a number"},
    {"all zero", "every sample is 0"},
    {"no noise", "the samples show no noise to choose a weight by, and none is given"},
    {"noise too large", "the noise given is no less than the largest sample"},
    {"not converged", "solver or weight search ran out of passes"},
    {"weight limit", "the weight search stopped at a limit of the weight"},
    {"no signal", "there is no signal above the noise"},
    {"not described", "the kernel can't describe the samples"},
    {"negative", "a sample is below 0, which no magnitude is"},
}};

}  // namespace

VoxelStatusText textOf(VoxelStatus status) {
  return texts.at(static_cast<std::size_t>(status));
}

VoxelStatus statusOf(const Inversion& inversion) {
  if (succeeded(inversion)) {
    return VoxelStatus::ok;
  }
  if (inversion.finding.fatal() && inversion.mode != WeightMode::fixed) {
    return inversion.finding.kind == FindingKind::empty ? VoxelStatus::noSignal
                                                        : VoxelStatus::notDescribed;
  }
  return inversion.status == VORIN_LOWER_WEIGHT_LIMIT ||
                 inversion.status == VORIN_UPPER_WEIGHT_LIMIT
             ? VoxelStatus::weightLimit
             : VoxelStatus::notConverged;
}

VoxelCounts countsOf(std::span<const VoxelStatus> status) {
  VoxelCounts counts{};
  for (const VoxelStatus one : status) {
    ++counts.at(static_cast<std::size_t>(one));
  }
  return counts;
}

std::string summaryOf(const VoxelCounts& counts) {
  const std::size_t all = std::accumulate(counts.begin(), counts.end(), std::size_t{0});
  std::string text = fmt::format("{} of {} voxel{} inverted", counts[0], all, all == 1 ? "" : "s");
  for (std::size_t k = 1; k < counts.size(); ++k) {
    if (counts.at(k) > 0) {
      text += fmt::format(", {} {}", counts.at(k), texts.at(k).word);
    }
  }
  return text;
}

}  // namespace vorin::toolkit
