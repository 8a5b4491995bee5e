// MATLAB files of the versions 4 to 7: variables of numbers, and those in structures.
#include <matio.h>

#include <algorithm>
#include <memory>

#include "toolkit/reading/containers/arrays_of.hpp"

namespace vorin::toolkit::containers {

namespace {

struct FileCloser {
  void operator()(mat_t* file) const { Mat_Close(file); }
};
struct VariableCloser {
  void operator()(matvar_t* variable) const { Mat_VarFree(variable); }
};
using File = std::unique_ptr<mat_t, FileCloser>;
using Variable = std::unique_ptr<matvar_t, VariableCloser>;

constexpr int deepest = 20;

bool holdsNumbers(const matvar_t& variable) {
  return variable.class_type >= MAT_C_DOUBLE && variable.class_type <= MAT_C_UINT64;
}

std::vector<std::uint64_t> shapeOf(const matvar_t& variable) {
  std::vector<std::uint64_t> shape;
  for (int axis = 0; axis < variable.rank && variable.dims != nullptr; ++axis) {
    shape.push_back(variable.dims[axis]);
  }
  constexpr std::size_t axes = 2;
  if (shape.size() > axes) {
    std::erase(shape, 1U);
    shape.resize(std::max(shape.size(), axes), 1U);
  }
  return shape;
}

/// The numbers in `shape`, or more than are ever read.
std::uint64_t countIn(const std::vector<std::uint64_t>& shape) {
  std::uint64_t count = 1;
  for (const std::uint64_t extent : shape) {
    if (extent != 0 && count > mostNumbers / extent) {
      return mostNumbers + 1;
    }
    count *= extent;
  }
  return count;
}

/// What there is besides numbers.
std::string otherContent(const matvar_t& variable) {
  switch (variable.class_type) {
    case MAT_C_CHAR:
      return "text";
    case MAT_C_CELL:
      return "cells";
    case MAT_C_SPARSE:
      return "a sparse matrix";
    case MAT_C_STRUCT:
      return "structures";
    default:
      return "no numbers";
  }
}

template <class Stored>
void addNumbers(const void* stored, std::size_t count, std::vector<double>& numbers) {
  const auto* const from = static_cast<const Stored*>(stored);
  numbers.assign(from, from + count);
}

/// The numbers at `stored`, of the type that the library keeps them in.
bool convert(const void* stored, matio_types type, std::size_t count,
             std::vector<double>& numbers) {
  if (stored == nullptr) {
    return false;
  }
  switch (type) {
    case MAT_T_DOUBLE:
      addNumbers<double>(stored, count, numbers);
      return true;
    case MAT_T_SINGLE:
      addNumbers<float>(stored, count, numbers);
      return true;
    case MAT_T_INT8:
      addNumbers<std::int8_t>(stored, count, numbers);
      return true;
    case MAT_T_UINT8:
      addNumbers<std::uint8_t>(stored, count, numbers);
      return true;
    case MAT_T_INT16:
      addNumbers<std::int16_t>(stored, count, numbers);
      return true;
    case MAT_T_UINT16:
      addNumbers<std::uint16_t>(stored, count, numbers);
      return true;
    case MAT_T_INT32:
      addNumbers<std::int32_t>(stored, count, numbers);
      return true;
    case MAT_T_UINT32:
      addNumbers<std::uint32_t>(stored, count, numbers);
      return true;
    case MAT_T_INT64:
      addNumbers<std::int64_t>(stored, count, numbers);
      return true;
    case MAT_T_UINT64:
      addNumbers<std::uint64_t>(stored, count, numbers);
      return true;
    default:
      return false;
  }
}

/// Row by row instead of column by column.
std::vector<double> byRows(const std::vector<double>& numbers, std::size_t rows,
                           std::size_t columns) {
  std::vector<double> turned(numbers.size());
  for (std::size_t k = 0; k < columns; ++k) {
    for (std::size_t i = 0; i < rows; ++i) {
      turned[i * columns + k] = numbers[k * rows + i];
    }
  }
  return turned;
}

class Reader {
 public:
  explicit Reader(Request& request) : request_(request) {}

  /// The numbers that reading `variable` with all of its fields asks for.
  std::uint64_t needed(const matvar_t& variable, int depth) const {
    if (variable.class_type == MAT_C_STRUCT && depth < deepest) {
      std::uint64_t sum = 0;
      forFields(variable, [&](const std::string& /*name*/, const matvar_t& field) {
        sum = std::min(sum + needed(field, depth + 1), mostNumbers + 1);
      });
      return sum;
    }
    const std::uint64_t channels = variable.isComplex != 0 ? 2 : 1;
    return std::min(channels * countIn(shapeOf(variable)), mostNumbers + 1);
  }

