// Two-dimensional data: files of any bytes as matrices, arrays of numpy's and folders of a
// Spinsolve. Each is read or refused with a sentence that holds nothing that a terminal obeys, and
// what is read and small is inverted.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "refusal.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"
#include "toolkit/two_dimensional/map_reading.hpp"
#include "toolkit/user_error.hpp"

namespace {

namespace toolkit = vorin::toolkit;
using vorin::fuzz::doOrRefuse;
using vorin::fuzz::require;

void write(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary) << content;
}

void requireRising(const std::vector<double>& times) {
  for (std::size_t i = 0; i < times.size(); ++i) {
    require(std::isfinite(times[i]) && times[i] >= 0.0 && (i == 0 || times[i - 1] < times[i]));
  }
}

void readAndInvert(const std::string& path, const toolkit::MapFormat& format) {
  doOrRefuse([&] {
    toolkit::MeasuredMap measured = toolkit::readMap(path, format);
    const toolkit::MapData& data = measured.data;
    requireRising(data.times1);
    requireRising(data.times2);
    require(data.samples.size() == data.times1.size() * data.times2.size());
    require(measured.imaginary.empty() || measured.imaginary.size() == data.samples.size());
    constexpr std::size_t small = 8;
    if (data.times1.size() > small || data.times2.size() > small) {
      return;
    }
    toolkit::MapSettings method;
    method.mode = toolkit::MapWeightMode::fixed;
    method.weight = 0.1;
    const toolkit::PreparedMap prepared =
        toolkit::prepareMap(std::move(measured), {{format.kernel1, {}, {}}, {0.01, 0.1, 1.0}},
                            {{format.kernel2, {}, {}}, {0.001, 0.03, 0.3}}, method);
    for (const double amplitude :
         toolkit::invertMap(prepared.data, prepared.settings).distribution) {
      require(amplitude >= 0.0 && std::isfinite(amplitude));
    }
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  if (size == 0) {
    return 0;
  }
  const std::string content(reinterpret_cast<const char*>(data) + 1, size - 1);
  for (const char* name : {"acqu.par", "T1IRT2.dat", "m.csv", "m.npy", "t1", "t2"}) {
    std::filesystem::remove(name);
  }
  toolkit::MapFormat format;
  switch (data[0] % 4) {
    case 0:
      write("m.csv", content);
      readAndInvert("m.csv", format);
      format.kernel1 = toolkit::Kernel::diffusion;
      readAndInvert("m.csv", format);
      break;
    case 1:
      write("m.npy", content);
      readAndInvert("m.npy", format);
      format.times1 = format.times2 = "t1";
      write("t1", "0.01\n0.02\n");
      readAndInvert("m.npy", format);
      break;
    case 2: {  // the axes and the matrix in files of their own
      const std::size_t half = content.size() / 2;
      write("t1", content.substr(0, half));
      write("m.csv", content.substr(half));
      write("t2", "1 2 3\n");
      format.times1 = "t1";
      format.times2 = "t2";
      format.imaginary = content.size() % 2 == 0 ? "m.csv" : "";
      readAndInvert("m.csv", format);
      break;
    }
    default: {
      const std::size_t half = content.size() / 2;
      write("acqu.par", content.substr(0, half));
      write("T1IRT2.dat", content.substr(half));
      readAndInvert("T1IRT2.dat", format);
      readAndInvert(".", format);
    }
  }
  return 0;
}
