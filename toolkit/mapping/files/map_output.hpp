// The files of maps: NIfTI images, an HDF5 file, .npy or .npz, or a table, as the input was.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/mapping/files/map_journal.hpp"
#include "toolkit/reading/files.hpp"

namespace vorin::toolkit {

class MapOutput {
 public:
  /// Takes note of the files that maps with `head` leave under the name `out`: a folder, or the
  /// start of names where it ends in '_', '-' or the ending of an image, for NIfTI and .npy; the
  /// name of a file otherwise. Throws UserError for names that can't be written or that are of
  /// another kind than the input. `inputs` are the files that no output may be.
  MapOutput(const std::string& out, const MapHead& head, const std::vector<std::string>& inputs);

  /// Writes all of them, whole or none.
  void write(const MapResults& results);

  /// The files, for people.
  const std::vector<std::filesystem::path>& files() const { return targets_; }

 private:
  std::filesystem::path announce(const std::string& name);
  void writeImages(const MapResults& results);
  void writeNpy(const MapResults& results);
  void writeNpz(const MapResults& results);
  void writeTable(const MapResults& results);
  void writeHdf5(const MapResults& results);

  OutputFiles files_;
  std::vector<std::filesystem::path> targets_;
};

/// The name of the file that an unfinished map is kept in.
std::filesystem::path unfinishedName(const std::string& out);

}  // namespace vorin::toolkit
