#include "toolkit/mapping/files/nifti.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "toolkit/mapping/files/nifti_byte_order.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/raw_volume.hpp"
#include "toolkit/mapping/files/unpacked.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostAxes = 7;
constexpr std::size_t spatialAxes = 3;

[[noreturn]] void fail(const std::string& name, std::string_view why) {
  throw UserError(fmt::format("{}: {}", name, why));
}

template <class Header>
Header headerIn(std::string_view bytes) {
  Header header{};
  std::memcpy(&header, bytes.data(), std::min(sizeof header, bytes.size()));
  return header;
}

template <class Header>
std::string bytesOf(const Header& header) {
  return {reinterpret_cast<const char*>(&header), sizeof header};
}

/// The size that the first four bytes tell, in either byte order; 0 for another file.
int headerSize(std::string_view start, bool& swapped) {
  std::int32_t size = 0;
  if (start.size() < sizeof size) {
    return 0;
  }
  std::memcpy(&size, start.data(), sizeof size);
  for (const bool turned : {false, true}) {
    if (turned) {
      std::array<char, sizeof size> bytes = std::bit_cast<std::array<char, sizeof size>>(size);
      std::reverse(bytes.begin(), bytes.end());
      size = std::bit_cast<std::int32_t>(bytes);
    }
    if (size == static_cast<std::int32_t>(sizeof(nifti_1_header)) ||
        size == static_cast<std::int32_t>(sizeof(nifti_2_header))) {
      swapped = turned;
      return size;
    }
  }
  return 0;
}

ElementType elementType(int code, bool swapped, const std::string& name) {
  using Kind = NumberKind;
  switch (code) {
    case DT_UINT8:
      return {Kind::unsignedInteger, 1, false, swapped};
    case DT_INT8:
      return {Kind::signedInteger, 1, false, swapped};
    case DT_INT16:
      return {Kind::signedInteger, 2, false, swapped};
    case DT_UINT16:
      return {Kind::unsignedInteger, 2, false, swapped};
    case DT_INT32:
      return {Kind::signedInteger, 4, false, swapped};
    case DT_UINT32:
      return {Kind::unsignedInteger, 4, false, swapped};
    case DT_INT64:
      return {Kind::signedInteger, 8, false, swapped};
    case DT_UINT64:
      return {Kind::unsignedInteger, 8, false, swapped};
    case DT_FLOAT32:
      return {Kind::floating, 4, false, swapped};
    case DT_FLOAT64:
      return {Kind::floating, 8, false, swapped};
    case DT_COMPLEX64:
      return {Kind::floating, 4, true, swapped};
    case DT_COMPLEX128:
      return {Kind::floating, 8, true, swapped};
    default:
      fail(name,
           fmt::format("the image holds {} (data type {}); integers, float32, float64 or complex "
                       "numbers of these are needed",
                       code == DT_RGB24 || code == DT_RGBA32          ? "colours"
                       : code == DT_FLOAT128 || code == DT_COMPLEX256 ? "numbers of 128 bits"
                                                                      : "no numbers",
                       code));
  }
}

