// The run of `vorin map`: blocks of voxels from a file through the inversion into the journal, and
// the maps at the end.
#include "map_run.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <utility>

#include "batch_journal.hpp"
#include "jobs.hpp"
#include "toolkit/inverting/preparation.hpp"
#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/files/volume.hpp"
#include "toolkit/mapping/mean_decay.hpp"
#include "toolkit/mapping/voxel_inverter.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/progress.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// A block has a 256th of the voxels, so that parts and the time that an interruption costs are
/// even, but no fewer than keep many threads busy and no more than a second or a few of work; those
/// of a file's own chunks may be larger. Neither the samples nor the results of one exceed these
/// counts of numbers.
constexpr std::size_t blocksWanted = 256;
constexpr std::size_t leastVoxels = 64;
constexpr std::size_t mostVoxels = 4096;
constexpr std::size_t mostOfChunk = 65'536;
constexpr std::size_t blockNumbers = 4'000'000;

/// The boxes in which the volume is read and inverted.
Extents tileFor(const Volume& volume, std::size_t numbersAVoxel) {
  const std::size_t about =
      std::clamp(countOf(volume.voxels()) / blocksWanted, leastVoxels, mostVoxels);
  const std::size_t most = std::max<std::size_t>(blockNumbers / numbersAVoxel, 1);
  return volume.tile(std::min(about, most), std::min(mostOfChunk, most));
}

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

/// One of several parts.
struct PartText {
  std::size_t number = 1;
  std::size_t of = 1;
};

std::optional<PartText> partFrom(const std::string& text) {
  if (text.empty()) {
    return std::nullopt;
  }
  constexpr long long most = 1'000'000;
  const std::size_t slash = text.find('/');
  const std::optional<long long> number = parseInteger(text.substr(0, slash));
  const std::optional<long long> of =
      slash == std::string::npos ? std::nullopt : parseInteger(text.substr(slash + 1));
  if (!number || !of || *number < 1 || *number > *of || *of > most) {
    throw UserError(fmt::format("--part {}: write I/N, the I-th of N parts, for instance 3/16",
                                inQuotes(text)));
  }
  return PartText{static_cast<std::size_t>(*number), static_cast<std::size_t>(*of)};
}

/// What is inverted and how.
struct Job {
  std::unique_ptr<Volume> volume;
  std::unique_ptr<Volume> mask;  ///< or none
  std::unique_ptr<Volume> flip;  ///< refocusing angles, or none
  std::size_t skip = 0;
  std::vector<double> times;  ///< without the skipped ones
  Kernel kernel = Kernel::t2;
  InversionSettings settings;
  VoxelSettings voxels;
  bool sharedWeight = false;
  bool quadrature = false;  ///< the noise is that of each voxel's imaginary channel
};

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

