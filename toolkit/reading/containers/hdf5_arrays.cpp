// HDF5 files: data sets of numbers with the abscissa and the units that their attributes, dimension
// scales and neighbours tell.
#include <hdf5.h>
#include <hdf5_hl.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "toolkit/reading/containers/arrays_of.hpp"
#include "toolkit/reading/containers/axis_name.hpp"
#include "toolkit/reading/containers/hdf5_objects.hpp"

namespace vorin::toolkit::containers {

namespace {

/// Turns a matrix over, as MATLAB's columns lie as rows in the file.
void transpose(std::vector<double>& numbers, std::size_t rows, std::size_t columns) {
  std::vector<double> turned(numbers.size());
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t k = 0; k < columns; ++k) {
      turned[k * rows + i] = numbers[i * columns + k];
    }
  }
  numbers = std::move(turned);
}

/// What every visit of an object needs.
struct Visit {
  Request& request;
  std::size_t objects = 0;
  bool failed = false;
};

/// One data set on its way into the stream.
class DataSet {
 public:
  /// `asked` reads it whether or not the user named it.
  DataSet(hid_t id, std::string name, Request& request, bool asked = false)
      : id_(id),
        name_(std::move(name)),
        request_(request),
        asked_(asked),
        matlabClass_(textAttribute(id, "MATLAB_class")),
        type_(H5Dget_type(id), H5Tclose),
        space_(H5Dget_space(id), H5Sclose) {
    if (!matlabClass_.empty()) {
      name_.erase(0, 1);
      std::replace(name_.begin(), name_.end(), '/', '.');
    }
  }

  void read() {
    if (const std::string what = whyNot(); !what.empty()) {
      request_.listed({name_, what});
      return;
    }
    Array array;
    array.shape = shape_;
    array.unit = unitOf(id_);
    array.times = times();
    readScale(array.times);
    const std::vector<std::string> members = numericMembers(*type_);
    if (members.empty()) {
      array.name = name_;
      if (readNumbers(H5T_NATIVE_DOUBLE, array.real)) {
        emit(array);
      }
    } else if (isComplex(members)) {
      array.name = name_;
      if (readMember(members[0], array.real) && readMember(members[1], array.imaginary)) {
        emit(array);
      }
    } else {
      for (const std::string& member : members) {
        array.name = name_ + (matlabClass_.empty() ? "/" : ".") + member;
        array.unit = "";
        if (readMember(member, array.real)) {
          emit(array);
        }
      }
    }
  }

 private:
  /// Why the data set is no array of numbers that is read; empty where it is.
  std::string whyNot() {
    if (!type_ || !space_) {
      return "damaged";
    }
    const std::vector<std::string> members = numericMembers(*type_);
    if (!(isNumber(*type_) || !members.empty()) || matlabClass_ == "char" ||
        matlabClass_ == "cell") {
      return H5Tget_class(*type_) == H5T_STRING || matlabClass_ == "char" ? "text" : "no numbers";
    }
    if (H5Aexists(id_, "MATLAB_empty") > 0 || H5Sget_simple_extent_type(*space_) == H5S_NULL) {
      return "nothing";
    }
    const int rank = H5Sget_simple_extent_ndims(*space_);
    std::array<hsize_t, H5S_MAX_RANK> extents{};
    if (rank < 0 || rank > H5S_MAX_RANK ||
        H5Sget_simple_extent_dims(*space_, extents.data(), nullptr) < 0) {
      return "damaged";
    }
    shape_.assign(extents.begin(), extents.begin() + rank);
    const Id layout(H5Dget_create_plist(id_), H5Pclose);
    if (!layout || H5Pget_external_count(*layout) != 0 || H5Pget_layout(*layout) == H5D_VIRTUAL) {
      return "numbers of other files, which are not opened";
    }
    std::string all = extentsText(shape_);
    constexpr std::size_t axes = 2;
    if (shape_.size() > axes) {
      std::erase(shape_, 1U);
    }
    if (shape_.empty()) {
      shape_.push_back(1);
    }
    std::uint64_t count = std::max<std::size_t>(members.size(), 1);
    for (const std::uint64_t extent : shape_) {
      if (extent != 0 && count > mostNumbers / extent) {
        return all + ", more than the size of the file allows for";
      }
      count *= extent;
    }
    if (shape_.size() > axes || count == 0) {
      return all;
    }
    if (!asked_ && !request_.wants(name_)) {
      return all;
    }
    return request_.takeRoom(count) ? "" : all + ", more than the size of the file allows for";
  }

