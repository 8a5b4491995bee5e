// The times of a volume's samples: the text of an option, the file that it names, or the sidecar
// of an image. They rise from 0 or above, one for each sample, or are refused with a sentence that
// holds nothing that a terminal obeys.
#include <cmath>
#include <cstring>
#include <fstream>
#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"
#include "refusal.hpp"
#include "toolkit/mapping/files/sample_times.hpp"
#include "toolkit/user_error.hpp"

namespace {

namespace toolkit = vorin::toolkit;
using vorin::fuzz::require;

void write(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary) << content;
}

/// An image of 1 x 1 x 1 voxels with three samples in single precision (NIfTI-1).
std::string image() {
  std::string header(352, '\0');
  const auto put = [&header](std::size_t at, auto value) {
    std::memcpy(header.data() + at, &value, sizeof value);
  };
  put(0, std::int32_t{348});
  const std::int16_t extents[] = {4, 1, 1, 1, 3, 1, 1, 1};
  std::memcpy(header.data() + 40, extents, sizeof extents);
  put(70, std::int16_t{16});
  put(72, std::int16_t{32});
  put(108, 352.0F);
  put(112, 1.0F);
  std::memcpy(header.data() + 344, "n+1", 4);
  return header + std::string(12, '\1');
}

void readOrRefuse(const toolkit::TimesText& text, toolkit::Quantity quantity) {
  vorin::fuzz::doOrRefuse([&] {
    toolkit::VolumeRequest request;
    request.file = "v.nii";
    request.scratch = ".";
    const auto volume = toolkit::openVolume(request);
    const std::vector<double> times = toolkit::sampleTimes(text, *volume, quantity);
    require(times.size() == volume->samples());
    for (std::size_t i = 0; i < times.size(); ++i) {
      require(std::isfinite(times[i]) && times[i] >= 0.0 && (i == 0 || times[i - 1] < times[i]));
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
  // No file is looked for by a name with a zero byte or a slash: it would lead out of the folder.
  const std::string word = content.substr(0, content.find_first_of(std::string("/\0\n", 3)));
  const auto quantity = data[0] % 2 == 0 ? toolkit::Quantity::time : toolkit::Quantity::bValue;
  write("v.nii", image());
  write("v.json", "{}");
  switch (data[0] / 2 % 4) {
    case 0:
      readOrRefuse({word, "", ""}, quantity);
      break;
    case 1:
      readOrRefuse({"", word, ""}, quantity);
      break;
    case 2:
      write("times", content);
      readOrRefuse({"times", "", data[0] < 128 ? "" : "ms"}, quantity);
      break;
    default:
      write("v.json", content);
      readOrRefuse({}, quantity);
  }
  return 0;
}
