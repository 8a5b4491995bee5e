// Files packed by gzip, unpacked into a temporary file without a name: an image keeps the samples
// of a voxel far apart, and a packed file can only be read from its start.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "toolkit/mapping/files/own_file.hpp"

namespace vorin::toolkit {

/// True when the file begins as gzip files do.
bool isGzip(const std::filesystem::path& path);

/// A file read from its start to its end, unpacked where it is packed.
class PackedReader {
 public:
  /// Throws UserError for a file that can't be read.
  explicit PackedReader(const std::filesystem::path& path);
  PackedReader(const PackedReader&) = delete;
  PackedReader& operator=(const PackedReader&) = delete;
  ~PackedReader();

  /// The next bytes, fewer than `count` at the end only. Throws UserError for a packed file that is
  /// cut off or whose checksum is another than that of its content.
  std::size_t read(char* bytes, std::size_t count);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The content of the packed file `path`, which must be `size` bytes or more, as a file without a
/// name in `scratch`. Throws UserError as PackedReader does, for content that is shorter, and where
/// the disk is full.
OwnFile unpacked(const std::filesystem::path& path, std::uint64_t size,
                 const std::filesystem::path& scratch);

/// Packs `count` bytes of `source` from its start into `target`, the same bytes for equal content.
void packInto(const OwnFile& source, std::uint64_t count, const OwnFile& target);

}  // namespace vorin::toolkit
