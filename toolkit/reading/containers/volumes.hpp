// Volumes of any size in HDF5 files: what a data set is, its numbers box by box, and files of maps.
//
//   vorin-containers describe PATH AXIS      the file on standard input; AXIS of the samples, or -
//   vorin-containers boxes PATH AXIS TILE FIRST LAST
//                                            boxes FIRST to LAST - 1 of the extents TILE ("4,16")
//   vorin-containers maps FILE               writes FILE from what comes on standard input
//
// The answer of the first is a JSON object; that of the second the numbers of box after box in
// double precision, voxels in row-major order and the samples of one together, all real parts of a
// box before all imaginary ones. What goes wrong is told by a JSON object with "error".
//
// The third takes a length (64 bits), a JSON object of that length (maps_file.cpp says what is in
// it), and then boxes: the number of the data set (64 bits), first and extent for each of its axes
// (64 bits each), the numbers; at the end the number ~0. It answers a JSON object.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorin::toolkit::containers {

/// Ends the list of boxes for "maps".
inline constexpr std::uint64_t noDataSet = ~std::uint64_t{0};

/// What "describe" and "boxes" are asked for.
struct VolumeQuery {
  std::string path;     ///< of the data set; empty: the only one that suits
  bool hasAxis = true;  ///< there is an axis of samples
  long axis = -1;       ///< from 0, or from the end below 0
};

/// Seals the process once the file is open: nothing else is opened.
using Seal = void (*)();

/// The JSON object of "describe".
std::string describeVolume(const VolumeQuery& query, Seal seal);

/// Writes the boxes to standard output. Returns an error, empty for none.
std::string writeBoxes(const VolumeQuery& query, const std::vector<std::uint64_t>& tile,
                       std::uint64_t first, std::uint64_t last, Seal seal);

/// Writes the file of maps. Returns an error, empty for none.
std::string writeMaps(const std::string& file);

}  // namespace vorin::toolkit::containers
