// What takes the place of formats whose libraries a build is without: HDF5, numpy's archives, and
// NIfTI images in the byte order of other machines.
#include <fmt/format.h>

#include "toolkit/mapping/files/map_output.hpp"
#include "toolkit/mapping/files/map_writers.hpp"
#include "toolkit/mapping/files/nifti_byte_order.hpp"
#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

[[noreturn]] void refuseByteOrder(const std::string& name) {
  throw UserError(
      fmt::format("{}: this build reads no NIfTI images in the byte order of other machines; save "
                  "it in that of this one",
                  name));
}

[[noreturn]] void refuseHdf5(const std::string& name) {
  throw UserError(
      fmt::format("{}: this is an HDF5 file, which this build does not read; save it as a NIfTI "
                  "image or with numpy.save()",
                  name));
}

[[noreturn]] void refuseNpz(const std::string& name) {
  throw UserError(
      fmt::format("--out {}: this build writes no .npz; give a folder for .npy files", name));
}

}  // namespace

void swapBytes(nifti_1_header& /*header*/, const std::string& name) {
  refuseByteOrder(name);
}

void swapBytes(nifti_2_header& /*header*/, const std::string& name) {
  refuseByteOrder(name);
}

std::unique_ptr<Volume> openHdf5(const VolumeRequest& request) {
  refuseHdf5(request.file);
}

void MapOutput::writeHdf5(const MapResults& /*results*/) {
  refuseHdf5(targets_.front().string());  // also for the journal of another build
}

void requireNpz(const std::string& name) {
  refuseNpz(name);
}

NpzWriter::NpzWriter(const std::filesystem::path& path) : path_(path.string()), zip_(nullptr) {
  refuseNpz(path_);
}

NpzWriter::~NpzWriter() = default;

void NpzWriter::add(const std::string& /*name*/, const OwnFile& /*file*/, std::uint64_t /*size*/) {}

void NpzWriter::add(const std::string& /*name*/, std::string_view /*bytes*/) {}

void NpzWriter::close() {}

}  // namespace vorin::toolkit
