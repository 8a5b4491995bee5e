// The files and settings of `vorin map`, checked before anything is written.
#include "map_job.hpp"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "jobs.hpp"
#include "toolkit/inverting/preparation.hpp"
#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/mapping/files/map_output.hpp"
#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

std::optional<double> thresholdFrom(const std::string& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  const std::optional<double> value = parseNumber(text);
  if (!value || !std::isfinite(*value) || !(*value > 0.0)) {
    throw UserError(fmt::format("--threshold {}: a number above 0 is required", inQuotes(text)));
  }
  return value;
}

std::optional<int> axisFrom(const std::string& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  constexpr long long mostAxes = 32;
  const std::optional<long long> value = parseInteger(text);
  if (!value || std::abs(*value) > mostAxes) {
    throw UserError(fmt::format("--axis {}: a whole number is required", inQuotes(text)));
  }
  return static_cast<int>(*value);
}

/// A file with a number for each voxel of `volume`, which an option names; null where it names
/// none.
std::unique_ptr<Volume> openMap(const std::string& file, const std::string& option,
                                std::string_view what, const Volume& volume,
                                const fs::path& scratch) {
  if (file.empty()) {
    return nullptr;
  }
  VolumeRequest request;
  request.file = file;
  request.option = option;
  request.withSamples = false;
  request.scratch = scratch;
  std::unique_ptr<Volume> mask = openVolume(request);
  const auto shapeText = [](const Extents& extents) {
    std::string text;
    for (const std::size_t extent : extents) {
      text += (text.empty() ? "" : " x ") + std::to_string(extent);
    }
    return text;
  };
  if (mask->voxels() != volume.voxels() || mask->samples() != 1 || mask->isComplex()) {
    throw UserError(fmt::format("{} {}: the {} has {} voxels{}, but {} has {}", option, file, what,
                                shapeText(mask->voxels()),
                                mask->samples() != 1 ? " with several numbers each" : "",
                                volume.name(), shapeText(volume.voxels())));
  }
  return mask;
}

void prepareSettings(const MapOptions& options, const std::vector<double>& times, MapJob& job) {
  MethodOptions method = options.method;
  job.sharedWeight = method.weight == "shared";
  if (job.sharedWeight) {
    method.weight.clear();
  }
  job.settings = settingsFrom(method);
  if (!options.flipMap.empty()) {
    if (!method.flip.empty() && method.flip != "estimate") {
      throw UserError(fmt::format("--flip-map with --flip {}: give one of them", method.flip));
    }
    job.settings.estimatesFlip = true;
  }
  const KernelChoice kernel = kernelChoice(options.kernel, options.grid);
  job.kernel = kernel.kernel;
  std::vector<double> grid;
  if (!options.grid.empty()) {
    grid = gridValues(options.grid, "--grid", gridQuantity(kernel.kernel));
  }
  job.skip = readSkip(options.skip, times.size());
  MeasuredDecay ones;
  ones.decay.time = times;
  ones.decay.amplitude.assign(times.size(), 1.0);
  Prepared prepared = prepare(std::move(ones), kernel, grid, options.skip, job.volume->name());
  job.times = std::move(prepared.decay.time);
  job.settings.kernel = kernel.kernel;
  job.settings.grid = std::move(prepared.grid);
  job.settings.matrix = std::move(prepared.matrix);
  if (job.settings.noiseSource == NoiseSource::quadrature && job.volume->isComplex()) {
    job.quadrature = true;
    job.settings.noiseSource = NoiseSource::robust;
  }
  if (job.sharedWeight && job.quadrature) {
    throw UserError("--weight shared: give the noise of one voxel as a number (--noise SIGMA)");
  }
}

}  // namespace

MapJob mapJobFrom(const MapOptions& options) {
  MapJob job;
  const fs::path scratch = folderAbove(unfinishedName(options.out));
  const Kernel kernel = kernelChoice(options.kernel, options.grid).kernel;
  const std::optional<double> threshold = thresholdFrom(options.threshold);
  VolumeRequest request;
  request.file = options.file;
  request.axis = axisFrom(options.axis);
  request.timesGiven = !options.times.times.empty() || !options.times.spacing.empty();
  request.abscissa = abscissaQuantity(kernel);
  request.scratch = scratch;
  settingsFrom(options.method.weight == "shared" ? MethodOptions{} : options.method);
  job.volume = openVolume(request);
  prepareSettings(options, sampleTimes(options.times, *job.volume, request.abscissa), job);
  job.mask = openMap(options.mask, "--mask", "mask", *job.volume, scratch);
  job.flip = openMap(options.flipMap, "--flip-map", "map of angles", *job.volume, scratch);
  job.voxels.threshold = threshold;
  job.voxels.distribution = options.distribution;
  job.voxels.threads = static_cast<int>(jobCount(options.jobs));
  if (!options.cutoff.empty()) {
    job.voxels.cutoffs = parseCutoffs(options.cutoff, "--cutoff", gridQuantity(kernel));
  }
  if (!options.calibrate.empty()) {
    job.voxels.calibration = parseCalibration(options.calibrate, "--calibrate");
  }
  return job;
}

}  // namespace vorin::toolkit
