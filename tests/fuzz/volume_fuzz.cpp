// Files of any bytes as volumes: NIfTI images, numpy arrays and tables are read in boxes, or
// refused with a sentence that holds nothing that a terminal obeys.
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "refusal.hpp"
#include "toolkit/mapping/files/volume.hpp"
#include "toolkit/user_error.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  namespace toolkit = vorin::toolkit;
  static const vorin::fuzz::OwnFolder folder;
  for (const char* name : {"v.nii", "v.img"}) {
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  for (const char* name : {"v.nii", "v.img"}) {
    for (const bool withSamples : {true, false}) {
      vorin::fuzz::doOrRefuse([&] {
        toolkit::VolumeRequest request;
        request.file = name;
        request.option = "--mask";
        request.withSamples = withSamples;
        request.scratch = ".";
        const auto volume = toolkit::openVolume(request);
        constexpr std::size_t boxVoxels = 16;
        constexpr std::size_t mostBoxes = 50;
        vorin::fuzz::readBoxes<toolkit::Tiling, toolkit::VolumeNumbers>(*volume, boxVoxels,
                                                                        mostBoxes);
      });
    }
  }
  return 0;
}
