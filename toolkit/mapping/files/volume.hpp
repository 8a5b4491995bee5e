// A volume of decays in a file: many voxels with as many samples each, read box by box.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/mapping/files/boxes.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// The numbers of a box: a row of samples for each voxel, voxels in row-major order.
struct VolumeNumbers {
  std::vector<double> real;
  std::vector<double> imaginary;  ///< as many; empty for real data
};

/// Which kind of file a volume is in. Maps are written in the same kind.
enum class VolumeKind { nifti, hdf5, npy, table };

/// An axis of the voxels as the file describes it.
struct VolumeAxis {
  std::string name;  ///< empty where the file tells none
  std::string unit;
  std::vector<double> values;  ///< of each position; empty where the file tells none
};

/// A volume that is open. One thread at a time.
class Volume {
 public:
  Volume() = default;
  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;
  virtual ~Volume() = default;

  /// Lengths of the axes of voxels, the slowest first, and the count of samples of each.
  const Extents& voxels() const { return facts_.voxels; }
  std::size_t samples() const { return facts_.samples; }
  bool isComplex() const { return facts_.isComplex; }
  const std::string& name() const { return facts_.name; }
  VolumeKind kind() const { return facts_.kind; }

  /// Boxes of about `about` voxels, `most` where the file is read much faster by larger ones.
  virtual Extents tile(std::size_t about, std::size_t most) const = 0;

  /// The boxes that will be read, so that a reader can prepare for them: those numbered `first` to
  /// `last` - 1 of `tiling`, in this order.
  virtual void expect(const Tiling& /*tiling*/, std::size_t /*first*/, std::size_t /*last*/) {}

  /// The numbers of `box`. Throws UserError where the file can't be read any more.
  virtual void read(const VoxelBox& box, VolumeNumbers& numbers) = 0;

  /// The times that the file itself tells, in SI units; none where it tells none.
  const std::vector<double>& times() const { return facts_.times; }
  /// The unit of the numbers as the file spells it, or nothing.
  const std::string& unit() const { return facts_.unit; }
  /// Names and positions of the axes of voxels, as many as there are.
  const std::vector<VolumeAxis>& axes() const { return facts_.axes; }
  /// The header of a NIfTI file in the byte order of this machine; empty for others.
  const std::string& niftiHeader() const { return facts_.niftiHeader; }
  /// True when the file is packed by gzip, as its maps will be.
  bool isPacked() const { return facts_.isPacked; }

 protected:
  /// What the accessors tell, for those that open a volume to fill in.
  struct Facts {
    Extents voxels;
    std::size_t samples = 0;
    bool isComplex = false;
    std::string name;
    VolumeKind kind = VolumeKind::npy;
    std::vector<double> times;
    std::string unit;
    std::vector<VolumeAxis> axes;
    std::string niftiHeader;
    bool isPacked = false;
  };
  Facts& facts() { return facts_; }
  const Facts& facts() const { return facts_; }

 private:
  Facts facts_;
};

/// How a file is to be read.
struct VolumeRequest {
  std::string file;           ///< FILE, or FILE:DATASET for HDF5
  std::string option;         ///< that names it, for messages; empty for the volume of decays
  bool withSamples = true;    ///< false: a number a voxel, as a mask has
  std::optional<int> axis{};  ///< of the samples, from 0, or from the end below 0; else the last
  bool timesGiven = false;    ///< true: a table has no row of times
  Quantity abscissa = Quantity::time;
  std::filesystem::path scratch;  ///< a folder for temporary files without a name
};

/// Opens the volume in a file: NIfTI-1 or -2, HDF5, .npy, or a table with a decay a row. Throws
/// UserError for what is none of them, lies about its size, is cut off, or has no axis of samples.
std::unique_ptr<Volume> openVolume(const VolumeRequest& request);

/// Puts the axis of samples where `axis` says; `rank` is the count of axes of the array. Throws
/// UserError, which names --axis.
std::size_t sampleAxis(std::optional<int> axis, std::size_t rank, const std::string& name);

}  // namespace vorin::toolkit
