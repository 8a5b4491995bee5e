#include "toolkit/mapping/files/map_journal.hpp"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

using Json = nlohmann::json;

constexpr std::string_view mark = "VORINMAP";
constexpr std::uint64_t longestHead = 1'000'000'000;

std::uint32_t checksum(std::string_view bytes) {
  uLong sum = crc32_z(0, nullptr, 0);
  sum = crc32_z(sum, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  return static_cast<std::uint32_t>(sum);
}

/// Any bytes as a text that JSON can hold.
std::string hexadecimal(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    text += fmt::format("{:02x}", static_cast<unsigned char>(c));
  }
  return text;
}

/// Throws std::invalid_argument for what is not hexadecimal.
std::string fromHexadecimal(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

Json jsonOf(const MapHead& head) {
  Json arrays = Json::array();
  for (const MapArray& array : head.arrays) {
    arrays.push_back({{"name", array.name},
                      {"unit", array.unit},
                      {"meaning", array.meaning},
                      {"width", array.width},
                      {"whole", array.isWhole}});
  }
  Json axes = Json::array();
  for (const VolumeAxis& axis : head.axes) {
    axes.push_back({{"name", hexadecimal(axis.name)},
                    {"unit", hexadecimal(axis.unit)},
                    {"values", axis.values}});
  }
  Json shown = Json::array();
  for (const auto& [name, value] : head.shown) {
    shown.push_back({hexadecimal(name), hexadecimal(value)});
  }
  Json json = {{"settings", hexadecimal(head.settings)},
               {"kind", static_cast<int>(head.kind)},
               {"voxels", head.voxels},
               {"tile", head.tile},
               {"axes", axes},
               {"nifti", hexadecimal(head.niftiHeader)},
               {"packed", head.packed},
               {"single", head.single},
               {"arrays", arrays},
               {"grid", head.grid},
               {"grid_name", head.gridName},
               {"grid_unit", head.gridUnit},
               {"times", head.times},
               {"shown", shown},
               {"first", head.firstBlock},
               {"last", head.lastBlock}};
  if (head.sharedWeight) {
    json["shared_weight"] = *head.sharedWeight;
  }
  return json;
}

MapHead headOf(const Json& json) {
  MapHead head;
  head.settings = fromHexadecimal(json.at("settings").get<std::string>());
  head.kind = static_cast<VolumeKind>(json.at("kind").get<int>());
  head.voxels = json.at("voxels").get<Extents>();
  head.tile = json.at("tile").get<Extents>();
  for (const Json& axis : json.at("axes")) {
    head.axes.push_back({fromHexadecimal(axis.at("name").get<std::string>()),
                         fromHexadecimal(axis.at("unit").get<std::string>()),
                         axis.at("values").get<std::vector<double>>()});
  }
  head.niftiHeader = fromHexadecimal(json.at("nifti").get<std::string>());
  head.packed = json.at("packed").get<bool>();
  head.single = json.at("single").get<bool>();
  for (const Json& array : json.at("arrays")) {
    head.arrays.push_back({array.at("name").get<std::string>(), array.at("unit").get<std::string>(),
                           array.at("meaning").get<std::string>(),
                           array.at("width").get<std::size_t>(), array.at("whole").get<bool>()});
  }
  head.grid = json.at("grid").get<std::vector<double>>();
  head.gridName = json.at("grid_name").get<std::string>();
  head.gridUnit = json.at("grid_unit").get<std::string>();
  head.times = json.at("times").get<std::vector<double>>();
  for (const Json& pair : json.at("shown")) {
    head.shown.emplace_back(fromHexadecimal(pair.at(0).get<std::string>()),
                            fromHexadecimal(pair.at(1).get<std::string>()));
  }
  if (json.contains("shared_weight")) {
    head.sharedWeight = json.at("shared_weight").get<double>();
  }
  head.firstBlock = json.at("first").get<std::size_t>();
  head.lastBlock = json.at("last").get<std::size_t>();
  return head;
}

std::size_t numbersAVoxel(const MapHead& head) {
  std::size_t count = 0;
  for (const MapArray& array : head.arrays) {
    count += array.numbers();
  }
  return count;
}

/// False for a head that no run writes: sizes whose products no number holds, a kind of volume
/// that there is not, blocks that the volume has not.
bool isUsable(const MapHead& head) {
  constexpr std::size_t most = countLimit(48);  // voxels, and numbers of a voxel
  constexpr auto lastKind = static_cast<int>(VolumeKind::table);
  const auto kind = static_cast<int>(head.kind);
  std::size_t numbers = 0;
  for (const MapArray& array : head.arrays) {
    if (array.numbers() > most - numbers) {
      return false;
    }
    numbers += array.numbers();
  }
  return kind >= 0 && kind <= lastKind && head.tile.size() == head.voxels.size() &&
         fitsIn(head.voxels, most) && fitsIn({countOf(head.voxels), numbers}, most) &&
         head.firstBlock <= head.lastBlock && head.lastBlock <= head.tiling().count();
}

UserError noJournal(const std::string& name) {
  return UserError(fmt::format(
      "{}: this is no part or unfinished map of vorin map, or its start is damaged", name));
}

}  // namespace

