// Maps as one HDF5 file, which a program of its own writes (toolkit/reading/containers).
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "toolkit/mapping/files/map_output.hpp"
#include "toolkit/mapping/files/map_writers.hpp"
#include "toolkit/reading/containers/volumes.hpp"
#include "toolkit/reading/formats/helper_program.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

using Json = nlohmann::json;

/// The scales: one for each axis of voxels, then the grid.
Json scalesOf(const MapHead& head) {
  std::set<std::string> taken{"grid", ""};
  for (const MapArray& array : head.arrays) {
    taken.insert(array.name);
  }
  Json scales = Json::array();
  for (std::size_t axis = 0; axis < head.voxels.size(); ++axis) {
    const VolumeAxis own = axis < head.axes.size() ? head.axes[axis] : VolumeAxis();
    const bool usable = taken.count(own.name) == 0;
    const std::string name = usable ? own.name : fmt::format("axis_{}", axis);
    taken.insert(name);
    scales.push_back({{"name", name},
                      {"length", head.voxels[axis]},
                      {"values", own.values},
                      {"unit", own.unit},
                      {"meaning", ""}});
  }
  scales.push_back({{"name", "grid"},
                    {"length", head.grid.size()},
                    {"values", head.grid},
                    {"unit", head.gridUnit},
                    {"meaning", head.gridName}});
  return scales;
}

Json specOf(const MapHead& head) {
  Json sets = Json::array();
  for (const MapArray& array : head.arrays) {
    Json axes = Json::array();
    for (std::size_t axis = 0; axis < head.voxels.size() + (array.width > 0 ? 1 : 0); ++axis) {
      axes.push_back(axis);
    }
    sets.push_back({{"name", array.name},
                    {"scales", axes},
                    {"bytes", storedType(head, array).size},
                    {"whole", array.isWhole},
                    {"unit", array.unit},
                    {"meaning", array.meaning}});
  }
  Json attributes = Json::object();
  attributes["title"] = "maps by vorin map";
  for (const auto& [name, value] : head.shown) {
    attributes["setting_" + name.substr(std::min(name.find_first_not_of('-'), name.size()))] =
        value;
  }
  attributes["times"] = fmt::format("{}", Json(head.times).dump());
  if (head.sharedWeight) {
    attributes["shared_weight"] = fmt::format("{}", *head.sharedWeight);
  }
  return {{"attributes", attributes}, {"scales", scalesOf(head)}, {"sets", sets}};
}

class MapsStream {
 public:
  explicit MapsStream(const std::filesystem::path& file) : helper_({"maps", file.string()}, -1) {}

  bool sendNumbers(const std::vector<std::uint64_t>& numbers) {
    return helper_.send(reinterpret_cast<const char*>(numbers.data()),
                        numbers.size() * sizeof numbers.front());
  }

  bool sendSpec(const MapHead& head) {
    const std::string spec = specOf(head).dump(-1, ' ', false, Json::error_handler_t::replace);
    return sendNumbers({spec.size()}) && helper_.send(spec.data(), spec.size());
  }

  bool sendBox(std::size_t set, const VoxelBox& box, std::size_t width,
               const std::vector<double>& numbers) {
    std::vector<std::uint64_t> place{set};
    place.insert(place.end(), box.first.begin(), box.first.end());
    if (width > 0) {
      place.push_back(0);
    }
    place.insert(place.end(), box.extent.begin(), box.extent.end());
    if (width > 0) {
      place.push_back(width);
    }
    return sendNumbers(place) && helper_.send(reinterpret_cast<const char*>(numbers.data()),
                                              numbers.size() * sizeof(double));
  }

  /// What the program answers at the end.
  std::string answer() {
    helper_.endInput();
    std::string text(4096, '\0');
    text.resize(helper_.receive(text.data(), text.size()));
    return text;
  }

 private:
  HelperProcess helper_;
};

}  // namespace

void MapOutput::writeHdf5(const MapResults& results) {
  const MapHead& head = results.head();
  const Tiling tiling = head.tiling();
  MapsStream stream(files_.stage(targets_.front()));
  bool good = stream.sendSpec(head);
  for (std::size_t block = 0; good && block < tiling.count(); ++block) {
    for (std::size_t k = 0; good && k < head.arrays.size(); ++k) {
      good = stream.sendBox(k, tiling.box(block), head.arrays[k].width, results.read(block, k));
    }
  }
  good = good && stream.sendNumbers({containers::noDataSet});
  const Json answer = Json::parse(stream.answer(), nullptr, false);
  if (!good || !answer.is_object() || answer.contains("error")) {
    throw UserError(fmt::format("{}: {}", targets_.front().string(),
                                answer.is_object() && answer.contains("error")
                                    ? answer.at("error").get<std::string>()
                                    : "the file can't be written: vorin-containers ended early"));
  }
}

}  // namespace vorin::toolkit