void prepareSettings(const MapOptions& options, const std::vector<double>& times, Job& job) {
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

Job jobFrom(const MapOptions& options) {
  Job job;
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

/// "share_below_0.04", "share_0.003_to_0.033", "share_above_0.033", as the tables of batches call
/// them.
std::string shareName(double from, double to) {
  return std::isinf(to)  ? fmt::format("share_above_{:g}", from)
         : !(from > 0.0) ? fmt::format("share_below_{:g}", to)
                         : fmt::format("share_{:g}_to_{:g}", from, to);
}

std::vector<MapArray> arraysOf(const Job& job, const VoxelInverter& inverter) {
  const std::string amplitude = job.voxels.calibration.unit;
  const std::string grid(siUnit(gridQuantity(job.kernel)));
  std::vector<MapArray> arrays{
      {"total", amplitude, "sum of the distribution"},
      {"log_mean", grid, "logarithmic mean of the distribution"},
      {"weight", "", "weight of the smoothing"},
      {"noise", amplitude, "standard deviation of the noise"},
      {"signal_to_noise", "", "largest magnitude over the noise"},
      {"standard_error", amplitude, "standard deviation of the fit's residual"},
  };
  if (inverter.keepsFlip()) {
    arrays.push_back({"flip", "degree", "refocusing angle"});
  }
  const std::vector<double>& edges = inverter.rangeEdges();
  for (std::size_t k = 0; k < inverter.ranges(); ++k) {
    arrays.push_back(
        {shareName(edges[k], edges[k + 1]), "",
         fmt::format("part of the total from {:g} to {:g} {}", edges[k], edges[k + 1], grid)});
  }
  std::string statuses = "what became of the voxel:";
  for (std::size_t k = 0; k < voxelStatusCount; ++k) {
    statuses +=
        fmt::format("{} {} {}", k > 0 ? "," : "", k, textOf(static_cast<VoxelStatus>(k)).word);
  }
  arrays.push_back({"status", "", statuses, 0, true});
  if (job.voxels.distribution) {
    arrays.push_back(
        {"distribution", amplitude, "amplitude at each value of the grid", inverter.grid().size()});
  }
  return arrays;
}

/// The arrays of arraysOf() in their order.
MapBlock blockOf(VoxelMaps maps, std::size_t ranges, bool distribution) {
  MapBlock block;
  for (std::vector<double>* const map : {&maps.total, &maps.logMean, &maps.weight, &maps.noise,
                                         &maps.signalToNoise, &maps.standardError}) {
    block.push_back(std::move(*map));
  }
  if (!maps.flip.empty()) {
    block.push_back(std::move(maps.flip));
  }
  for (std::size_t k = 0; k < ranges; ++k) {
    std::vector<double> share(maps.voxels);
    for (std::size_t voxel = 0; voxel < maps.voxels; ++voxel) {
      share[voxel] = maps.share[voxel * ranges + k];
    }
    block.push_back(std::move(share));
  }
  std::vector<double> status(maps.voxels);
  std::transform(maps.status.begin(), maps.status.end(), status.begin(),
                 [](VoxelStatus one) { return static_cast<double>(one); });
  block.push_back(std::move(status));
  if (distribution) {
    block.push_back(std::move(maps.distribution));
  }
  return block;
}

/// Reads blocks as the inverter takes them.
class BlockReader {
 public:
  explicit BlockReader(const Job& job) : job_(job) {}

  VoxelBlock read(const VoxelBox& box) {
    job_.volume->read(box, numbers_);
    const std::size_t voxels = box.count();
    if (job_.mask) {
      job_.mask->read(box, maskNumbers_);
      mask_.resize(voxels);
      std::transform(maskNumbers_.real.begin(), maskNumbers_.real.end(), mask_.begin(),
                     [](double value) { return value != 0.0 && !std::isnan(value) ? 1 : 0; });
    }
    if (job_.flip) {
      job_.flip->read(box, flipNumbers_);
      // Maps of angles are 0 where nothing was measured.
      for (double& angle : flipNumbers_.real) {
        angle = angle > 0.0 && angle < 360.0 ? angle : std::numeric_limits<double>::quiet_NaN();
      }
    }
    dropSkipped(voxels);
    if (job_.volume->isComplex()) {
      turn(voxels);
    }
    VoxelBlock block;
    block.voxels = voxels;
    block.samples = std::span<const double>(numbers_.real);
    block.mask = mask_;
    block.noise = noise_;
    block.flip = flipNumbers_.real;
    return block;
  }

 private:
  void dropSkipped(std::size_t voxels) {
    const std::size_t all = job_.volume->samples();
    const std::size_t kept = job_.times.size();
    for (std::vector<double>* const channel : {&numbers_.real, &numbers_.imaginary}) {
      if (channel->empty() || kept == all) {
        continue;
      }
      for (std::size_t voxel = 0; voxel < voxels; ++voxel) {
        const auto row = channel->begin() + static_cast<std::ptrdiff_t>(voxel * all);
        std::copy(row + static_cast<std::ptrdiff_t>(all - kept),
                  row + static_cast<std::ptrdiff_t>(all),
                  channel->begin() + static_cast<std::ptrdiff_t>(voxel * kept));
      }
      channel->resize(voxels * kept);
    }
  }

  /// Complex data are turned by one phase a voxel, and the real channel is taken.
  void turn(std::size_t voxels) {
    const std::size_t samples = job_.times.size();
    noise_.assign(job_.quadrature ? voxels : 0, std::numeric_limits<double>::quiet_NaN());
    MeasuredDecay decay;
    decay.decay.time = job_.times;
    for (std::size_t voxel = 0; voxel < voxels; ++voxel) {
      if (job_.mask && mask_[voxel] == 0) {
        continue;
      }
      const auto from = static_cast<std::ptrdiff_t>(voxel * samples);
      const auto to = from + static_cast<std::ptrdiff_t>(samples);
      decay.decay.amplitude.assign(numbers_.real.begin() + from, numbers_.real.begin() + to);
      decay.imaginary.assign(numbers_.imaginary.begin() + from, numbers_.imaginary.begin() + to);
      decay.decay.quadratureNoise.reset();
      phaseCorrect(decay, job_.kernel);
      std::copy(decay.decay.amplitude.begin(), decay.decay.amplitude.end(),
                numbers_.real.begin() + from);
      if (job_.quadrature && decay.decay.quadratureNoise && *decay.decay.quadratureNoise > 0.0) {
        noise_[voxel] = *decay.decay.quadratureNoise;
      }
    }
  }

  const Job& job_;
  VolumeNumbers numbers_;
  VolumeNumbers maskNumbers_;
  VolumeNumbers flipNumbers_;
  std::vector<std::uint8_t> mask_;
  std::vector<double> noise_;
};

/// Announces which boxes are read, to the volume and what comes with it.
void expect(const Job& job, const Tiling& tiling, std::size_t first, std::size_t last) {
  job.volume->expect(tiling, first, last);
  if (job.mask) {
    job.mask->expect(tiling, first, last);
  }
  if (job.flip) {
    job.flip->expect(tiling, first, last);
  }
}

void stopOnSignal() {
  if (StopOnSignal::received() != 0) {
    throw Cancelled();
  }
}

/// The bar counts ten thousandths, whatever the count of voxels.
constexpr int barUnits = 10'000;
int barShare(std::size_t done, std::size_t all) {
  return static_cast<int>(static_cast<double>(done) /
                          static_cast<double>(std::max<std::size_t>(all, 1)) * barUnits);
}

/// The weight of the mean decay of all voxels, those of other parts among them.
double meanWeight(const Job& job, const Tiling& tiling) {
  const VoxelInverter inverter(job.times, job.settings, job.voxels);
  MeanDecay mean(job.times.size());
  BlockReader reader(job);
  ProgressBar bar("averaging", barUnits);
  expect(job, tiling, 0, tiling.count());
  for (std::size_t block = 0; block < tiling.count(); ++block) {
    stopOnSignal();
    mean.add(inverter, reader.read(tiling.box(block)));
    bar.show(barShare(block, tiling.count()));
  }
  return *withWeightOf({job.times, mean.mean()}, job.settings).weight;
}

/// The times at which the files that are read were written last.
std::string stampsOf(const MapOptions& options) {
  std::string text;
  for (const std::string& file :
       {options.file.substr(0, options.file.rfind(':')), options.file, options.mask,
        options.mask.substr(0, options.mask.rfind(':')), options.flipMap,
        options.flipMap.substr(0, options.flipMap.rfind(':')), options.kernel, options.grid,
        options.times.times}) {
    std::error_code error;
    if (fs::is_regular_file(file, error)) {
      text += "\n" + BatchJournal::key(file, file);
    }
  }
  return text;
}

MapHead headOf(const Job& job, const VoxelInverter& inverter, const MapOptions& options,
               const GivenOptions& given) {
  MapHead head;
  head.settings = given.resultText + stampsOf(options);
  head.kind = job.volume->kind();
  head.voxels = job.volume->voxels();
  head.tile = tileFor(*job.volume, job.volume->samples() + inverter.grid().size());
  head.axes = job.volume->axes();
  head.niftiHeader = job.volume->niftiHeader();
  head.packed = job.volume->isPacked();
  head.single = options.single;
  head.arrays = arraysOf(job, inverter);
  head.grid = inverter.grid();
  head.gridName = std::string(gridName(job.kernel));
  head.gridUnit = std::string(siUnit(gridQuantity(job.kernel)));
  head.times = job.times;
  head.shown = given.ofInversion;
  return head;
}

/// The voxels of the blocks from `first` to `last` - 1.
std::size_t voxelsOf(const Tiling& tiling, std::size_t first, std::size_t last) {
  std::size_t count = 0;
  for (std::size_t block = first; block < last; ++block) {
    count += tiling.box(block).count();
  }
  return count;
}

/// Inverts what the journal has not.
void invertBlocks(const Job& job, const VoxelInverter& inverter, MapJournal& journal) {
  const MapHead& head = journal.head();
  const Tiling tiling = head.tiling();
  const std::size_t all = voxelsOf(tiling, head.firstBlock, head.lastBlock);
  std::size_t done = voxelsOf(tiling, head.firstBlock, journal.next());
  ProgressBar bar("inverting", barUnits, barShare(done, all));
  BlockReader reader(job);
  expect(job, tiling, journal.next(), head.lastBlock);
  while (!journal.isWhole()) {
    const VoxelBox box = tiling.box(journal.next());
    stopOnSignal();
    VoxelMaps maps = inverter.invert(reader.read(box), [&](std::size_t more) {
      stopOnSignal();
      bar.show(barShare(done + more, all));
    });
    try {
      journal.add(blockOf(std::move(maps), inverter.ranges(), job.voxels.distribution));
    } catch (const UserError& error) {
      throw UserError(fmt::format("{}; the same command with --resume goes on", error.what()));
    }
    done += box.count();
  }
}

MapJournal journalFor(const fs::path& path, const MapHead& head, bool resume) {
  std::error_code error;
  if (resume && fs::exists(path, error) && !MapJournal::endsInItsHead(path)) {
    MapJournal journal = MapJournal::open(path, false);
    if (!areOfOneMap(journal.head(), head) || journal.head().firstBlock != head.firstBlock ||
        journal.head().lastBlock != head.lastBlock) {
      throw UserError(
          fmt::format("--resume: {} is of a run with other options or of another volume; give the "
                      "same ones, or "
                      "leave out --resume to begin anew",
                      path.string()));
    }
    return journal;
  }
  fs::create_directories(path.parent_path(), error);
  return MapJournal::begin(path, head);
}

/// Where the voxels of a part go.
std::string partName(const std::string& out, const PartText& part) {
  const std::string name = unfinishedName(out).replace_extension("").string();
  return fmt::format("{}.part-{}-of-{}", name, part.number, part.of);
}

/// True when an earlier run of the same command has finished the part.
bool isFinished(const std::string& target, const MapHead& head) {
  std::error_code error;
  if (!fs::exists(target, error)) {
    return false;
  }
  const MapJournal journal = MapJournal::open(target, true);
  return areOfOneMap(journal.head(), head) && journal.head().firstBlock == head.firstBlock &&
         journal.head().lastBlock == head.lastBlock && journal.isWhole();
}

void finishPart(const MapJournal& journal, const fs::path& unfinished, const std::string& target) {
  journal.flush();
  std::error_code error;
  fs::rename(unfinished, target, error);
  if (error) {
    throw UserError(fmt::format("{}: the file can't be written ({})", target, error.message()));
  }
  fmt::print("part: {}\n", inOneLine(target));
}

}  // namespace

ExitStatus runMap(const MapOptions& options, const GivenOptions& given) {
  if (options.file.empty() || options.out.empty()) {
    throw UserError(options.file.empty()
                        ? "map: the name of the volume is missing; write vorin map IN --out OUT"
                        : "map: the name of the maps is missing; give it by --out OUT");
  }
  const std::optional<PartText> part = partFrom(options.part);
  Job job = jobFrom(options);
  std::optional<VoxelInverter> inverter(std::in_place, job.times, job.settings, job.voxels);
  MapHead head = headOf(job, *inverter, options, given);
  const Tiling tiling = head.tiling();
  head.lastBlock = tiling.count();
  if (part) {
    head.firstBlock = (part->number - 1) * tiling.count() / part->of;
    head.lastBlock = part->number * tiling.count() / part->of;
  }
  std::vector<std::string> inputs{containerName(options.file).file};
  if (!options.mask.empty()) {
    inputs.push_back(containerName(options.mask).file);
  }
  if (!options.flipMap.empty()) {
    inputs.push_back(containerName(options.flipMap).file);
  }
  MapOutput output(options.out, head, inputs);
  const std::string partTarget = part ? partName(options.out, *part) : std::string();
  const fs::path unfinished = unfinishedName(part ? partTarget : options.out);
  if (part && options.resume && isFinished(partTarget, head)) {
    fmt::print("part: {}\n", inOneLine(partTarget));
    return ExitStatus::success;
  }
  const StopOnSignal stop;
  try {
    std::optional<MapJournal> journal;
    std::error_code error;
    if (job.sharedWeight && !(options.resume && fs::exists(unfinished, error))) {
      head.sharedWeight = meanWeight(job, tiling);
    }
    journal.emplace(journalFor(unfinished, head, options.resume));
    if (journal->head().sharedWeight) {
      job.settings.weight = journal->head().sharedWeight;
      inverter.emplace(job.times, job.settings, job.voxels);
    }
    invertBlocks(job, *inverter, *journal);
    if (part) {
      finishPart(*journal, unfinished, partTarget);
      return ExitStatus::success;
    }
    std::vector<std::pair<std::string, MapJournal>> all;
    all.emplace_back(unfinished.string(), std::move(*journal));
    const MapResults results(std::move(all));
    const ExitStatus status = finishMap(results, output, options.out);
    fs::remove(unfinished, error);
    return status;
  } catch (const Cancelled&) {
    fmt::print(stderr, "vorin: stopped; the same command with --resume goes on\n");
    StopOnSignal::passOn();
    return ExitStatus::badInput;
  }
}

}  // namespace vorin::toolkit