  /// Hands over what `variable`, which has been read, holds.
  void take(const std::string& name, const matvar_t& variable, int depth) {
    if (variable.class_type == MAT_C_STRUCT && depth < deepest) {
      forFields(variable, [&](const std::string& field, const matvar_t& content) {
        take(name + field, content, depth + 1);
      });
      return;
    }
    const std::vector<std::uint64_t> shape = shapeOf(variable);
    const std::uint64_t count = countIn(shape);
    if (!holdsNumbers(variable) || shape.size() != 2 || count == 0 || count > mostNumbers) {
      request_.listed({name, holdsNumbers(variable) ? extentsText(shape) : otherContent(variable)});
      return;
    }
    Array array;
    array.name = name;
    array.shape = shape;
    const auto size = static_cast<std::size_t>(count);
    const std::size_t width =
        variable.data_size > 0 ? static_cast<std::size_t>(variable.data_size) : 1;
    const bool whole = variable.isComplex != 0 || variable.nbytes / width >= size;
    const auto* const parts = static_cast<const mat_complex_split_t*>(variable.data);
    const bool good = variable.data != nullptr && whole &&
                      (variable.isComplex == 0
                           ? convert(variable.data, variable.data_type, size, array.real)
                           : convert(parts->Re, variable.data_type, size, array.real) &&
                                 convert(parts->Im, variable.data_type, size, array.imaginary));
    if (!good) {
      request_.listed({name, "damaged"});
      return;
    }
    for (std::vector<double>* channel : {&array.real, &array.imaginary}) {
      if (!channel->empty()) {
        *channel = byRows(*channel, static_cast<std::size_t>(shape[0]),
                          static_cast<std::size_t>(shape[1]));
      }
    }
    request_.array(array);
  }

 private:
  /// Calls `use` with ".name" and content of each field; those of several structures are numbered.
  template <class Use>
  static void forFields(const matvar_t& variable, const Use& use) {
    auto* const own = const_cast<matvar_t*>(&variable);  // the library's readers take no const
    const unsigned fields = Mat_VarGetNumberOfFields(own);
    char* const* const names = Mat_VarGetStructFieldnames(own);
    const std::uint64_t count = countIn(shapeOf(variable));
    constexpr std::uint64_t most = 1000;
    if (names == nullptr || count > most || fields > most) {
      return;
    }
    for (std::size_t index = 0; index < count; ++index) {
      for (unsigned field = 0; field < fields; ++field) {
        const matvar_t* const content = Mat_VarGetStructFieldByIndex(own, field, index);
        if (content != nullptr && names[field] != nullptr) {
          const std::string number = count > 1 ? "(" + std::to_string(index + 1) + ")" : "";
          use(number + "." + names[field], *content);
        }
      }
    }
  }

  Request& request_;
};

}  // namespace

std::string readMatlab(const std::string& path, Request& request,
                       const std::function<void()>& sealed) {
  const File file(Mat_Open(path.c_str(), MAT_ACC_RDONLY));
  sealed();
  if (!file) {
    return "this MATLAB file is damaged or cut off";
  }
  Reader reader(request);
  std::size_t objects = 0;
  while (const Variable variable{Mat_VarReadNextInfo(file.get())}) {
    if (++objects > mostObjects) {
      return "this MATLAB file has more variables than files of decays have";
    }
    const std::string name = variable->name != nullptr ? variable->name : "";
    if (name.empty()) {
      continue;  // what belongs to objects
    }
    const std::uint64_t needed = reader.needed(*variable, 0);
    const bool readable = holdsNumbers(*variable) || variable->class_type == MAT_C_STRUCT;
    if (name.size() > longestName || !readable) {
      request.listed({name, otherContent(*variable)});
    } else if (!request.wants(name)) {
      request.listed({name, holdsNumbers(*variable) ? extentsText(shapeOf(*variable))
                                                    : otherContent(*variable)});
    } else if (!request.takeRoom(needed)) {
      request.listed(
          {name, extentsText(shapeOf(*variable)) + ", more than the size of the file allows for"});
    } else if (Mat_VarReadDataAll(file.get(), variable.get()) != 0) {
      request.listed({name, "damaged"});
    } else {
      reader.take(name, *variable, 0);
    }
  }
  return {};
}

}  // namespace vorin::toolkit::containers
