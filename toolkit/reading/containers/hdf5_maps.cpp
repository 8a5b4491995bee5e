// Files of maps: data sets with dimension scales, units and settings, as netCDF-4 has them, so that
// programs that know either format open them with their names.
//
// The JSON object that comes first: "attributes" of the file (texts by name); "scales", each with
// "name", "length", "values" (or none), "unit" and "meaning"; "sets", each with "name", "scales"
// (the numbers of those of its axes), "bytes" of a number, "whole" for integers, "unit" and
// "meaning".
#include <hdf5.h>
#include <hdf5_hl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <nlohmann/json.hpp>

#include "toolkit/reading/containers/hdf5_objects.hpp"
#include "toolkit/reading/containers/volumes.hpp"

namespace vorin::toolkit::containers {

namespace {

using Json = nlohmann::json;
using Extents = std::vector<hsize_t>;

constexpr const char* notWritten = "the file can't be written; the disk may be full";

bool receive(char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t got = ::read(STDIN_FILENO, bytes, count);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got <= 0) {
      return false;
    }
    bytes += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

bool receive(std::vector<std::uint64_t>& numbers) {
  return receive(reinterpret_cast<char*>(numbers.data()), numbers.size() * sizeof numbers.front());
}

bool addText(hid_t object, const std::string& name, const std::string& text) {
  if (text.empty()) {
    return true;
  }
  const Id type(H5Tcopy(H5T_C_S1), H5Tclose);
  H5Tset_size(*type, text.size());
  H5Tset_cset(*type, H5T_CSET_UTF8);
  const Id space(H5Screate(H5S_SCALAR), H5Sclose);
  const Id attribute(H5Acreate2(object, name.c_str(), *type, *space, H5P_DEFAULT, H5P_DEFAULT),
                     H5Aclose);
  return attribute && H5Awrite(*attribute, *type, text.data()) >= 0;
}

/// A data set without the time of its making, so that equal maps are equal files.
hid_t create(hid_t file, const std::string& name, hid_t type, const Extents& extents) {
  const Id how(H5Pcreate(H5P_DATASET_CREATE), H5Pclose);
  H5Pset_obj_track_times(*how, 0);
  H5Pset_attr_creation_order(*how, H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
  const Id space(H5Screate_simple(static_cast<int>(extents.size()), extents.data(), nullptr),
                 H5Sclose);
  return H5Dcreate2(file, name.c_str(), type, *space, H5P_DEFAULT, *how, H5P_DEFAULT);
}

class MapsFile {
 public:
  MapsFile(hid_t file, const Json& spec) : file_(file), spec_(spec) {}

  bool begin() {
    for (const auto& [name, text] : spec_.at("attributes").items()) {
      if (!addText(file_, name, text.get<std::string>())) {
        return false;
      }
    }
    for (const Json& scale : spec_.at("scales")) {
      if (!addScale(scale)) {
        return false;
      }
    }
    for (const Json& set : spec_.at("sets")) {
      if (!addSet(set)) {
        return false;
      }
    }
    return true;
  }

  /// The boxes up to the end. False where they stop early or can't be written.
  bool takeBoxes() {
    while (true) {
      std::uint64_t number = 0;
      if (!receive(reinterpret_cast<char*>(&number), sizeof number)) {
        return false;
      }
      if (number == noDataSet) {
        return true;
      }
      if (number >= sets_.size() || !takeBox(static_cast<std::size_t>(number))) {
        return false;
      }
    }
  }

 private:
  Extents lengthsOf(const Json& set) const {
    Extents extents;
    for (const Json& scale : set.at("scales")) {
      extents.push_back(
          spec_.at("scales").at(scale.get<std::size_t>()).at("length").get<hsize_t>());
    }
    return extents;
  }

  bool addScale(const Json& scale) {
    const auto name = scale.at("name").get<std::string>();
    const auto values = scale.at("values").get<std::vector<double>>();
    const auto length = scale.at("length").get<hsize_t>();
    const bool isVariable = !values.empty();
    scales_.emplace_back(std::make_unique<Id>(
        create(file_, name, isVariable ? H5T_IEEE_F64LE : H5T_IEEE_F32BE, {length}), H5Dclose));
    const hid_t set = **scales_.back();
    if (set < 0 || (isVariable && H5Dwrite(set, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT,
                                           values.data()) < 0)) {
      return false;
    }
    // The words by which netCDF marks an axis without positions.
    std::string label = "This is a netCDF dimension but not a netCDF variable. ";
    const std::string digits = std::to_string(length);
    constexpr std::size_t width = 9;
    label += std::string(width > digits.size() ? width - digits.size() : 0, ' ') + digits;
    return H5DSset_scale(set, isVariable ? name.c_str() : label.c_str()) >= 0 &&
           describe(set, scale);
  }

  bool addSet(const Json& set) {
    const bool whole = set.at("whole").get<bool>();
    const hid_t type = whole                             ? H5T_STD_I32LE
                       : set.at("bytes").get<int>() == 4 ? H5T_IEEE_F32LE
                                                         : H5T_IEEE_F64LE;
    sets_.emplace_back(std::make_unique<Id>(
        create(file_, set.at("name").get<std::string>(), type, lengthsOf(set)), H5Dclose));
    const hid_t id = **sets_.back();
    if (id < 0) {
      return false;
    }
    unsigned axis = 0;
    for (const Json& scale : set.at("scales")) {
      if (H5DSattach_scale(id, **scales_.at(scale.get<std::size_t>()), axis++) < 0) {
        return false;
      }
    }
    return describe(id, set);
  }

  static bool describe(hid_t id, const Json& what) {
    return addText(id, "units", what.at("unit").get<std::string>()) &&
           addText(id, "long_name", what.at("meaning").get<std::string>());
  }

  bool takeBox(std::size_t number) {
    const Extents extents = lengthsOf(spec_.at("sets").at(number));
    std::vector<std::uint64_t> first(extents.size());
    std::vector<std::uint64_t> extent(extents.size());
    if (!receive(first) || !receive(extent)) {
      return false;
    }
    std::uint64_t count = 1;
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
      if (first[axis] > extents[axis] || extent[axis] > extents[axis] - first[axis]) {
        return false;
      }
      count *= extent[axis];
    }
    numbers_.resize(static_cast<std::size_t>(count));
    if (!receive(reinterpret_cast<char*>(numbers_.data()), numbers_.size() * sizeof(double))) {
      return false;
    }
    const Extents from(first.begin(), first.end());
    const Extents size(extent.begin(), extent.end());
    const Id space(H5Dget_space(**sets_[number]), H5Sclose);
    const Id memory(H5Screate_simple(static_cast<int>(size.size()), size.data(), nullptr),
                    H5Sclose);
    return H5Sselect_hyperslab(*space, H5S_SELECT_SET, from.data(), nullptr, size.data(),
                               nullptr) >= 0 &&
           H5Dwrite(**sets_[number], H5T_NATIVE_DOUBLE, *memory, *space, H5P_DEFAULT,
                    numbers_.data()) >= 0;
  }

  hid_t file_;
  const Json& spec_;
  std::vector<std::unique_ptr<Id>> scales_;
  std::vector<std::unique_ptr<Id>> sets_;
  std::vector<double> numbers_;
};

}  // namespace

std::string writeMaps(const std::string& file) {
  constexpr std::uint64_t longest = 1'000'000'000;
  std::uint64_t length = 0;
  if (!receive(reinterpret_cast<char*>(&length), sizeof length) || length > longest) {
    return "the maps were not announced";
  }
  std::string text(static_cast<std::size_t>(length), '\0');
  if (!receive(text.data(), text.size())) {
    return "the maps were not announced";
  }
  const Json spec = Json::parse(text, nullptr, false);
  if (!spec.is_object()) {
    return "the maps were not announced";
  }
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  const Id how(H5Pcreate(H5P_FILE_CREATE), H5Pclose);
  H5Pset_obj_track_times(*how, 0);
  H5Pset_link_creation_order(*how, H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
  H5Pset_attr_creation_order(*how, H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
  const hid_t target = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, *how, H5P_DEFAULT);
  if (target < 0) {
    return notWritten;
  }
  bool good = false;
  try {
    MapsFile maps(target, spec);
    good = maps.begin() && maps.takeBoxes();
  } catch (const Json::exception&) {
    good = false;
  }
  return H5Fflush(target, H5F_SCOPE_GLOBAL) >= 0 && H5Fclose(target) >= 0 && good ? "" : notWritten;
}

}  // namespace vorin::toolkit::containers
