// The run of `vorin map`: blocks of voxels from a file through the inversion into the journal, and
// the maps at the end.
#include "map_run.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

#include "batch_journal.hpp"
#include "jobs.hpp"
#include "map_blocks.hpp"
#include "map_job.hpp"
#include "toolkit/mapping/files/open_volume.hpp"
#include "toolkit/mapping/files/own_file.hpp"
#include "toolkit/mapping/mean_decay.hpp"
#include "toolkit/mapping/voxel_inverter.hpp"
#include "toolkit/model/grid.hpp"
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
double meanWeight(const MapJob& job, const Tiling& tiling) {
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

MapHead headOf(const MapJob& job, const VoxelInverter& inverter, const MapOptions& options,
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
void invertBlocks(const MapJob& job, const VoxelInverter& inverter, MapJournal& journal) {
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

/// True where a run that was interrupted has left a journal to go on from.
bool goesOn(const fs::path& path, bool resume) {
  std::error_code error;
  return resume && fs::exists(path, error) && !MapJournal::endsInItsHead(path);
}

MapJournal journalFor(const fs::path& path, const MapHead& head, bool resume) {
  if (goesOn(path, resume)) {
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
  std::error_code error;
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
  MapJob job = mapJobFrom(options);
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
    if (job.sharedWeight && !goesOn(unfinished, options.resume)) {
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
    std::error_code error;
    fs::remove(unfinished, error);
    return status;
  } catch (const Cancelled&) {
    fmt::print(stderr, "vorin: stopped; the same command with --resume goes on\n");
    StopOnSignal::passOn();
    return ExitStatus::badInput;
  }
}

}  // namespace vorin::toolkit
