// Files of any bytes as decays, distributions, grids and matrices, in any choice of columns:
// each is read or refused with a sentence that names the file.
#include <cmath>
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "common/csv.hpp"
#include "common/user_error.hpp"
#include "own_folder.hpp"

namespace {

namespace host = vorin::host;
using vorin::fuzz::require;

const std::string name = "f.csv";

template <class Read>
void readOrRefuse(Read read) {
  try {
    read();
  } catch (const host::UserError& error) {
    require(std::string(error.what()).find(name) != std::string::npos);
  }
}

void requireDecay(const host::Decay& decay) {
  require(decay.time.size() >= 2 && decay.time.size() == decay.amplitude.size());
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    require(std::isfinite(decay.time[i]) && std::isfinite(decay.amplitude[i]));
    require(i == 0 || decay.time[i - 1] < decay.time[i]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  std::ofstream(name, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  readOrRefuse([] { requireDecay(host::readDecay(name)); });
  for (const char* columns : {"1,2", "2,1,3", "time,amplitude", "t,re,im"}) {
    readOrRefuse([&] {
      host::DecayFormat format;
      format.columns = host::parseColumns(columns, "--columns");
      const host::MeasuredDecay measured = host::readMeasuredDecay(name, format);
      requireDecay(measured.decay);
      require(measured.imaginary.empty() ||
              measured.imaginary.size() == measured.decay.time.size());
    });
  }
  readOrRefuse([] { host::readDistribution(name); });
  readOrRefuse([] { host::readGrid(name, host::Quantity::time); });
  readOrRefuse([] {
    const host::Matrix matrix = host::readMatrix(name);
    require(matrix.values.size() == matrix.rows * matrix.columns);
  });
  return 0;
}
