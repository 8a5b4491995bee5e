// HDF5 and MATLAB files. The first byte says what the rest is: the answer of the program that reads
// them, changes to a file that the libraries of these formats wrote, which goes through that
// program as decays or as a volume, or what it is to write a file of maps from. Each is read or
// refused with a sentence that holds nothing that a terminal obeys.
#include <sys/wait.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../support/container_files.hpp"
#include "bytes.hpp"
#include "own_folder.hpp"
#include "refusal.hpp"
#include "toolkit/mapping/files/volume.hpp"
#include "toolkit/reading/decay_columns.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/formats/arrays.hpp"
#include "toolkit/user_error.hpp"

namespace {

namespace toolkit = vorin::toolkit;
using toolkit::test::H5;
using toolkit::test::Mat;
using vorin::fuzz::doOrRefuse;
using vorin::fuzz::require;

std::string contentOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> templates() {
  std::vector<std::string> files;
  {
    const H5 file("template");
    file.group("g");
    file.put("g/t", {1, 2, 3, 4}, {4}, H5T_IEEE_F64LE, true);
    file.text("g/t", "units", "ms");
    file.put("g/y", {8, 4, 2, 1}, {4}, H5T_STD_I16BE);
    file.pairs("z", "r", "i", {8, -1, 4, -2, 2, -3, 1, -4});
  }
  files.push_back(contentOf("template"));
  for (const mat_ft version : {MAT_FT_MAT4, MAT_FT_MAT5, MAT_FT_MAT73}) {
    {
      const Mat file("template", version);
      file.put("t_ms", {1, 2, 3, 4}, 4);
      file.put("y", {8, 4, 2, 1}, 1, true);
    }
    files.push_back(contentOf("template"));
  }
  for (const bool packed : {false, true}) {  // for volumes
    {
      const H5 file("template");
      file.put("v", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {2, 2, 3}, H5T_IEEE_F32LE, packed);
    }
    files.push_back(contentOf("template"));
  }
  return files;
}

void requireDecays(const std::vector<toolkit::FileDecay>& decays) {
  for (const toolkit::FileDecay& decay : decays) {
    const std::vector<double>& times = decay.measured.decay.time;
    require(times.size() >= 2 && times.size() == decay.measured.decay.amplitude.size());
    for (std::size_t i = 1; i < times.size(); ++i) {
      require(std::isfinite(times[i]) && times[i - 1] < times[i]);
    }
  }
}

void readAnswer(std::string_view bytes) {
  for (const char* inner : {"", "a", "/g"}) {
    toolkit::containers::Content content;
    toolkit::containers::decode(bytes, content);
    doOrRefuse([&] {
      const auto columns =
          toolkit::columnsOfContent(std::move(content), {"f", "HDF5", inner, {}, {}});
      requireDecays(toolkit::decaysIn(*columns, {}));
    });
  }
}

void readVolume(const char* path) {
  doOrRefuse([&] {
    toolkit::VolumeRequest request;
    request.file = path;
    request.scratch = ".";
    const auto volume = toolkit::openVolume(request);
    constexpr std::size_t boxVoxels = 4;
    constexpr std::size_t mostBoxes = 10;
    vorin::fuzz::readBoxes<toolkit::Tiling, toolkit::VolumeNumbers>(*volume, boxVoxels, mostBoxes);
  });
}

/// The program that writes maps ends by itself, whatever it is told to write.
void writeMaps(std::string_view told) {
  std::ofstream("told", std::ios::binary) << told;
  const int ending =
      std::system("\"$VORIN_CONTAINERS\" maps maps.h5 <told >answer");  // NOLINT(cert-env33-c)
  require(WIFEXITED(ending) && WEXITSTATUS(ending) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  static const int told = ::setenv("VORIN_CONTAINERS", VORIN_CONTAINERS_PROGRAM, 1);
  static const std::vector<std::string> files = templates();
  require(told == 0);
  if (size == 0) {
    return 0;
  }
  constexpr std::size_t oneChange = 4;
  constexpr std::size_t firstOfVolumes = 4;
  if (data[0] == files.size()) {
    writeMaps({reinterpret_cast<const char*>(data) + 1, size - 1});
    return 0;
  }
  if (data[0] >= files.size() ||
      size < oneChange) {  // mostly: starting a program takes a thousand times as long
    readAnswer({reinterpret_cast<const char*>(data) + 1, size - 1});
    return 0;
  }
  std::string file = files[data[0]];
  for (std::size_t at = 1; at + 2 < size; at += 3) {
    const std::size_t place = 256U * data[at] + data[at + 1];
    file[place % file.size()] = static_cast<char>(data[at + 2]);
  }
  std::ofstream("f.bin", std::ios::binary) << file;
  if (data[0] >= firstOfVolumes) {
    readVolume(size % 2 == 0 ? "f.bin:/v" : "f.bin");
    return 0;
  }
  doOrRefuse(
      [&] { requireDecays(toolkit::readDecays(size % 2 == 0 ? "f.bin:/g/y" : "f.bin", {})); });
  return 0;
}