/// What both versions of the header have, in the same words.
template <class Header>
NiftiHeader understood(const Header& header, bool swapped, bool isPair, std::size_t headerBytes,
                       const std::string& name) {
  NiftiHeader result;
  result.bytes = bytesOf(header);
  result.isPair = isPair;
  const auto rank = static_cast<long long>(header.dim[0]);
  if (rank < 1 || rank > static_cast<long long>(mostAxes)) {
    fail(name, fmt::format("its header says {} dimensions; 1 to {} are possible", rank, mostAxes));
  }
  for (std::size_t axis = 1; axis <= static_cast<std::size_t>(rank); ++axis) {
    const auto extent = static_cast<long long>(header.dim[axis]);
    if (extent < 1) {
      fail(name, fmt::format("its header says {} positions along axis {}; 1 or more are needed",
                             extent, axis));
    }
    result.extents.push_back(static_cast<std::size_t>(extent));
  }
  result.type = elementType(header.datatype, swapped, name);
  const auto bits = static_cast<long long>(header.bitpix);
  if (bits != 8 * static_cast<long long>(result.type.bytes())) {
    fail(name, fmt::format("its header contradicts itself: data type {} has {} bits, not {}",
                           header.datatype, 8 * result.type.bytes(), bits));
  }
  const auto offset = static_cast<double>(header.vox_offset);
  constexpr double mostOffset = 1e15;
  const double least = isPair ? 0.0 : static_cast<double>(headerBytes);
  if (!(offset >= 0.0) || offset > mostOffset || (offset > 0.0 && offset < least)) {
    fail(name, fmt::format("its header says that the numbers begin at byte {:g}", offset));
  }
  // 4 bytes behind the header tell whether there are extensions.
  result.offset =
      offset > 0.0 || isPair ? static_cast<std::uint64_t>(offset) : headerBytes + sizeof(float);
  const auto slope = static_cast<double>(header.scl_slope);
  const auto intercept = static_cast<double>(header.scl_inter);
  if (std::isfinite(slope) && slope != 0.0) {  // 0: the numbers are as they are
    result.slope = slope;
    result.intercept = std::isfinite(intercept) ? intercept : 0.0;
  }
  return result;
}

/// The size of the content of a file with this header. Throws UserError where none can be so large.
std::uint64_t contentSize(const NiftiHeader& header, const std::string& name) {
  constexpr std::size_t mostBytes = countLimit(53);
  if (!fitsIn(header.extents, mostBytes / header.type.bytes())) {
    requireSize(name, header.extents, header.type, 0);
  }
  return header.offset + countOf(header.extents) * header.type.bytes();
}

/// The header's file and that of the numbers of a pair, whichever the user names.
fs::path partner(const fs::path& path, std::string_view ending) {
  std::string text = path.string();
  const bool packed = lowerCase(text).ends_with(".gz");
  const std::string_view gz = packed ? ".gz" : "";
  text.resize(text.size() - gz.size());
  const std::string body = fs::path(text).replace_extension("").string();
  return body + std::string(ending) + std::string(gz);
}

bool isImgName(const std::string& path) {
  const std::string name = lowerCase(path);
  return name.ends_with(".img") || name.ends_with(".img.gz");
}

RawLayout layoutOf(const NiftiHeader& header, const VolumeRequest& request) {
  Extents extents = header.extents;
  extents.resize(mostAxes, 1);
  const std::size_t samples = extents[spatialAxes];
  const bool more = std::any_of(extents.begin() + spatialAxes + 1, extents.end(),
                                [](std::size_t extent) { return extent > 1; });
  if (request.withSamples) {
    if (header.extents.size() <= spatialAxes || more) {
      fail(
          request.file,
          fmt::format("the image has {} dimensions; 4 are needed, of which the last is that of the "
                      "samples",
                      header.extents.size()));
    }
    if (request.axis && *request.axis != 3 && *request.axis != -1) {
      fail(request.file, fmt::format("--axis {}: the samples of a NIfTI image lie along its axis 3",
                                     *request.axis));
    }
  } else if (samples > 1 || more) {
    fail(request.file, fmt::format("{}: the image has more than 3 dimensions; one number for each "
                                   "voxel is needed",
                                   request.option));
  }
  RawLayout layout;
  layout.voxels = {extents[2], extents[1], extents[0]};
  layout.voxelStrides = rowMajorStrides(layout.voxels);
  layout.samples = samples;
  layout.sampleStride = countOf(layout.voxels);
  layout.offset = header.offset;
  layout.type = header.type;
  layout.slope = header.slope;
  layout.intercept = header.intercept;
  return layout;
}

