#include "toolkit/reading/formats/arrays.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "toolkit/reading/formats/archive.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

std::size_t columnsIn(const NumberArray& array) {
  return array.shape.size() == 2 ? array.shape[1] : 1;
}

/// True for a row or a column of numbers.
bool isVector(const NumberArray& array) {
  return array.shape.size() == 1 || array.shape[0] == 1 || array.shape[1] == 1;
}

std::string listOf(const std::vector<NumberArray>& arrays) {
  constexpr std::size_t most = 20;
  std::string list;
  for (std::size_t i = 0; i < arrays.size() && i < most; ++i) {
    const NumberArray& array = arrays[i];
    list +=
        fmt::format("{}{} ({}{})", list.empty() ? "" : ", ", inQuotes(array.name), array.shape[0],
                    array.shape.size() == 2 ? fmt::format(" x {}", array.shape[1]) : "");
  }
  return list + (arrays.size() > most ? " ..." : "");
}

bool rises(const NumberArray& array) {
  if (!array.imaginary.empty() || array.real.empty() || array.real.front() < 0.0) {
    return false;
  }
  for (std::size_t i = 1; i < array.real.size(); ++i) {
    if (!(array.real[i] > array.real[i - 1])) {
      return false;
    }
  }
  return true;
}

/// Names in place of columns that nobody chose.
class NamedColumns : public NumberColumns {
 public:
  NamedColumns(std::string name, std::string list)
      : NumberColumns(std::move(name)), list_(std::move(list)) {}

  void requireChoice(std::string_view abscissa) const override {
    if (columns() == 1) {
      throw UserError(fmt::format(
          "{}: there is one column of numbers, {}; give the time between two samples by --spacing, "
          "for instance --spacing 200us",
          name(), list_));
    }
    throw UserError(fmt::format(
        "{}: there are {}; say by --columns which hold {} and amplitude, for instance --columns "
        "{},{}",
        name(), list_, abscissa, header().empty() || header()[0].empty() ? "1" : header()[0],
        header().size() < 2 || header()[1].empty() ? "2" : header()[1]));
  }

 private:
  std::string list_;
};

/// A matrix column by column; one that lies down (more columns than rows, few rows) is turned.
void addMatrix(const NumberArray& array, NumberColumns& columns) {
  const std::size_t rows = array.shape[0];
  const std::size_t width = columnsIn(array);
  constexpr std::size_t few = 3;
  const bool lies = rows <= few && width > few;
  const std::size_t count = lies ? rows : width;
  const std::size_t length = lies ? width : rows;
  constexpr std::size_t most = 100'000;
  if (count > most) {
    throw UserError(fmt::format("{}: the array {} has {} columns, more than decays have",
                                columns.name(), inQuotes(array.name), count));
  }
  for (std::size_t k = 0; k < count; ++k) {
    NumberColumns::Column column;
    for (std::size_t i = 0; i < length; ++i) {
      const std::size_t at = lies ? k * width + i : i * width + k;
      column.numbers.real.push_back(array.real[at]);
      if (!array.imaginary.empty()) {
        column.numbers.imaginary.push_back(array.imaginary[at]);
      }
    }
    columns.add(std::move(column));
  }
}

/// An array of complex numbers whose first column holds times has no imaginary part there.
void dropEmptyImaginary(NumberArray& array) {
  if (std::all_of(array.imaginary.begin(), array.imaginary.end(),
                  [](double part) { return part == 0.0; })) {
    array.imaginary.clear();
  }
}

}  // namespace

ColumnsFound columnsOfArrays(std::vector<NumberArray> arrays, const std::string& file,
                             const std::string& inner, const std::string& kind) {
  std::erase_if(arrays, [](const NumberArray& array) { return array.real.empty(); });
  if (arrays.empty()) {
    throw UserError(fmt::format("{}: there is no array of numbers of one or two dimensions", file));
  }
  const std::string all = listOf(arrays);
  if (!inner.empty()) {
    std::erase_if(arrays, [&](const NumberArray& array) {
      return array.name != inner && array.name != "/" + inner && "/" + array.name != inner;
    });
    if (arrays.empty()) {
      throw UserError(
          fmt::format("{}: there is no array {}; there are {}", file, inQuotes(inner), all));
    }
  }
  for (NumberArray& array : arrays) {
    dropEmptyImaginary(array);
  }
  auto columns = std::make_unique<NamedColumns>(
      inner.empty() ? file : fmt::format("{}:{}", file, inOneLine(inner)), all);
  columns->found.plainText = false;
  columns->found.format = kind;
  if (arrays.size() == 1) {
    addMatrix(arrays.front(), *columns);
    columns->found.format += fmt::format(", array {}", listOf(arrays));
    return columns;
  }
  // Several: vectors of the length that most of them have.
  std::size_t length = 0;
  std::ptrdiff_t best = 0;
  for (const NumberArray& array : arrays) {
    const auto alike = std::count_if(arrays.begin(), arrays.end(), [&](const NumberArray& other) {
      return isVector(other) && other.real.size() == array.real.size();
    });
    if (isVector(array) && array.real.size() > 1 && alike > best) {
      best = alike;
      length = array.real.size();
    }
  }
  std::erase_if(arrays, [&](const NumberArray& array) {
    return !isVector(array) || array.real.size() != length;
  });
  if (arrays.size() < 2) {
    throw UserError(fmt::format("{}: there are {}; name one, as {}:NAME", file, all, file));
  }
  const bool firstRises = rises(arrays[0]);
  if (arrays.size() == 2 && firstRises != rises(arrays[1])) {
    columns->roles = firstRises ? std::vector<std::size_t>{0, 1} : std::vector<std::size_t>{1, 0};
    columns->found.notes.push_back(
        fmt::format("{} rises: taken for the times", inQuotes(arrays[firstRises ? 0 : 1].name)));
  }
  for (NumberArray& array : arrays) {
    columns->add({array.name, {std::move(array.real), std::move(array.imaginary)}, {}});
  }
  return columns;
}

ColumnsFound readNumpy(const FormatInput& input, const std::string& inner) {
  const std::string_view bytes = input.file.content;
  if (isNpyContent(bytes)) {
    std::vector<NumberArray> arrays;
    arrays.push_back(npyArray(bytes, input.file.name));
    arrays.front().name = "array";
    return columnsOfArrays(std::move(arrays), input.file.name, inner, "numpy's .npy");
  }
  if (!isArchive(bytes) || input.path == "-") {
    return nullptr;
  }
  constexpr std::string_view ending = ".npy";
  const auto members = archiveMembers(input.path, input.file.name, ending);
  if (members.empty()) {
    return nullptr;
  }
  std::vector<NumberArray> arrays;
  for (const auto& [name, content] : members) {
    const std::string shown = fmt::format("{}:{}", input.file.name, inOneLine(name));
    if (!isNpyContent(content)) {
      throw UserError(fmt::format("{}: this member is no array of numpy's", shown));
    }
    arrays.push_back(npyArray(content, shown));
    arrays.back().name = name.substr(0, name.size() - ending.size());
  }
  return columnsOfArrays(std::move(arrays), input.file.name, inner, "numpy's .npz");
}

}  // namespace vorin::toolkit
