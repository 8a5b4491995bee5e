// Arrays of any rank as numpy saves them, read in parts.
#include <fmt/format.h>

#include <bit>

#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/mapping/files/raw_volume.hpp"
#include "toolkit/reading/npy.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

ElementType elementType(const NpyHeader& header) {
  ElementType type;
  type.kind = header.kind == 'i'                         ? NumberKind::signedInteger
              : header.kind == 'u' || header.kind == 'b' ? NumberKind::unsignedInteger
                                                         : NumberKind::floating;
  type.isComplex = header.kind == 'c';
  type.size = type.isComplex ? header.size / 2 : header.size;
  type.swapped = header.swapped;
  return type;
}

}  // namespace

std::unique_ptr<Volume> openNpy(const VolumeRequest& request) {
  constexpr std::size_t mostHeader = 100'000;
  OwnFile file = OwnFile::toRead(request.file);
  std::string start(mostHeader, '\0');
  start.resize(file.readSome(0, start.data(), start.size()));
  const NpyHeader header = npyHeader(start, request.file);
  Extents strides = rowMajorStrides(header.shape);
  if (header.byColumns) {
    std::size_t stride = 1;
    for (std::size_t axis = 0; axis < strides.size(); ++axis) {
      strides[axis] = stride;
      stride *= header.shape[axis];
    }
  }
  RawLayout layout;
  layout.type = elementType(header);
  requireSize(request.file, header.shape, layout.type, file.size() - header.length);
  layout.offset = header.length;
  layout.voxels = header.shape;
  layout.voxelStrides = strides;
  if (request.withSamples) {
    const auto axis =
        static_cast<std::ptrdiff_t>(sampleAxis(request.axis, header.shape.size(), request.file));
    layout.samples = header.shape[static_cast<std::size_t>(axis)];
    layout.sampleStride = strides[static_cast<std::size_t>(axis)];
    layout.voxels.erase(layout.voxels.begin() + axis);
    layout.voxelStrides.erase(layout.voxelStrides.begin() + axis);
  }
  return std::make_unique<RawVolume>(std::move(file), request.file, VolumeKind::npy,
                                     std::move(layout));
}

}  // namespace vorin::toolkit
