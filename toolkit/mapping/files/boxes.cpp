#include "toolkit/mapping/files/boxes.hpp"

#include <algorithm>
#include <numeric>

namespace vorin::toolkit {

std::size_t countOf(const Extents& extents) {
  return std::accumulate(extents.begin(), extents.end(), std::size_t{1}, std::multiplies<>());
}

bool fitsIn(const Extents& extents, std::size_t most) {
  if (std::count(extents.begin(), extents.end(), std::size_t{0}) > 0) {
    return true;
  }
  std::size_t count = 1;
  for (const std::size_t extent : extents) {
    if (extent > most / count) {
      return false;
    }
    count *= extent;
  }
  return true;
}

Tiling::Tiling(Extents voxels, Extents tile) : voxels_(std::move(voxels)), tile_(std::move(tile)) {
  for (std::size_t axis = 0; axis < voxels_.size(); ++axis) {
    tile_[axis] = std::clamp<std::size_t>(tile_[axis], 1, std::max<std::size_t>(voxels_[axis], 1));
    counts_.push_back((voxels_[axis] + tile_[axis] - 1) / tile_[axis]);
  }
}

VoxelBox Tiling::box(std::size_t index) const {
  VoxelBox box{Extents(voxels_.size()), Extents(voxels_.size())};
  for (std::size_t axis = voxels_.size(); axis-- > 0;) {
    box.first[axis] = index % counts_[axis] * tile_[axis];
    box.extent[axis] = std::min(tile_[axis], voxels_[axis] - box.first[axis]);
    index /= counts_[axis];
  }
  return box;
}

std::vector<std::size_t> rowMajorStrides(const Extents& extents) {
  std::vector<std::size_t> strides(extents.size(), 1);
  for (std::size_t axis = extents.size(); axis-- > 1;) {
    strides[axis - 1] = strides[axis] * extents[axis];
  }
  return strides;
}

Extents contiguousTile(const Extents& voxels, const std::vector<std::size_t>& strides,
                       std::size_t most) {
  std::vector<std::size_t> order(voxels.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return strides[a] < strides[b]; });
  Extents tile(voxels.size(), 1);
  std::size_t room = std::max<std::size_t>(most, 1);
  for (const std::size_t axis : order) {
    tile[axis] = std::clamp<std::size_t>(room, 1, std::max<std::size_t>(voxels[axis], 1));
    if (tile[axis] < voxels[axis]) {
      break;
    }
    room /= tile[axis];
  }
  return tile;
}

namespace {

/// Calls `visit` with the place in the file and that in memory of every element of the axes, the
/// first axis the fastest.
template <class Visit>
void visitElements(const std::vector<CopiedAxis>& axes, std::size_t from, std::size_t to,
                   const Visit& visit) {
  std::vector<std::size_t> index(to - from, 0);
  std::size_t file = 0;
  std::size_t memory = 0;
  for (std::size_t axis = from; axis < to; ++axis) {
    file += axes[axis].first * axes[axis].stride;
  }
  while (true) {
    visit(file, memory);
    std::size_t axis = from;
    for (; axis < to; ++axis) {
      file += axes[axis].stride;
      memory += axes[axis].step;
      if (++index[axis - from] < axes[axis].extent) {
        break;
      }
      file -= axes[axis].extent * axes[axis].stride;
      memory -= axes[axis].extent * axes[axis].step;
      index[axis - from] = 0;
    }
    if (axis == to) {
      return;
    }
  }
}

}  // namespace

void visitRuns(std::vector<CopiedAxis> axes, const std::function<void(const Run&)>& visit) {
  if (std::any_of(axes.begin(), axes.end(), [](const CopiedAxis& a) { return a.extent == 0; })) {
    return;
  }
  std::stable_sort(axes.begin(), axes.end(),
                   [](const CopiedAxis& a, const CopiedAxis& b) { return a.stride < b.stride; });
  Run run;
  run.length = 1;
  std::size_t inside = 0;
  bool whole = true;
  while (inside < axes.size() && whole && axes[inside].stride == run.length) {
    run.length *= axes[inside].extent;
    whole = axes[inside].extent == axes[inside].whole;
    ++inside;
  }
  std::vector<std::size_t> inMemory;
  inMemory.reserve(run.length);
  std::size_t offset = 0;
  for (std::size_t axis = 0; axis < inside; ++axis) {
    offset += axes[axis].first * axes[axis].stride;
  }
  visitElements(axes, 0, inside,
                [&](std::size_t, std::size_t memory) { inMemory.push_back(memory); });
  run.at.resize(run.length);
  visitElements(axes, inside, axes.size(), [&](std::size_t file, std::size_t memory) {
    run.start = offset + file;
    std::transform(inMemory.begin(), inMemory.end(), run.at.begin(),
                   [memory](std::size_t at) { return at + memory; });
    visit(run);
  });
}

}  // namespace vorin::toolkit
