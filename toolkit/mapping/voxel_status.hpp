// What became of each voxel of a map, as a small number that files can hold.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vorin::toolkit {

struct Inversion;

/// The numbers are written to files and stay as they are; new ones are added behind.
enum class VoxelStatus : std::uint8_t {
  ok = 0,
  masked = 1,          ///< outside the mask
  belowThreshold = 2,  ///< no sample is as large as the threshold
  notFinite = 3,       ///< a sample is infinite or not a number
  allZero = 4,         ///< every sample is 0
  noNoise = 5,         ///< no noise to choose a weight by, and none is given
  noiseTooLarge = 6,   ///< the noise given is no less than the largest sample
  notConverged = 7,    ///< solver or weight search ran out of passes
  weightLimit = 8,     ///< the weight search stopped at a limit of the weight
  noSignal = 9,        ///< there is no signal above the noise
  notDescribed = 10,   ///< the kernel can't describe the samples
  negative = 11        ///< a sample is below 0, which no magnitude is
};

inline constexpr std::size_t voxelStatusCount = 12;

/// A status for people and programs.
struct VoxelStatusText {
  std::string_view word;     ///< "below threshold"
  std::string_view meaning;  ///< a sentence without its full stop
};

VoxelStatusText textOf(VoxelStatus status);

/// That of a finished inversion.
VoxelStatus statusOf(const Inversion& inversion);

/// How many voxels have each status, by its number.
using VoxelCounts = std::array<std::size_t, voxelStatusCount>;

VoxelCounts countsOf(std::span<const VoxelStatus> status);

/// "17920 of 20000 voxels inverted, 2000 outside the mask, 80 all zero": what is told at the end.
/// The statuses that no voxel has are left out.
std::string summaryOf(const VoxelCounts& counts);

}  // namespace vorin::toolkit
