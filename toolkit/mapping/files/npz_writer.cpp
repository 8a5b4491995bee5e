#include <fmt/format.h>
#include <minizip/zip.h>

#include <algorithm>
#include <vector>

#include "toolkit/mapping/files/map_writers.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

UserError cannotWrite(const std::string& path) {
  return UserError(fmt::format("{}: the file can't be written; the disk may be full", path));
}

}  // namespace

void requireNpz(const std::string& /*name*/) {}

NpzWriter::NpzWriter(const std::filesystem::path& path)
    : path_(path.string()), zip_(zipOpen64(path.c_str(), APPEND_STATUS_CREATE)) {
  if (zip_ == nullptr) {
    throw cannotWrite(path_);
  }
}

NpzWriter::~NpzWriter() {
  if (zip_ != nullptr) {
    zipClose(zip_, nullptr);
  }
}

void NpzWriter::open(const std::string& name, std::uint64_t size) {
  zip_fileinfo info{};
  info.dosDate = (1U << 21U) | (1U << 16U);  // the first day that the format knows
  constexpr std::uint64_t mostOfSmall = 0xF0000000U;
  if (zipOpenNewFileInZip64(zip_, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, 0, 0,
                            size > mostOfSmall ? 1 : 0) != ZIP_OK) {
    throw cannotWrite(path_);
  }
}

void NpzWriter::put(const char* bytes, std::size_t count) {
  if (count > 0 && zipWriteInFileInZip(zip_, bytes, static_cast<unsigned>(count)) != ZIP_OK) {
    throw cannotWrite(path_);
  }
}

void NpzWriter::add(const std::string& name, const OwnFile& file, std::uint64_t size) {
  open(name, size);
  std::vector<char> block(1U << 20U);
  for (std::uint64_t at = 0; at < size; at += block.size()) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), size - at));
    file.read(at, block.data(), count);
    put(block.data(), count);
  }
  if (zipCloseFileInZip(zip_) != ZIP_OK) {
    throw cannotWrite(path_);
  }
}

void NpzWriter::add(const std::string& name, std::string_view bytes) {
  open(name, bytes.size());
  put(bytes.data(), bytes.size());
  if (zipCloseFileInZip(zip_) != ZIP_OK) {
    throw cannotWrite(path_);
  }
}

void NpzWriter::close() {
  void* const zip = zip_;
  zip_ = nullptr;
  if (zipClose(zip, nullptr) != ZIP_OK) {
    throw cannotWrite(path_);
  }
}

}  // namespace vorin::toolkit
