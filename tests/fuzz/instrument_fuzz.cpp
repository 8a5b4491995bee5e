// Bytes as files of instruments. The first says whether the rest is a file, the acqu.par beside
// one, or the acqus of a series of TopSpin; each is read or refused with a sentence that holds
// nothing that a terminal obeys.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "refusal.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/user_error.hpp"

namespace {

namespace toolkit = vorin::toolkit;
using vorin::fuzz::require;

void write(const std::string& name, const std::string& content) {
  std::ofstream(name, std::ios::binary) << content;
}

void readOrRefuse(const std::string& path, const toolkit::DecayFormatText& text) {
  vorin::fuzz::doOrRefuse([&] {
    const auto decays =
        toolkit::readDecays(path, toolkit::readDecayFormat(text, toolkit::Quantity::time, "--"));
    for (const toolkit::FileDecay& decay : decays) {
      const std::vector<double>& times = decay.measured.decay.time;
      require(times.size() >= 2 && times.size() == decay.measured.decay.amplitude.size());
      for (std::size_t i = 1; i < times.size(); ++i) {
        require(std::isfinite(times[i]) && times[i - 1] < times[i]);
      }
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
  for (const char* name : {"acqu.par", "ser", "acqus", "acqu2s", "vdlist"}) {
    std::filesystem::remove(name);
  }
  switch (data[0] % 3) {
    case 0:
      write("f.dat", content);
      break;
    case 1:
      write("acqus", content);
      write("acqu2s", "##$TD= 2\n");
      write("vdlist", content.substr(content.size() / 2));
      write("ser", std::string(2048, '\1'));
      readOrRefuse("ser", {});
      return 0;
    default:
      write("acqu.par", content);
      write("f.dat", "0,5,1\n10,4,1\n20,3,1\n");
  }
  readOrRefuse("f.dat", {});
  readOrRefuse("f.dat", {"", "us", "", ""});
  readOrRefuse("f.dat", {"", "", "", "1ms"});
  return 0;
}