bool areOfOneMap(const MapHead& a, const MapHead& b) {
  Json of[2] = {jsonOf(a), jsonOf(b)};
  for (Json& json : of) {
    json.erase("first");
    json.erase("last");
    json.erase("shared_weight");  // which follows from the others
  }
  return of[0] == of[1];
}

MapJournal::MapJournal(OwnFile file, MapHead head, std::uint64_t headBytes)
    : file_(std::move(file)),
      head_(std::move(head)),
      tiling_(head_.tiling()),
      numbersAVoxel_(numbersAVoxel(head_)),
      next_(head_.firstBlock) {
  starts_.push_back(headBytes);
}

std::uint64_t MapJournal::recordBytes(std::size_t block) const {
  return sizeof(std::uint64_t) + tiling_.box(block).count() * numbersAVoxel_ * sizeof(double) +
         sizeof(std::uint32_t);
}

MapJournal MapJournal::begin(const std::filesystem::path& path, const MapHead& head) {
  const std::string text = jsonOf(head).dump(-1, ' ', false, Json::error_handler_t::replace);
  const std::uint64_t length = text.size();
  std::string bytes(mark);
  bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
  bytes += text;
  const std::uint32_t sum = checksum(text);
  bytes.append(reinterpret_cast<const char*>(&sum), sizeof sum);
  OwnFile file = OwnFile::toWrite(path, true);
  file.write(0, bytes.data(), bytes.size());
  return {std::move(file), head, bytes.size()};
}

bool MapJournal::endsInItsHead(const std::filesystem::path& path) {
  const OwnFile file = OwnFile::toRead(path);
  std::uint64_t length = 0;
  std::string start(mark.size() + sizeof length, '\0');
  start.resize(file.readSome(0, start.data(), start.size()));
  if (start.size() < mark.size() + sizeof length) {
    return start.starts_with(mark) || mark.starts_with(start);
  }
  std::memcpy(&length, start.data() + mark.size(), sizeof length);
  return start.starts_with(mark) && length <= longestHead &&
         start.size() + length + sizeof(std::uint32_t) > file.size();
}

MapJournal MapJournal::open(const std::filesystem::path& path, bool onlyRead) {
  OwnFile file = onlyRead ? OwnFile::toRead(path) : OwnFile::toWrite(path, false);
  const std::uint64_t size = file.size();
  std::uint64_t length = 0;
  std::string start(mark.size() + sizeof length, '\0');
  if (file.readSome(0, start.data(), start.size()) != start.size() || !start.starts_with(mark)) {
    throw noJournal(path.string());
  }
  std::memcpy(&length, start.data() + mark.size(), sizeof length);
  const std::uint64_t headBytes = start.size() + length + sizeof(std::uint32_t);
  if (length > longestHead || headBytes > size) {
    throw noJournal(path.string());
  }
  std::string text(static_cast<std::size_t>(length), '\0');
  std::uint32_t sum = 0;
  file.read(start.size(), text.data(), text.size());
  file.read(start.size() + length, reinterpret_cast<char*>(&sum), sizeof sum);
  if (sum != checksum(text)) {
    throw noJournal(path.string());
  }
  try {
    MapHead head = headOf(Json::parse(text));
    if (!isUsable(head)) {
      throw noJournal(path.string());
    }
    MapJournal journal(std::move(file), std::move(head), headBytes);
    journal.findGoodRecords();
    if (!onlyRead) {
      journal.file_.cut(journal.starts_.back());
    }
    return journal;
  } catch (const Json::exception&) {
    throw noJournal(path.string());
  } catch (const std::invalid_argument&) {
    throw noJournal(path.string());
  }
}

