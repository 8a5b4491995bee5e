// Pieces that the files of maps are written with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "toolkit/mapping/files/elements.hpp"
#include "toolkit/mapping/files/map_journal.hpp"
#include "toolkit/mapping/files/own_file.hpp"

namespace vorin::toolkit {

/// How the numbers of a map are stored.
ElementType storedType(const MapHead& head, const MapArray& array);

/// Writes array number `array` as a dense one of all voxels, row-major, from byte `offset` of
/// `file`; the rows of an array that has them are each together, or their first numbers come first
/// for all voxels.
void writeDense(const MapResults& results, std::size_t array, const OwnFile& file,
                std::uint64_t offset, bool rowsTogether);

/// Grid, times, units and settings as JSON.
std::string descriptionOf(const MapHead& head, std::size_t countOfVoxels);

/// Throws UserError, which names --out, where this build writes no such archives.
void requireNpz(const std::string& name);

/// An archive of arrays as numpy.load() opens it: a zip file whose members are not packed.
class NpzWriter {
 public:
  /// Throws UserError where the file can't be written, as all do.
  explicit NpzWriter(const std::filesystem::path& path);
  NpzWriter(const NpzWriter&) = delete;
  NpzWriter& operator=(const NpzWriter&) = delete;
  ~NpzWriter();

  void add(const std::string& name, const OwnFile& file, std::uint64_t size);
  void add(const std::string& name, std::string_view bytes);
  void close();

 private:
  void open(const std::string& name, std::uint64_t size);
  void put(const char* bytes, std::size_t count);

  std::string path_;
  void* zip_;
};

}  // namespace vorin::toolkit
