// Boxes of voxels: the blocks in which a volume of any size is read, inverted and written.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

namespace vorin::toolkit {

/// Lengths of axes, the slowest first (row-major order).
using Extents = std::vector<std::size_t>;

/// The product of the lengths, or nothing sensible where it exceeds the range of the type: callers
/// check volumes with fitsIn() first.
std::size_t countOf(const Extents& extents);

/// 2 to the power `bits`, or as many numbers of 16 bytes as the memory of this machine has
/// addresses for, where that is less: on one of 32 bit.
constexpr std::size_t countLimit(unsigned bits) {
  constexpr std::uint64_t addressed = std::numeric_limits<std::size_t>::max() / 16;
  return static_cast<std::size_t>(std::min(std::uint64_t{1} << bits, addressed));
}

/// True when the product of `extents` is `most` at most.
bool fitsIn(const Extents& extents, std::size_t most);

/// Voxels from `first`, `extent` of them along each axis.
struct VoxelBox {
  Extents first;
  Extents extent;

  std::size_t count() const { return countOf(extent); }
};

/// A volume divided into boxes of one size; those at the far ends may be smaller. The boxes are
/// numbered in row-major order.
class Tiling {
 public:
  Tiling() = default;
  Tiling(Extents voxels, Extents tile);

  const Extents& voxels() const { return voxels_; }
  const Extents& tile() const { return tile_; }
  /// The count of boxes.
  std::size_t count() const { return countOf(counts_); }
  VoxelBox box(std::size_t index) const;

 private:
  Extents voxels_;
  Extents tile_;
  Extents counts_;
};

/// A tile of about `most` voxels of an array whose axis a has the stride `strides[a]`: whole along
/// the axes with small strides, so that a box is a contiguous part of the array.
Extents contiguousTile(const Extents& voxels, const std::vector<std::size_t>& strides,
                       std::size_t most);

/// The strides of an array in row-major order, in elements.
std::vector<std::size_t> rowMajorStrides(const Extents& extents);

/// One axis of the part of an array that is copied between a file and memory.
struct CopiedAxis {
  std::size_t first = 0;   ///< in the file
  std::size_t extent = 0;  ///< of the part
  std::size_t whole = 0;   ///< of the array in the file
  std::size_t stride = 0;  ///< in the file, in elements
  std::size_t step = 0;    ///< in memory, in elements
};

/// A part that is contiguous in the file.
struct Run {
  std::size_t start = 0;          ///< its first element in the file
  std::size_t length = 0;         ///< elements
  std::vector<std::size_t> at{};  ///< for each of its elements the one in memory
};

/// Calls `visit` for the contiguous runs that make up the part, by rising place in the file where
/// the axes allow it. The strides are those of a dense array: in some order of the axes each is the
/// product of the lengths before it.
void visitRuns(std::vector<CopiedAxis> axes, const std::function<void(const Run&)>& visit);

}  // namespace vorin::toolkit
