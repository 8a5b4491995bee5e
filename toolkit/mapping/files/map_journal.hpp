// The journal of a map: what is known of each block of voxels as soon as it is inverted. A run that
// is interrupted goes on from it, parts of one volume that were inverted on several machines are
// joined from theirs, and the maps are written from it at the end, so that all of these leave the
// same bytes.
//
// The file: a mark, the length of the head (64 bits), the head (a JSON object), its CRC-32; then a
// record a block, in the order of the blocks: the block's number (64 bits), its arrays one after
// the other (double precision, voxels in row-major order), and the CRC-32 of both.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/mapping/files/boxes.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/volume.hpp"

namespace vorin::toolkit {

/// An array of the result: a number for each voxel, or a row of `width` numbers.
struct MapArray {
  std::string name;       ///< "log_mean"
  std::string unit;       ///< "s", or nothing
  std::string meaning;    ///< a few words
  std::size_t width = 0;  ///< 0: a number
  bool isWhole = false;   ///< whole numbers, as the status

  std::size_t numbers() const { return width > 0 ? width : 1; }
};

/// What all parts of a map have in common, and which blocks a journal is for.
struct MapHead {
  std::string settings;  ///< all that changes the result, the version and the input among it
  VolumeKind kind = VolumeKind::npy;
  Extents voxels;
  Extents tile;
  std::vector<VolumeAxis> axes;
  std::string niftiHeader;  ///< Volume::niftiHeader()
  bool packed = false;      ///< maps are packed by gzip, as the input is
  bool single = false;      ///< maps are written in single precision
  std::vector<MapArray> arrays;
  std::vector<double> grid;
  std::string gridName;
  std::string gridUnit;
  std::vector<double> times;                               ///< of the samples that were inverted
  std::vector<std::pair<std::string, std::string>> shown;  ///< settings, for people
  std::optional<double> sharedWeight;
  std::size_t firstBlock = 0;
  std::size_t lastBlock = 0;  ///< one behind the last

  Tiling tiling() const { return {voxels, tile}; }
};

/// True when both are of one map; the blocks may differ.
bool areOfOneMap(const MapHead& a, const MapHead& b);

/// The numbers of a block: those of each array of the head.
using MapBlock = std::vector<std::vector<double>>;

class MapJournal {
 public:
  /// Begins a journal; what is in the file is gone.
  static MapJournal begin(const std::filesystem::path& path, const MapHead& head);
  /// True for the start of a journal without a whole head, as a run leaves it that is interrupted,
  /// or that meets a full disk, at once.
  static bool endsInItsHead(const std::filesystem::path& path);
  /// Opens one, to go on with it or to read it: what is behind the last good record is cut off,
  /// unless it is only read. Throws UserError for a file that is no journal.
  static MapJournal open(const std::filesystem::path& path, bool onlyRead);

  const MapHead& head() const { return head_; }
  /// The first block that is not there yet; all before it, from the head's first, are.
  std::size_t next() const { return next_; }
  bool isWhole() const { return next_ == head_.lastBlock; }

  /// Adds block next(). Throws UserError where it can't be written.
  void add(const MapBlock& block);
  /// The numbers of an array of a block that is there.
  std::vector<double> read(std::size_t block, std::size_t array) const;
  void flush() const { file_.flush(); }

 private:
  MapJournal(OwnFile file, MapHead head, std::uint64_t headBytes);
  void findGoodRecords();
  std::uint64_t recordBytes(std::size_t block) const;

  OwnFile file_;
  MapHead head_;
  Tiling tiling_;
  std::size_t numbersAVoxel_ = 0;
  std::vector<std::uint64_t> starts_;  ///< of the records that are there, and the end of the last
  std::size_t next_ = 0;
};

/// Journals that hold all blocks of one map together.
class MapResults {
 public:
  /// Throws UserError, which begins with `--join`, for parts of several maps, parts that are not
  /// finished, blocks that are missing, and blocks that are there more than once.
  explicit MapResults(std::vector<std::pair<std::string, MapJournal>> parts);

  const MapHead& head() const { return parts_.front().second.head(); }
  std::vector<double> read(std::size_t block, std::size_t array) const;

 private:
  std::vector<std::pair<std::string, MapJournal>> parts_;  ///< with their names, by their blocks
};

}  // namespace vorin::toolkit
