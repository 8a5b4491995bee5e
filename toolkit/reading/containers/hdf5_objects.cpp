#include "toolkit/reading/containers/hdf5_objects.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "toolkit/reading/containers/stream.hpp"

namespace vorin::toolkit::containers {

std::string textAttribute(hid_t object, const char* name) {
  if (H5Aexists(object, name) <= 0) {
    return {};
  }
  const Id attribute(H5Aopen(object, name, H5P_DEFAULT), H5Aclose);
  const Id type(attribute ? H5Aget_type(*attribute) : -1, H5Tclose);
  const Id space(attribute ? H5Aget_space(*attribute) : -1, H5Sclose);
  if (!type || !space || H5Tget_class(*type) != H5T_STRING ||
      H5Sget_simple_extent_npoints(*space) != 1) {
    return {};
  }
  std::string text;
  if (H5Tis_variable_str(*type) > 0) {
    const Id memory(H5Tcopy(*type), H5Tclose);
    char* own = nullptr;
    if (H5Aread(*attribute, *memory, static_cast<void*>(&own)) >= 0 && own != nullptr) {
      text = own;
      H5free_memory(own);
    }
  } else {
    const std::size_t size = H5Tget_size(*type);
    text.resize(size <= longestName ? size : 0);
    if (text.empty() || H5Aread(*attribute, *type, text.data()) < 0) {
      return {};
    }
    text.resize(std::min(text.find('\0'), text.size()));
    text.resize(text.find_last_not_of(' ') + 1);
  }
  return text.size() <= longestName ? text : std::string();
}

std::string unitOf(hid_t object) {
  for (const char* name : {"units", "unit", "Units", "Unit", "UNITS", "UNIT"}) {
    if (std::string text = textAttribute(object, name); !text.empty()) {
      return text;
    }
  }
  return {};
}

bool isNumber(hid_t type) {
  const H5T_class_t kind = H5Tget_class(type);
  return kind == H5T_INTEGER || kind == H5T_FLOAT;
}

std::vector<std::string> numericMembers(hid_t type) {
  std::vector<std::string> names;
  const int count = H5Tget_class(type) == H5T_COMPOUND ? H5Tget_nmembers(type) : 0;
  constexpr int most = 1000;
  for (int i = 0; i < count && count <= most; ++i) {
    const Id member(H5Tget_member_type(type, static_cast<unsigned>(i)), H5Tclose);
    char* name = H5Tget_member_name(type, static_cast<unsigned>(i));
    const bool good = member && isNumber(*member) && name != nullptr;
    if (good) {
      names.emplace_back(name);
    }
    H5free_memory(name);
    if (!good) {
      return {};
    }
  }
  return names;
}

bool isComplex(const std::vector<std::string>& members) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> pairs{
      {{"r", "i"}, {"re", "im"}, {"real", "imag"}, {"real", "imaginary"}}};
  return members.size() == 2 &&
         std::any_of(pairs.begin(), pairs.end(), [&members](const auto& pair) {
           return members[0] == pair.first && members[1] == pair.second;
         });
}

}  // namespace vorin::toolkit::containers