  bool readNumbers(hid_t memory, std::vector<double>& numbers) {
    std::uint64_t count = 1;
    for (const std::uint64_t extent : shape_) {
      count *= extent;
    }
    numbers.resize(static_cast<std::size_t>(count));
    if (H5Dread(id_, memory, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()) < 0) {
      request_.listed({name_, "damaged, or packed in a way that is not known here"});
      return false;
    }
    if (!matlabClass_.empty() && shape_.size() == 2) {
      transpose(numbers, static_cast<std::size_t>(shape_[0]), static_cast<std::size_t>(shape_[1]));
    }
    return true;
  }

  bool readMember(const std::string& member, std::vector<double>& numbers) {
    const Id memory(H5Tcreate(H5T_COMPOUND, sizeof(double)), H5Tclose);
    return memory && H5Tinsert(*memory, member.c_str(), 0, H5T_NATIVE_DOUBLE) >= 0 &&
           readNumbers(*memory, numbers);
  }

  void emit(Array& array) {
    if (!matlabClass_.empty() && shape_.size() == 2) {
      array.shape = {shape_[1], shape_[0]};
    }
    request_.array(array);
  }

  /// The name of the array with the abscissa: a dimension scale, or an attribute, which becomes an
  /// array of its own.
  std::string times() {
    if (H5DSis_scale(id_) > 0) {
      return {};
    }
    std::string found;
    const int rank = H5Sget_simple_extent_ndims(*space_);
    for (int axis = 0; axis < rank; ++axis) {
      if (H5DSget_num_scales(id_, static_cast<unsigned>(axis)) > 0) {
        H5DSiterate_scales(id_, static_cast<unsigned>(axis), nullptr, takeScale, &found);
      }
    }
    hsize_t index = 0;
    if (found.empty() || !namesAxis(found.substr(found.rfind('/') + 1))) {
      H5Aiterate2(id_, H5_INDEX_NAME, H5_ITER_INC, &index, takeAttribute, this);
    }
    return attribute_.empty() ? found : attribute_;
  }

  /// Reads the scale `name` in a group that was not asked for.
  void readScale(const std::string& name) {
    if (!name.starts_with('/') || name.find('@') != std::string::npos || request_.wants(name) ||
        !request_.scales.insert(name).second) {
      return;
    }
    const Id scale(H5Dopen2(id_, name.c_str(), H5P_DEFAULT), H5Dclose);
    if (scale) {
      DataSet(*scale, name, request_, true).read();
    }
  }

  /// Keeps the scale's name: the first, unless a later one is called a time.
  static herr_t takeScale(hid_t /*dataSet*/, unsigned /*axis*/, hid_t scale, void* data) {
    auto& found = *static_cast<std::string*>(data);
    std::array<char, longestName + 1> name{};
    if (H5Iget_name(scale, name.data(), longestName) <= 0 ||
        textAttribute(scale, "NAME").starts_with("This is a netCDF dimension but not")) {
      return 0;
    }
    const std::string text(name.data());
    if (found.empty() || (namesAxis(text.substr(text.rfind('/') + 1)) &&
                          !namesAxis(found.substr(found.rfind('/') + 1)))) {
      found = text;
    }
    return 0;
  }

