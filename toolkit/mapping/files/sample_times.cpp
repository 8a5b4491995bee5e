#include "toolkit/mapping/files/sample_times.hpp"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// `values` in SI units: by --time-unit, else by what the file says, else they are in SI units.
std::vector<double> inSi(std::vector<double> values, const TimesText& text, const std::string& told,
                         Quantity quantity) {
  const double size = !text.unit.empty() ? readUnit(text.unit, "--time-unit", quantity)
                                         : unitSize(told, quantity).value_or(1.0);
  for (double& value : values) {
    value = toSi(value, size);
  }
  return values;
}

/// All numbers of a file that has a row or a column of them.
std::vector<double> timesInFile(const TimesText& text, Quantity quantity) {
  VolumeRequest request;
  request.file = text.times;
  request.option = "--times";
  request.withSamples = false;
  request.timesGiven = true;
  request.scratch = fs::temp_directory_path();
  const std::unique_ptr<Volume> volume = openVolume(request);
  constexpr std::size_t mostTimes = 1'000'000;
  std::size_t lengths = volume->samples() > 1 ? 1 : 0;
  for (const std::size_t extent : volume->voxels()) {
    lengths += extent > 1 ? 1 : 0;
  }
  if (lengths > 1 || !fitsIn(volume->voxels(), mostTimes) || volume->isComplex()) {
    throw UserError(fmt::format("--times {}: a row or a column of times is needed", text.times));
  }
  VolumeNumbers numbers;
  volume->read({Extents(volume->voxels().size(), 0), volume->voxels()}, numbers);
  return inSi(std::move(numbers.real), text, volume->unit(), quantity);
}

std::vector<double> timesInText(const TimesText& text, Quantity quantity) {
  std::vector<double> times;
  for (std::size_t start = 0; start <= text.times.size();) {
    const std::size_t end = std::min(text.times.find(',', start), text.times.size());
    const std::string one(trimmed(text.times.substr(start, end - start)));
    const std::optional<double> number = parseNumber(one);
    const std::optional<double> time =
        number ? inSi({*number}, text, "", quantity).front() : parseQuantity(one, quantity);
    if (!time) {
      throw UserError(fmt::format(
          "--times {}: there is no such file, and {} is no {}; write "
          "numbers with commas between them, in {}",
          inQuotes(text.times), inQuotes(one), quantityName(quantity), unitList(quantity)));
    }
    times.push_back(*time);
    start = end + 1;
  }
  return times;
}

std::vector<double> timesBySpacing(const TimesText& text, std::size_t samples, Quantity quantity) {
  const DecayFormat format = readDecayFormat({"", "", "", text.spacing}, quantity, "--");
  const double step = format.spacing->step;
  const double first = format.spacing->first.value_or(step);
  std::vector<double> times(samples);
  for (std::size_t i = 0; i < samples; ++i) {
    times[i] = first + static_cast<double>(i) * step;
  }
  return times;
}

/// The JSON file beside an image: "sub-01_MESE.json" of "sub-01_MESE.nii.gz".
fs::path sidecarOf(const std::string& image) {
  fs::path path = image;
  if (equalIgnoringCase(path.extension().string(), ".gz")) {
    path.replace_extension();
  }
  return path.replace_extension(".json");
}

/// The echo times of the sidecar, in seconds as its standard has them; none where there are none.
std::vector<double> timesOfSidecar(const Volume& volume) {
  const fs::path path = sidecarOf(volume.name());
  std::error_code error;
  if (volume.kind() != VolumeKind::nifti || !fs::is_regular_file(path, error)) {
    return {};
  }
  const nlohmann::json object = nlohmann::json::parse(contentOf(path), nullptr, false);
  if (!object.is_object()) {
    throw UserError(fmt::format("{}: this is no JSON object with EchoTime", path.string()));
  }
  for (const char* key : {"EchoTime", "EchoTimes", "InversionTime", "InversionTimes"}) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_array()) {
      continue;
    }
    std::vector<double> times;
    for (const nlohmann::json& time : *found) {
      if (!time.is_number()) {
        throw UserError(
            fmt::format("{}: {} holds something that is no number", path.string(), key));
      }
      times.push_back(time.get<double>());
    }
    return times;
  }
  return {};
}

void requireFit(const std::vector<double>& times, const Volume& volume, const std::string& origin) {
  if (times.size() != volume.samples()) {
    throw UserError(fmt::format("{}: there are {} times, but {} has {} samples for each voxel",
                                origin, times.size(), volume.name(), volume.samples()));
  }
  if (times.size() < 2) {
    throw UserError(
        fmt::format("{}: one sample for each voxel; two at least are needed (--axis "
                    "tells the axis of the samples)",
                    volume.name()));
  }
  for (std::size_t i = 0; i < times.size(); ++i) {
    if (!std::isfinite(times[i]) || times[i] < 0.0 || (i > 0 && !(times[i - 1] < times[i]))) {
      throw UserError(fmt::format("{}: time {} is {:g}; times must rise, and none may be negative",
                                  origin, i + 1, times[i]));
    }
  }
}

}  // namespace

std::vector<double> sampleTimes(const TimesText& text, const Volume& volume, Quantity quantity) {
  if (!text.times.empty() && !text.spacing.empty()) {
    throw UserError("--times and --spacing: both give the times; leave out one of them");
  }
  std::error_code error;
  std::vector<double> times;
  std::string origin = volume.name();
  if (!text.spacing.empty()) {
    times = timesBySpacing(text, volume.samples(), quantity);
    origin = "--spacing " + inQuotes(text.spacing);
  } else if (!text.times.empty()) {
    const std::string file = text.times.substr(0, text.times.rfind(':'));
    const bool isFile = fs::exists(text.times, error) || fs::exists(file, error);
    times = isFile ? timesInFile(text, quantity) : timesInText(text, quantity);
    origin = "--times " + inQuotes(text.times);
  } else if (!volume.times().empty()) {
    times = inSi(volume.times(), text, "", quantity);
  } else {
    times = timesOfSidecar(volume);
    origin = sidecarOf(volume.name()).string();
  }
  if (times.empty()) {
    throw UserError(fmt::format(
        "{}: the times of its {} samples are not known; give them by --times T,T,... or --times "
        "FILE{}",
        volume.name(), volume.samples(),
        volume.kind() == VolumeKind::nifti ? ", or as EchoTime in " + origin : std::string()));
  }
  requireFit(times, volume, origin);
  return times;
}

}  // namespace vorin::toolkit
