// Volumes in HDF5 files: the description of a data set and its numbers, box by box, so that neither
// side holds more than a box of them.
#include <hdf5.h>
#include <hdf5_hl.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "toolkit/reading/containers/axis_name.hpp"
#include "toolkit/reading/containers/hdf5_objects.hpp"
#include "toolkit/reading/containers/stream.hpp"
#include "toolkit/reading/containers/volumes.hpp"

namespace vorin::toolkit::containers {

namespace {

using Json = nlohmann::json;
using Extents = std::vector<hsize_t>;

constexpr const char* damaged = "this HDF5 file is damaged or cut off";

/// A text that ends the work, with the name of the file put before it later.
struct Trouble {
  std::string text;
};

std::string inLine(std::string_view text) {
  std::string result(text.substr(0, 100));
  std::replace_if(
      result.begin(), result.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
  return result;
}

/// The file on standard input, read in parts.
hid_t openInput(Seal seal) {
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  H5PLset_loading_state(0);
  const Id access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
  // Chunks that a box has a part of are kept for the next one: few are larger than this.
  constexpr std::size_t slots = 10007;
  constexpr std::size_t cacheBytes = 128'000'000;
  constexpr double preemption = 0.75;
  H5Pset_cache(*access, 0, slots, cacheBytes, preemption);
  const hid_t file = H5Fopen("/proc/self/fd/0", H5F_ACC_RDONLY, *access);
  seal();
  return file;
}

Extents extentsOf(hid_t space) {
  std::array<hsize_t, H5S_MAX_RANK> extents{};
  const int rank = H5Sget_simple_extent_ndims(space);
  if (rank < 0 || rank > H5S_MAX_RANK ||
      H5Sget_simple_extent_dims(space, extents.data(), nullptr) < 0) {
    throw Trouble{damaged};
  }
  return {extents.begin(), extents.begin() + rank};
}

bool isEnumOfIntegers(hid_t type) {
  return H5Tget_class(type) == H5T_ENUM;  // as h5py stores true and false
}

/// The data sets that a volume or a mask may be: names of those with numbers and axes.
struct Candidates {
  std::size_t leastAxes = 1;
  std::size_t objects = 0;
  std::vector<std::string> names;
};

herr_t visitCandidate(hid_t file, const char* name, const H5O_info_t* info, void* data) {
  auto& found = *static_cast<Candidates*>(data);
  try {
    if (++found.objects > mostObjects) {
      return 1;
    }
    if (info->type != H5O_TYPE_DATASET || std::string_view(name).size() > longestName) {
      return 0;
    }
    const Id set(H5Dopen2(file, name, H5P_DEFAULT), H5Dclose);
    const Id type(set ? H5Dget_type(*set) : -1, H5Tclose);
    const Id space(set ? H5Dget_space(*set) : -1, H5Sclose);
    if (type && space &&
        (isNumber(*type) || isEnumOfIntegers(*type) || isComplex(numericMembers(*type))) &&
        H5DSis_scale(*set) <= 0 && extentsOf(*space).size() >= found.leastAxes) {
      found.names.push_back("/" + std::string(name));
    }
    return 0;
  } catch (...) {  // no exception passes through the library
    return 0;
  }
}

std::string pathFor(hid_t file, const VolumeQuery& query) {
  Candidates found;
  found.leastAxes = query.hasAxis ? 2 : 1;
  if (!query.path.empty()) {
    return query.path.starts_with('/') ? query.path : "/" + query.path;
  }
  H5Ovisit2(file, H5_INDEX_NAME, H5_ITER_INC, visitCandidate, &found, H5O_INFO_BASIC);
  if (found.names.size() != 1) {
    std::string list;
    for (const std::string& name : found.names) {
      list += (list.empty() ? "" : ", ") + inLine(name);
    }
    throw Trouble{found.names.empty() ? "this HDF5 file holds no numbers that a volume may be"
                                      : "this HDF5 file holds several data sets; name one as "
                                        "FILE:DATASET: " +
                                            list.substr(0, 500)};
  }
  return found.names.front();
}

/// A data set of numbers.
class VolumeSet {
 public:
  VolumeSet(hid_t file, const VolumeQuery& query)
      : file_(file),
        path_(pathFor(file, query)),
        set_(H5Dopen2(file, path_.c_str(), H5P_DEFAULT), H5Dclose),
        type_(set_ ? H5Dget_type(*set_) : -1, H5Tclose),
        space_(set_ ? H5Dget_space(*set_) : -1, H5Sclose) {
    if (!set_ || !type_ || !space_) {
      throw Trouble{"this HDF5 file has no data set " + inLine(path_)};
    }
    const Id layout(H5Dget_create_plist(*set_), H5Pclose);
    if (!layout || H5Pget_external_count(*layout) != 0 || H5Pget_layout(*layout) == H5D_VIRTUAL) {
      throw Trouble{inLine(path_) + " holds numbers of other files, which are not opened"};
    }
    const std::vector<std::string> members = numericMembers(*type_);
    if (isComplex(members)) {
      members_ = members;
    } else if (!isNumber(*type_) && !isEnumOfIntegers(*type_)) {
      throw Trouble{inLine(path_) + " holds no numbers"};
    }
    extents_ = extentsOf(*space_);
    constexpr hsize_t mostNumbers = hsize_t{1} << 50U;
    hsize_t count = 1;
    for (const hsize_t extent : extents_) {
      if (extent == 0 || extent > mostNumbers / count) {
        throw Trouble{inLine(path_) + " says that it has no numbers, or more than a file can hold"};
      }
      count *= extent;
    }
    takeChunk(*layout);
    requireStored(*layout, count);
    takeAxis(query);
  }

  Json description() const {
    Json axes = Json::array();
    for (std::size_t axis = 0; axis < extents_.size(); ++axis) {
      if (!hasAxis_ || axis != axis_) {
        axes.push_back(scaleOf(axis));
      }
    }
    Json result = {{"path", path_},         {"extents", extents_},
                   {"chunk", chunk_},       {"complex", !members_.empty()},
                   {"unit", unitOf(*set_)}, {"axes", axes}};
    if (hasAxis_) {
      result["axis"] = axis_;
      result["times"] = times();
    }
    return result;
  }

  /// The numbers of the box with this first voxel and extent, both without the axis of samples.
  bool writeBox(const Extents& first, const Extents& extent) {
    Extents from = first;
    Extents count = extent;
    if (hasAxis_) {
      const auto at = static_cast<std::ptrdiff_t>(axis_);
      from.insert(from.begin() + at, 0);
      count.insert(count.begin() + at, extents_[axis_]);
    }
    std::size_t all = 1;
    for (const hsize_t one : count) {
      all *= static_cast<std::size_t>(one);
    }
    const Id memory(H5Screate_simple(static_cast<int>(count.size()), count.data(), nullptr),
                    H5Sclose);
    if (H5Sselect_hyperslab(*space_, H5S_SELECT_SET, from.data(), nullptr, count.data(), nullptr) <
        0) {
      return false;
    }
    numbers_.resize(all);
    if (members_.empty()) {
      return readInto(*memory) && writeNumbers(count);
    }
    return std::all_of(members_.begin(), members_.end(), [&](const std::string& member) {
      const Id type(H5Tcreate(H5T_COMPOUND, sizeof(double)), H5Tclose);
      return H5Tinsert(*type, member.c_str(), 0, H5T_NATIVE_DOUBLE) >= 0 &&
             H5Dread(*set_, *type, *memory, *space_, H5P_DEFAULT, numbers_.data()) >= 0 &&
             writeNumbers(count);
    });
  }

  Extents voxels() const {
    Extents result = extents_;
    if (hasAxis_) {
      result.erase(result.begin() + static_cast<std::ptrdiff_t>(axis_));
    }
    return result;
  }

 private:
  void takeChunk(hid_t layout) {
    chunk_.assign(extents_.size(), 0);
    if (H5Pget_layout(layout) == H5D_CHUNKED && !extents_.empty()) {
      H5Pget_chunk(layout, static_cast<int>(chunk_.size()), chunk_.data());
    }
  }

  /// Numbers that were never written are not in the file; a data set without any is no volume, and
  /// one that is stored as a whole must be in the file as a whole.
  void requireStored(hid_t layout, hsize_t count) const {
    const hsize_t stored = H5Dget_storage_size(*set_);
    const bool whole = H5Pget_layout(layout) == H5D_CONTIGUOUS;
    hsize_t size = 0;
    H5Fget_filesize(file_, &size);
    if (stored == 0 || stored > size || (whole && stored / H5Tget_size(*type_) < count)) {
      throw Trouble{inLine(path_) + " is cut off, or its numbers were never written"};
    }
  }

  void takeAxis(const VolumeQuery& query) {
    hasAxis_ = query.hasAxis;
    const auto rank = static_cast<long>(extents_.size());
    if (!hasAxis_) {
      return;
    }
    if (query.axis < -rank || query.axis >= rank) {
      throw Trouble{"--axis " + std::to_string(query.axis) + ": " + inLine(path_) + " has " +
                    std::to_string(rank) + " axes, which are numbered from 0"};
    }
    axis_ = static_cast<std::size_t>(query.axis < 0 ? query.axis + rank : query.axis);
  }

  bool readInto(hid_t memory) {
    if (!isEnumOfIntegers(*type_)) {
      return H5Dread(*set_, H5T_NATIVE_DOUBLE, memory, *space_, H5P_DEFAULT, numbers_.data()) >= 0;
    }
    const Id native(H5Tget_native_type(*type_, H5T_DIR_ASCEND), H5Tclose);
    if (!native || H5Tget_size(*native) != 1) {
      return false;
    }
    std::vector<signed char> values(numbers_.size());
    if (H5Dread(*set_, *native, memory, *space_, H5P_DEFAULT, values.data()) < 0) {
      return false;
    }
    std::copy(values.begin(), values.end(), numbers_.begin());
    return true;
  }

  /// The numbers of a box with the samples of a voxel together.
  bool writeNumbers(const Extents& count) {
    std::size_t inner = 1;  // behind the axis of samples
    for (std::size_t axis = axis_ + 1; hasAxis_ && axis < count.size(); ++axis) {
      inner *= static_cast<std::size_t>(count[axis]);
    }
    if (inner > 1) {
      const auto samples = static_cast<std::size_t>(count[axis_]);
      const std::size_t outer = numbers_.size() / (inner * samples);
      std::vector<double> turned(numbers_.size());
      for (std::size_t o = 0; o < outer; ++o) {
        for (std::size_t s = 0; s < samples; ++s) {
          for (std::size_t i = 0; i < inner; ++i) {
            turned[(o * inner + i) * samples + s] = numbers_[(o * samples + s) * inner + i];
          }
        }
      }
      numbers_.swap(turned);
    }
    return std::fwrite(numbers_.data(), sizeof(double), numbers_.size(), stdout) == numbers_.size();
  }

  /// Name, unit and values of the scale of an axis.
  Json scaleOf(std::size_t axis) const {
    struct Found {
      std::string name;
      std::string unit;
      std::vector<double> values;
    } found;
    const auto take = [](hid_t, unsigned, hid_t scale, void* data) -> herr_t {
      auto& into = *static_cast<Found*>(data);
      std::array<char, longestName + 1> name{};
      if (H5Iget_name(scale, name.data(), longestName) > 0) {
        const std::string path(name.data());
        into.name = path.substr(path.rfind('/') + 1);
        into.unit = unitOf(scale);
        if (!textAttribute(scale, "NAME").starts_with("This is a netCDF dimension but not")) {
          into.values = vectorOf(scale);
        }
      }
      return 1;
    };
    if (H5DSget_num_scales(*set_, static_cast<unsigned>(axis)) > 0) {
      H5DSiterate_scales(*set_, static_cast<unsigned>(axis), nullptr, take, &found);
    }
    if (found.values.size() != extents_[axis]) {
      found.values.clear();
    }
    return {{"name", found.name}, {"unit", found.unit}, {"values", found.values}};
  }

  /// The numbers of a data set of one axis, unless they are many or none.
  static std::vector<double> vectorOf(hid_t set) {
    const Id type(H5Dget_type(set), H5Tclose);
    const Id space(H5Dget_space(set), H5Sclose);
    constexpr hssize_t most = 1'000'000;
    const hssize_t count = space ? H5Sget_simple_extent_npoints(*space) : 0;
    if (!type || !isNumber(*type) || H5Sget_simple_extent_ndims(*space) != 1 || count < 1 ||
        count > most) {
      return {};
    }
    std::vector<double> values(static_cast<std::size_t>(count));
    const bool good =
        H5Dread(set, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()) >= 0;
    return good ? values : std::vector<double>();
  }

  /// The abscissa of the samples: the scale of their axis, or a vector of their count beside the
  /// data set whose name says so.
  Json times() const {
    Json scale = scaleOf(axis_);
    if (!scale["values"].empty()) {
      return scale;
    }
    const std::string group = path_.substr(0, path_.rfind('/') + 1);
    const Id folder(H5Gopen2(file_, group.c_str(), H5P_DEFAULT), H5Gclose);
    H5G_info_t info{};
    if (!folder || H5Gget_info(*folder, &info) < 0) {
      return scale;
    }
    for (hsize_t k = 0; k < std::min<hsize_t>(info.nlinks, mostObjects); ++k) {
      std::array<char, longestName + 1> name{};
      if (H5Lget_name_by_idx(*folder, ".", H5_INDEX_NAME, H5_ITER_INC, k, name.data(), longestName,
                             H5P_DEFAULT) <= 0 ||
          !namesAxis(name.data())) {
        continue;
      }
      const Id set(H5Dopen2(*folder, name.data(), H5P_DEFAULT), H5Dclose);
      const std::vector<double> values = set ? vectorOf(*set) : std::vector<double>();
      if (values.size() == extents_[axis_]) {
        return {{"name", name.data()}, {"unit", unitOf(*set)}, {"values", values}};
      }
    }
    return scale;
  }

  hid_t file_;
  std::string path_;
  Id set_;
  Id type_;
  Id space_;
  std::vector<std::string> members_;  ///< of complex numbers
  Extents extents_;
  Extents chunk_;  ///< zeros where there are no chunks
  bool hasAxis_ = false;
  std::size_t axis_ = 0;
  std::vector<double> numbers_;
};

}  // namespace

std::string describeVolume(const VolumeQuery& query, Seal seal) {
  Json answer;
  try {
    const Id file(openInput(seal), H5Fclose);
    answer = file ? VolumeSet(*file, query).description() : Json{{"error", damaged}};
  } catch (const Trouble& trouble) {
    answer = {{"error", trouble.text}};
  }
  return answer.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string writeBoxes(const VolumeQuery& query, const std::vector<std::uint64_t>& tile,
                       std::uint64_t first, std::uint64_t last, Seal seal) {
  try {
    const Id file(openInput(seal), H5Fclose);
    if (!file) {
      return damaged;
    }
    VolumeSet set(*file, query);
    const Extents voxels = set.voxels();
    if (tile.size() != voxels.size() ||
        std::count(tile.begin(), tile.end(), std::uint64_t{0}) > 0) {
      return "the boxes do not fit the data set";
    }
    for (std::uint64_t number = first; number < last; ++number) {
      Extents from(voxels.size());
      Extents extent(voxels.size());
      std::uint64_t rest = number;
      for (std::size_t axis = voxels.size(); axis-- > 0;) {
        const std::uint64_t count = (voxels[axis] + tile[axis] - 1) / tile[axis];
        from[axis] = rest % count * tile[axis];
        extent[axis] = std::min<hsize_t>(tile[axis], voxels[axis] - from[axis]);
        rest /= count;
      }
      if (!set.writeBox(from, extent)) {
        return damaged;
      }
    }
  } catch (const Trouble& trouble) {
    return trouble.text;
  }
  return {};
}

}  // namespace vorin::toolkit::containers
