#include "toolkit/mapping/files/open_volume.hpp"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <string_view>

#include "toolkit/mapping/files/nifti.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/unpacked.hpp"
#include "toolkit/reading/npy.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

ContainerName containerName(const std::string& name) {
  std::error_code error;
  const std::size_t colon = name.rfind(':');
  if (colon == std::string::npos || fs::exists(name, error)) {
    return {name, {}};
  }
  return {name.substr(0, colon), name.substr(colon + 1)};
}

std::size_t sampleAxis(std::optional<int> axis, std::size_t rank, const std::string& name) {
  const auto all = static_cast<long long>(rank);
  const long long wanted = axis.value_or(-1);
  if (rank == 0) {
    throw UserError(fmt::format("{}: the array has no dimensions; a decay a row is needed", name));
  }
  if (wanted < -all || wanted >= all) {
    throw UserError(
        fmt::format("--axis {}: {} has {} axes; write a number from 0 to {}, or from "
                    "-1 to -{} counted from the end",
                    wanted, name, rank, rank - 1, rank));
  }
  return static_cast<std::size_t>(wanted < 0 ? wanted + all : wanted);
}

namespace {

/// HDF5 begins at the start, or behind a block of 512 bytes, 1024, 2048 and so on.
bool isHdf5(const fs::path& path) {
  constexpr std::string_view magic = "\x89HDF\r\n\x1a\n";
  const OwnFile file = OwnFile::toRead(path);
  std::array<char, magic.size()> start{};
  const std::uint64_t size = file.size();
  for (std::uint64_t at = 0; at + magic.size() <= size; at = at == 0 ? 512 : 2 * at) {
    file.read(at, start.data(), start.size());
    if (std::string_view(start.data(), start.size()) == magic) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::unique_ptr<Volume> openVolume(const VolumeRequest& request) {
  const ContainerName name = containerName(request.file);
  const fs::path path = name.file;
  if (isHdf5(path)) {
    return openHdf5(request);
  }
  if (!name.inner.empty()) {
    throw UserError(
        fmt::format("{}: there is no such file, and {} is no HDF5 file with a data set "
                    "of this name",
                    request.file, name.file));
  }
  if (isNpy(path)) {
    return openNpy(request);
  }
  std::string start(niftiHeaderSize, '\0');
  start.resize(PackedReader(path).read(start.data(), start.size()));
  if (isNifti(start) || path.extension() == ".img") {
    return openNifti(request);
  }
  return openTable(request);
}

}  // namespace vorin::toolkit
