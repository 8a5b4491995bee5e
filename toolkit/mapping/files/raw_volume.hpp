// Volumes whose numbers lie in a file as they are: a dense array at an offset.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/mapping/files/elements.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/volume.hpp"

namespace vorin::toolkit {

/// Where the numbers are and what they mean.
struct RawLayout {
  Extents voxels;                         ///< row-major: the slowest axis first
  std::vector<std::size_t> voxelStrides;  ///< in elements
  std::size_t samples = 1;
  std::size_t sampleStride = 0;
  std::uint64_t offset = 0;  ///< of the first element, in bytes
  ElementType type;
  double slope = 1.0;  ///< a number is slope x stored + intercept, which is real
  double intercept = 0.0;
};

class RawVolume : public Volume {
 public:
  /// Throws UserError where the file is shorter than the layout asks for.
  RawVolume(OwnFile file, std::string name, VolumeKind kind, RawLayout layout);

  Extents tile(std::size_t about, std::size_t most) const override;
  void read(const VoxelBox& box, VolumeNumbers& numbers) override;

  void setTimes(std::vector<double> times) { facts().times = std::move(times); }
  void setNifti(std::string header, bool packed) {
    facts().niftiHeader = std::move(header);
    facts().isPacked = packed;
  }

 private:
  OwnFile file_;
  RawLayout layout_;
  std::vector<char> bytes_;
  std::vector<double> numbers_;
};

/// Throws UserError, as RawVolume does, for an array of `extents` that has no numbers, more than a
/// file can have, or more than the `bytes` behind its header. `stored` of them are there.
void requireSize(const std::string& name, const Extents& extents, const ElementType& type,
                 std::uint64_t bytes);

}  // namespace vorin::toolkit