  static herr_t takeAttribute(hid_t /*object*/, const char* name, const H5A_info_t* /*info*/,
                              void* data) {
    auto& self = *static_cast<DataSet*>(data);
    if (!namesAxis(name) || !self.attribute_.empty()) {
      return 0;
    }
    const Id attribute(H5Aopen(self.id_, name, H5P_DEFAULT), H5Aclose);
    const Id type(attribute ? H5Aget_type(*attribute) : -1, H5Tclose);
    const Id space(attribute ? H5Aget_space(*attribute) : -1, H5Sclose);
    if (!type || !space || !isNumber(*type) || H5Sget_simple_extent_ndims(*space) != 1) {
      return 0;
    }
    const hssize_t count = H5Sget_simple_extent_npoints(*space);
    if (count < 2 || !self.request_.takeRoom(static_cast<std::uint64_t>(count))) {
      return 0;
    }
    Array array;
    array.name = self.name_ + "@" + name;
    array.shape = {static_cast<std::uint64_t>(count)};
    array.real.resize(static_cast<std::size_t>(count));
    for (const char* ending : {"_units", "_unit"}) {
      if (array.unit.empty()) {
        array.unit = textAttribute(self.id_, (std::string(name) + ending).c_str());
      }
    }
    if (H5Aread(*attribute, H5T_NATIVE_DOUBLE, array.real.data()) >= 0) {
      self.attribute_ = array.name;
      self.request_.array(array);
    }
    return 0;
  }

  hid_t id_;
  std::string name_;
  Request& request_;
  bool asked_;
  std::string matlabClass_;
  Id type_;
  Id space_;
  std::vector<std::uint64_t> shape_;  ///< as in the file
  std::string attribute_;
};

herr_t visitObject(hid_t file, const char* name, const H5O_info_t* info, void* data) {
  auto& visit = *static_cast<Visit*>(data);
  try {
    const std::string_view path(name);
    if (++visit.objects > mostObjects || path.size() > longestName) {
      visit.failed = true;
      return 1;
    }
    // MATLAB keeps what cells refer to, and objects, in groups of these names.
    if (info->type == H5O_TYPE_DATASET && !path.starts_with("#refs#") &&
        !path.starts_with("#subsystem#")) {
      const Id dataSet(H5Dopen2(file, name, H5P_DEFAULT), H5Dclose);
      if (dataSet) {
        DataSet(*dataSet, "/" + std::string(path), visit.request).read();
      }
    }
    return 0;
  } catch (...) {  // no exception passes through the library
    visit.failed = true;
    return -1;
  }
}

/// The data set that `wanted` names, where a visit does not come to it: behind a soft link.
void readLinked(hid_t file, Request& request) {
  const Id access(H5Pcreate(H5P_DATASET_ACCESS), H5Pclose);
  H5Pset_nlinks(*access, 16);
  if (H5Lexists(file, request.wanted.c_str(), H5P_DEFAULT) <= 0) {
    return;
  }
  H5L_info_t info{};
  if (H5Lget_info(file, request.wanted.c_str(), &info, H5P_DEFAULT) < 0 ||
      info.type != H5L_TYPE_SOFT) {
    return;
  }
  const Id dataSet(H5Dopen2(file, request.wanted.c_str(), *access), H5Dclose);
  if (dataSet) {
    DataSet(*dataSet, (request.wanted.starts_with('/') ? "" : "/") + request.wanted, request)
        .read();
  }
}

}  // namespace

std::string readHdf5(void* content, std::size_t size, Request& request) {
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  H5PLset_loading_state(0);
  const Id file(
      H5LTopen_file_image(content, size, H5LT_FILE_IMAGE_DONT_COPY | H5LT_FILE_IMAGE_DONT_RELEASE),
      H5Fclose);
  if (!file) {
    return "this HDF5 file is damaged or cut off";
  }
  Visit visit{request};
  if (H5Ovisit2(*file, H5_INDEX_NAME, H5_ITER_INC, visitObject, &visit, H5O_INFO_BASIC) < 0 ||
      visit.failed) {
    return visit.objects > mostObjects ? "this HDF5 file has more objects than files of decays have"
                                       : "this HDF5 file is damaged";
  }
  if (!request.wanted.empty()) {
    readLinked(*file, request);
  }
  return {};
}

}  // namespace vorin::toolkit::containers
