// Files of any bytes as volumes: NIfTI images, numpy arrays and tables are read in boxes, or
// refused with a sentence that holds nothing that a terminal obeys.
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "toolkit/mapping/files/volume.hpp"
#include "toolkit/user_error.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  namespace toolkit = vorin::toolkit;
  using vorin::fuzz::require;
  static const vorin::fuzz::OwnFolder folder;
  for (const char* name : {"v.nii", "v.img"}) {
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  for (const char* name : {"v.nii", "v.img"}) {
    for (const bool withSamples : {true, false}) {
      try {
        toolkit::VolumeRequest request;
        request.file = name;
        request.option = "--mask";
        request.withSamples = withSamples;
        request.scratch = ".";
        const auto volume = toolkit::openVolume(request);
        constexpr std::size_t boxVoxels = 16;
        constexpr std::size_t mostBoxes = 50;
        const toolkit::Tiling tiling(volume->voxels(), volume->tile(boxVoxels, boxVoxels));
        volume->expect(tiling, 0, tiling.count());
        toolkit::VolumeNumbers numbers;
        for (std::size_t box = 0; box < tiling.count() && box < mostBoxes; ++box) {
          volume->read(tiling.box(box), numbers);
          require(numbers.real.size() == tiling.box(box).count() * volume->samples());
          require(numbers.imaginary.size() == (volume->isComplex() ? numbers.real.size() : 0));
        }
      } catch (const toolkit::UserError& error) {
        for (const char c : std::string(error.what())) {
          require(static_cast<unsigned char>(c) >= ' ' && c != 0x7f);
        }
      }
    }
  }
  return 0;
}
