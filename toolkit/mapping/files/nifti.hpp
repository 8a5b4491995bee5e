// NIfTI-1 and NIfTI-2 images (Cox et al., A (sort of) new image data format standard: NIfTI-1,
// Human Brain Mapping 10, 2004; nifti.nimh.nih.gov): what a header says, and the header of a map of
// the same voxels.
//
// Structures, byte order and types are those of nifticlib. Its readers of whole files trust the
// sizes in a header, so that dimensions, offset and length are checked here and the numbers are
// read by RawVolume.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/mapping/files/elements.hpp"
#include "toolkit/mapping/files/volume.hpp"

namespace vorin::toolkit {

/// Bytes that hold any header.
inline constexpr std::size_t niftiHeaderSize = 544;

struct NiftiHeader {
  std::string bytes;                 ///< the structure in this machine's byte order
  bool isPair = false;               ///< the numbers are in a file of their own, .img
  std::vector<std::size_t> extents;  ///< the fastest axis first, as the header has them
  ElementType type;
  std::uint64_t offset = 0;
  double slope = 1.0;
  double intercept = 0.0;
};

/// True when `start`, the first bytes of a file, begins as such files do.
bool isNifti(std::string_view start);

/// Reads the header in `start`. Throws UserError, which begins with `name`, for a header that
/// contradicts itself and for numbers that are colours or of a type that machines differ in.
NiftiHeader parseNifti(std::string_view start, const std::string& name);

/// The header, with the bytes up to the numbers, of a file of the voxels of `input` (the bytes of a
/// NiftiHeader) with `points` numbers each, or one where it is 0, of the type `number`.
std::string niftiMapHeader(const std::string& input, std::size_t points, const ElementType& number,
                           const std::string& description);

/// Opens the image `request.file`.
std::unique_ptr<Volume> openNifti(const VolumeRequest& request);

}  // namespace vorin::toolkit