void MapJournal::findGoodRecords() {
  const std::uint64_t size = file_.size();
  std::string record;
  for (; next_ < head_.lastBlock; ++next_) {
    const std::uint64_t bytes = recordBytes(next_);
    if (bytes > size - starts_.back()) {
      return;
    }
    record.resize(static_cast<std::size_t>(bytes));
    file_.read(starts_.back(), record.data(), record.size());
    std::uint64_t number = 0;
    std::uint32_t sum = 0;
    std::memcpy(&number, record.data(), sizeof number);
    std::memcpy(&sum, record.data() + record.size() - sizeof sum, sizeof sum);
    if (number != next_ ||
        sum != checksum(std::string_view(record).substr(0, record.size() - sizeof sum))) {
      return;
    }
    starts_.push_back(starts_.back() + bytes);
  }
}

void MapJournal::add(const MapBlock& block) {
  std::string record;
  record.reserve(static_cast<std::size_t>(recordBytes(next_)));
  const std::uint64_t number = next_;
  record.append(reinterpret_cast<const char*>(&number), sizeof number);
  for (const std::vector<double>& numbers : block) {
    record.append(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(double));
  }
  const std::uint32_t sum = checksum(record);
  record.append(reinterpret_cast<const char*>(&sum), sizeof sum);
  file_.write(starts_.back(), record.data(), record.size());
  starts_.push_back(starts_.back() + record.size());
  ++next_;
}

std::vector<double> MapJournal::read(std::size_t block, std::size_t array) const {
  const std::size_t count = tiling_.box(block).count();
  std::uint64_t at = starts_[block - head_.firstBlock] + sizeof(std::uint64_t);
  for (std::size_t before = 0; before < array; ++before) {
    at += count * head_.arrays[before].numbers() * sizeof(double);
  }
  std::vector<double> numbers(count * head_.arrays[array].numbers());
  file_.read(at, reinterpret_cast<char*>(numbers.data()), numbers.size() * sizeof(double));
  return numbers;
}

MapResults::MapResults(std::vector<std::pair<std::string, MapJournal>> parts)
    : parts_(std::move(parts)) {
  std::stable_sort(parts_.begin(), parts_.end(), [](const auto& a, const auto& b) {
    return a.second.head().firstBlock < b.second.head().firstBlock;
  });
  std::size_t next = 0;
  for (const auto& [name, journal] : parts_) {
    const MapHead& own = journal.head();
    if (!areOfOneMap(own, head())) {
      throw UserError(
          fmt::format("--join {}: this part is of another volume than {}, or was made "
                      "with other options",
                      name, parts_.front().first));
    }
    if (!journal.isWhole()) {
      throw UserError(fmt::format(
          "--join {}: this part is not finished; its own command with --resume goes on", name));
    }
    if (own.firstBlock < next) {
      throw UserError(fmt::format("--join {}: another part holds the same voxels", name));
    }
    if (own.firstBlock > next) {
      throw UserError(fmt::format("--join {}: a part in front of this one is missing", name));
    }
    next = own.lastBlock;
  }
  if (next != head().tiling().count()) {
    throw UserError(
        fmt::format("--join {}: a part behind this one is missing", parts_.back().first));
  }
}

std::vector<double> MapResults::read(std::size_t block, std::size_t array) const {
  for (const auto& [name, journal] : parts_) {
    if (block < journal.head().lastBlock) {
      return journal.read(block, array);
    }
  }
  return {};
}

}  // namespace vorin::toolkit
