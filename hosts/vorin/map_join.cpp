// vorin map --join PART... --out OUT
#include <fmt/format.h>

#include <utility>

#include "map_run.hpp"
#include "toolkit/mapping/voxel_status.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::string_view statusName = "status";

VoxelCounts countsIn(const MapResults& results) {
  const MapHead& head = results.head();
  std::size_t status = 0;
  while (head.arrays[status].name != statusName) {
    ++status;
  }
  VoxelCounts counts{};
  const std::size_t blocks = head.tiling().count();
  for (std::size_t block = 0; block < blocks; ++block) {
    for (const double value : results.read(block, status)) {
      ++counts.at(static_cast<std::size_t>(value));
    }
  }
  return counts;
}

}  // namespace

ExitStatus finishMap(const MapResults& results, MapOutput& output, const std::string& out) {
  const VoxelCounts counts = countsIn(results);
  output.write(results);
  fmt::print("{}\n", summaryOf(counts));
  if (results.head().sharedWeight) {
    fmt::print("weight of the mean decay: {:.4g}\n", *results.head().sharedWeight);
  }
  if (output.files().size() == 1) {
    fmt::print("maps: {}\n", inOneLine(out));
  } else {
    fmt::print("maps: {} files, {} to {}\n", output.files().size(),
               inOneLine(output.files().front().string()),
               inOneLine(output.files().back().filename().string()));
  }
  return counts.at(static_cast<std::size_t>(VoxelStatus::ok)) > 0
             ? ExitStatus::success
             : ExitStatus::unsuccessfulInversion;
}

ExitStatus joinMap(const MapOptions& options) {
  if (!options.file.empty()) {
    throw UserError(
        fmt::format("--join: the parts tell all about the volume; leave out {}, or give "
                    "the parts behind --join",
                    inQuotes(options.file)));
  }
  if (options.out.empty()) {
    throw UserError("--join: the name of the maps is missing; give it by --out");
  }
  std::vector<std::pair<std::string, MapJournal>> parts;
  for (const std::string& file : options.join) {
    parts.emplace_back(file, MapJournal::open(file, true));
  }
  const MapResults results(std::move(parts));
  MapOutput output(options.out, results.head(), options.join);
  return finishMap(results, output, options.out);
}

}  // namespace vorin::toolkit
