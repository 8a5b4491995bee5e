#include "toolkit/mapping/files/raw_volume.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

void requireSize(const std::string& name, const Extents& extents, const ElementType& type,
                 std::uint64_t bytes) {
  constexpr std::size_t mostNumbers = countLimit(50);
  const std::string shape = fmt::format("{}", fmt::join(extents, " x "));
  if (std::count(extents.begin(), extents.end(), std::size_t{0}) > 0) {
    throw UserError(fmt::format("{}: its header says {} numbers, which is none", name, shape));
  }
  if (!fitsIn(extents, mostNumbers) || countOf(extents) > bytes / type.bytes()) {
    throw UserError(
        fmt::format("{}: the file is cut off or its header is wrong: {} numbers of {} bytes do not "
                    "fit into the {} bytes behind the header",
                    name, shape, type.bytes(), bytes));
  }
}

RawVolume::RawVolume(OwnFile file, std::string name, VolumeKind kind, RawLayout layout)
    : file_(std::move(file)), layout_(std::move(layout)) {
  facts().name = std::move(name);
  facts().kind = kind;
  facts().voxels = layout_.voxels;
  facts().samples = layout_.samples;
  facts().isComplex = layout_.type.isComplex;
  facts().axes.resize(facts().voxels.size());
  Extents all = facts().voxels;
  if (facts().samples != 1) {
    all.push_back(facts().samples);
  }
  const std::uint64_t size = file_.size();
  requireSize(facts().name, all, layout_.type, size - std::min(layout_.offset, size));
}

Extents RawVolume::tile(std::size_t about, std::size_t /*most*/) const {
  return contiguousTile(facts().voxels, layout_.voxelStrides, about);
}

void RawVolume::read(const VoxelBox& box, VolumeNumbers& numbers) {
  const std::size_t parts = facts().isComplex ? 2 : 1;
  const std::size_t count = box.count() * facts().samples;
  numbers.real.resize(count);
  numbers.imaginary.resize(facts().isComplex ? count : 0);
  const std::vector<std::size_t> strides = rowMajorStrides(box.extent);
  std::vector<CopiedAxis> axes;
  for (std::size_t axis = 0; axis < facts().voxels.size(); ++axis) {
    axes.push_back({box.first[axis], box.extent[axis], facts().voxels[axis],
                    layout_.voxelStrides[axis], strides[axis] * facts().samples});
  }
  axes.push_back({0, facts().samples, facts().samples, layout_.sampleStride, 1});
  visitRuns(std::move(axes), [&](const Run& run) {
    const std::size_t size = layout_.type.bytes();
    bytes_.resize(run.length * size);
    numbers_.resize(run.length * parts);
    file_.read(layout_.offset + run.start * size, bytes_.data(), bytes_.size());
    takeNumbers(bytes_.data(), numbers_.size(), layout_.type, numbers_.data());
    for (std::size_t i = 0; i < run.length; ++i) {
      numbers.real[run.at[i]] = layout_.slope * numbers_[parts * i] + layout_.intercept;
      if (facts().isComplex) {
        numbers.imaginary[run.at[i]] = layout_.slope * numbers_[2 * i + 1];
      }
    }
  });
}

}  // namespace vorin::toolkit
