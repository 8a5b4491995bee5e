// Files of any bytes as decays, distributions, grids and matrices, in any choice of columns:
// each is read or refused with a sentence that names the file.
#include <cmath>
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/matrix.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/user_error.hpp"

namespace {

namespace toolkit = vorin::toolkit;
using vorin::fuzz::require;

const std::string name = "f.csv";

/// What is shown of a file holds no character that a terminal obeys.
void requireHarmless(const std::string& shown) {
  for (const char c : shown) {
    require(static_cast<unsigned char>(c) >= ' ' && c != 0x7f);
  }
}

template <class Read>
void readOrRefuse(Read read) {
  try {
    read();
  } catch (const toolkit::UserError& error) {
    require(std::string(error.what()).find(name) != std::string::npos);
    requireHarmless(error.what());
  }
}

void requireDecay(const toolkit::Decay& decay) {
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
  readOrRefuse([] { requireDecay(toolkit::readDecay(name)); });
  for (const char* columns : {"1,2", "2,1,3", "time,amplitude", "t,re,im"}) {
    readOrRefuse([&] {
      toolkit::DecayFormat format;
      format.columns = toolkit::parseColumns(columns, "--columns");
      const toolkit::MeasuredDecay measured = toolkit::readMeasuredDecay(name, format);
      requireDecay(measured.decay);
      require(measured.imaginary.empty() ||
              measured.imaginary.size() == measured.decay.time.size());
    });
  }
  for (const toolkit::DecayFormatText& text : {toolkit::DecayFormatText{"", "", "", "1ms"},
                                               toolkit::DecayFormatText{"-,1", "", "", "1s,0"},
                                               toolkit::DecayFormatText{"1,2..3", "ms", "", ""},
                                               toolkit::DecayFormatText{"1,2:3", "", "2", ""}}) {
    readOrRefuse([&] {
      const auto decays =
          toolkit::readDecays(name, toolkit::readDecayFormat(text, toolkit::Quantity::time, "--"));
      for (const toolkit::FileDecay& decay : decays) {
        requireDecay(decay.measured.decay);
        for (const toolkit::FoundLine& line : toolkit::allLines(decay.found)) {
          requireHarmless(line.text);
        }
      }
    });
  }
  readOrRefuse([] { toolkit::readDistribution(name); });
  readOrRefuse([] { toolkit::readGrid(name, toolkit::Quantity::time); });
  readOrRefuse([] {
    const toolkit::Matrix matrix = toolkit::readMatrix(name);
    require(matrix.values.size() == matrix.rows * matrix.columns);
  });
  return 0;
}
