// Files of any bytes as packed text, archives of arrays and workbooks: each is read or refused with
// a sentence that names the file and holds nothing that a terminal obeys.
#include <cmath>
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/user_error.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  namespace toolkit = vorin::toolkit;
  using vorin::fuzz::require;
  static const vorin::fuzz::OwnFolder folder;
  const std::string name = "f.bin";
  std::ofstream(name, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  for (const char* path : {"f.bin", "f.bin:a", "f.bin:t"}) {
    try {
      for (const toolkit::FileDecay& decay : toolkit::readDecays(path, {})) {
        const std::vector<double>& times = decay.measured.decay.time;
        require(times.size() >= 2 && times.size() == decay.measured.decay.amplitude.size());
        for (std::size_t i = 1; i < times.size(); ++i) {
          require(std::isfinite(times[i]) && times[i - 1] < times[i]);
        }
      }
    } catch (const toolkit::UserError& error) {
      const std::string sentence = error.what();
      require(sentence.find(name) != std::string::npos);
      for (const char c : sentence) {
        require(static_cast<unsigned char>(c) >= ' ' && c != 0x7f);
      }
    }
  }
  return 0;
}
