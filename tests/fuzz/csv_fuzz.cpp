// Files of any bytes as decays and distributions: each is read or refused with a sentence.
#include <cmath>
#include <fstream>

#include "bytes.hpp"
#include "common/csv.hpp"
#include "common/user_error.hpp"
#include "own_folder.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  const std::string name = "f.csv";
  std::ofstream(name, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  try {
    const vorin::host::Decay decay = vorin::host::readDecay(name);
    vorin::fuzz::require(decay.time.size() >= 2 && decay.time.size() == decay.amplitude.size());
    for (std::size_t i = 0; i < decay.time.size(); ++i) {
      vorin::fuzz::require(std::isfinite(decay.time[i]) && std::isfinite(decay.amplitude[i]));
      vorin::fuzz::require(i == 0 || decay.time[i - 1] < decay.time[i]);
    }
  } catch (const vorin::host::UserError& error) {
    vorin::fuzz::require(std::string(error.what()).find(name) != std::string::npos);
  }
  try {
    vorin::host::readDistribution(name);
  } catch (const vorin::host::UserError& error) {
    vorin::fuzz::require(std::string(error.what()).find(name) != std::string::npos);
  }
  return 0;
}