template <class Header>
void setExtents(Header& header, std::size_t points) {
  header.dim[0] = points > 0 ? 4 : 3;
  for (std::size_t axis = 1; axis <= mostAxes; ++axis) {
    // Of a header of fewer axes the others may hold anything.
    if (axis > spatialAxes || header.dim[axis] < 1) {
      header.dim[axis] = 1;
      header.pixdim[axis] = 1;
    }
  }
  if (points > 0) {
    header.dim[spatialAxes + 1] =
        static_cast<std::remove_reference_t<decltype(header.dim[0])>>(points);
  }
  header.scl_slope = 1;
  header.scl_inter = 0;
  header.cal_max = 0;
  header.cal_min = 0;
  header.toffset = 0;
  header.slice_duration = 0;
  header.intent_code = 0;
  header.intent_p1 = header.intent_p2 = header.intent_p3 = 0;
  header.xyzt_units = static_cast<decltype(header.xyzt_units)>(XYZT_TO_SPACE(header.xyzt_units));
  std::memset(header.intent_name, 0, sizeof header.intent_name);
  std::memset(header.descrip, 0, sizeof header.descrip);
  std::memset(header.aux_file, 0, sizeof header.aux_file);
}

template <class Header>
std::string mapHeader(Header header, std::size_t points, const ElementType& number,
                      const std::string& description, std::string_view magic) {
  setExtents(header, points);
  header.datatype = number.kind != NumberKind::floating ? DT_INT32
                    : number.size == 4                  ? DT_FLOAT32
                                                        : DT_FLOAT64;
  header.bitpix = static_cast<std::int16_t>(8 * number.size);
  const std::size_t offset = (sizeof header + 4 + 15) / 16 * 16;
  header.vox_offset = static_cast<decltype(header.vox_offset)>(offset);
  std::memset(header.magic, 0, sizeof header.magic);
  std::memcpy(header.magic, magic.data(), magic.size());
  std::memcpy(header.descrip, description.data(),
              std::min(description.size(), sizeof header.descrip - 1));
  std::string bytes = bytesOf(header);
  bytes.resize(offset, '\0');
  return bytes;
}

}  // namespace

bool isNifti(std::string_view start) {
  bool swapped = false;
  const int size = headerSize(start, swapped);
  if (size == 0 || start.size() < static_cast<std::size_t>(size)) {
    return false;
  }
  constexpr std::size_t magicAt = 344;
  const std::string_view magic = start.substr(
      size == static_cast<int>(sizeof(nifti_1_header)) ? magicAt : sizeof(std::int32_t), 3);
  return magic == "n+1" || magic == "ni1" || magic == "n+2" || magic == "ni2";
}

NiftiHeader parseNifti(std::string_view start, const std::string& name) {
  if (!isNifti(start)) {
    fail(name, "this is no NIfTI image");
  }
  bool swapped = false;
  if (headerSize(start, swapped) == static_cast<int>(sizeof(nifti_1_header))) {
    auto header = headerIn<nifti_1_header>(start);
    if (swapped) {
      swapBytes(header, name);
    }
    return understood(header, swapped, header.magic[1] == 'i', sizeof header, name);
  }
  auto header = headerIn<nifti_2_header>(start);
  if (swapped) {
    swapBytes(header, name);
  }
  return understood(header, swapped, header.magic[1] == 'i', sizeof header, name);
}

std::string niftiMapHeader(const std::string& input, std::size_t points, const ElementType& number,
                           const std::string& description) {
  using namespace std::string_view_literals;
  return input.size() == sizeof(nifti_1_header)
             ? mapHeader(headerIn<nifti_1_header>(input), points, number, description, "n+1\0"sv)
             : mapHeader(headerIn<nifti_2_header>(input), points, number, description,
                         "n+2\0\r\n\x1a\n"sv);
}

std::unique_ptr<Volume> openNifti(const VolumeRequest& request) {
  const fs::path path =
      isImgName(request.file) ? partner(request.file, ".hdr") : fs::path(request.file);
  std::string start(niftiHeaderSize, '\0');
  start.resize(PackedReader(path).read(start.data(), start.size()));
  const NiftiHeader header = parseNifti(start, request.file);
  const fs::path data = header.isPair ? partner(request.file, ".img") : path;
  RawLayout layout = layoutOf(header, request);
  const std::uint64_t size = contentSize(header, request.file);
  const bool packed = isGzip(data);
  OwnFile file = packed ? unpacked(data, size, request.scratch) : OwnFile::toRead(data);
  auto volume = std::make_unique<RawVolume>(std::move(file), request.file, VolumeKind::nifti,
                                            std::move(layout));
  volume->setNifti(header.bytes, packed);
  return volume;
}

}  // namespace vorin::toolkit
