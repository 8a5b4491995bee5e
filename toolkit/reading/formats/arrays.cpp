#include "toolkit/reading/formats/arrays.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "toolkit/reading/containers/axis_name.hpp"
#include "toolkit/reading/formats/archive.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

using Arrays = std::vector<NamedArray>;

std::size_t columnsIn(const NumberArray& array) {
  return array.shape.size() == 2 ? array.shape[1] : 1;
}

/// True for a row or a column of numbers.
bool isVector(const NumberArray& array) {
  return array.shape.size() == 1 || array.shape[0] == 1 || array.shape[1] == 1;
}

std::string labelOf(const NumberArray& array) {
  return fmt::format("{} ({}{})", inQuotes(array.name), array.shape[0],
                     array.shape.size() == 2 ? fmt::format(" x {}", array.shape[1]) : "");
}

std::string listOf(const Arrays& arrays) {
  constexpr std::size_t most = 20;
  std::string list;
  for (std::size_t i = 0; i < arrays.size() && i < most; ++i) {
    list += (i == 0 ? "" : ", ") + labelOf(arrays[i]);
  }
  return list + (arrays.size() > most ? " ..." : "");
}

/// The last part of a path, and what stands before it.
std::string leafOf(const std::string& name) {
  return name.substr(name.find_last_of("/.@") + 1);
}
std::string groupOf(const std::string& name) {
  return name.substr(0, name.find_last_of("/.") + 1);
}

bool isNamed(const std::string& name, const std::string& inner) {
  return name == inner || name == "/" + inner || "/" + name == inner;
}

/// True for arrays of the group or structure `inner`.
bool isInGroup(const std::string& name, const std::string& inner) {
  for (const std::string& group : {inner + "/", "/" + inner + "/", inner + "."}) {
    if (name.starts_with(group)) {
      return true;
    }
  }
  return inner.ends_with('/') && name.starts_with(inner);
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

/// Columns from arrays: their units come from attributes and names, and what to choose from is
/// said in the words of the file.
class NamedColumns : public NumberColumns {
 public:
  NamedColumns(std::string name, std::string list)
      : NumberColumns(std::move(name)), list_(std::move(list)) {}

  void addArray(const NamedArray& array, ColumnNumbers numbers) {
    add({array.name, std::move(numbers), {}});
    units_.push_back(array.unit);
    if (!array.unit.empty() && !unitFrom(array.unit)) {
      unknown_.resize(units_.size());
      unknown_.back() = array.unit;
    }
  }

  void addUnnamed(ColumnNumbers numbers) {
    add({"", std::move(numbers), {}});
    units_.emplace_back();
  }

  /// What is said of several decays in one array.
  void sayOfChoice(std::string sentence) { choice_ = std::move(sentence); }

  std::optional<ToldUnit> unitOf(std::size_t column) const override {
    const std::string leaf = leafOf(header()[column]);
    const NameAndUnit named = unitInName(leaf);
    const std::optional<NamedUnit> attribute = unitFrom(units_[column]);
    if (attribute && named.unit &&
        (attribute->size != named.unit->size || attribute->quantity != named.unit->quantity)) {
      throw UserError(
          fmt::format("{}: the unit of {} is {} by its name and {} by its attribute; say which by "
                      "--time-unit",
                      name(), inQuotes(header()[column]), inQuotes(named.unit->text),
                      inQuotes(units_[column])));
    }
    if (attribute) {
      return ToldUnit{*attribute, fmt::format("attribute of {}", inQuotes(header()[column])),
                      false};
    }
    if (named.unit) {
      return ToldUnit{*named.unit, fmt::format("the name {}", inQuotes(leaf)), named.loose};
    }
    return std::nullopt;
  }

  std::string unknownUnitOf(std::size_t column) const override {
    return column < unknown_.size() ? unknown_[column] : std::string();
  }

  void requireChoice(std::string_view abscissa) const override {
    if (columns() == 1) {
      throw UserError(fmt::format(
          "{}: there is one column of numbers, {}; give the time between two samples by --spacing, "
          "for instance --spacing 200us",
          name(), list_));
    }
    if (!choice_.empty()) {
      throw UserError(fmt::format("{}: {}", name(), choice_));
    }
    throw UserError(fmt::format(
        "{}: there are {}; say by --columns which hold {} and amplitude, for instance --columns "
        "{},{}",
        name(), list_, abscissa,
        header().empty() || header()[0].empty() ? "1" : inOneLine(header()[0]),
        header().size() < 2 || header()[1].empty() ? "2" : inOneLine(header()[1])));
  }

 private:
  std::string list_;
  std::string choice_;
  std::vector<std::string> units_;
  std::vector<std::string> unknown_;
};

ColumnNumbers numbersOf(const NumberArray& array) {
  return {array.real, array.imaginary};
}

/// A matrix column by column, or, where it `lies`, row by row.
void addMatrix(const NumberArray& array, bool lies, NamedColumns& columns) {
  const std::size_t width = columnsIn(array);
  const std::size_t count = lies ? array.shape[0] : width;
  const std::size_t length = lies ? width : array.shape[0];
  constexpr std::size_t most = 100'000;
  if (count > most) {
    throw UserError(fmt::format("{}: the array {} has {} columns, more than decays have",
                                columns.name(), inQuotes(array.name), count));
  }
  for (std::size_t k = 0; k < count; ++k) {
    ColumnNumbers numbers;
    for (std::size_t i = 0; i < length; ++i) {
      const std::size_t at = lies ? k * width + i : i * width + k;
      numbers.real.push_back(array.real[at]);
      if (!array.imaginary.empty()) {
        numbers.imaginary.push_back(array.imaginary[at]);
      }
    }
    columns.addUnnamed(std::move(numbers));
  }
}

/// A matrix that lies down: more columns than rows, few rows.
bool liesDown(const NumberArray& array) {
  constexpr std::size_t few = 3;
  return array.shape[0] <= few && columnsIn(array) > few;
}

/// An array of complex numbers whose first column holds times has no imaginary part there.
void dropEmptyImaginary(NumberArray& array) {
  if (std::all_of(array.imaginary.begin(), array.imaginary.end(),
                  [](double part) { return part == 0.0; })) {
    array.imaginary.clear();
  }
}

/// True where `times` may be the abscissa of `array`.
bool fits(const NumberArray& times, const NumberArray& array) {
  const std::size_t length = times.real.size();
  return isVector(times) && times.imaginary.empty() && length > 1 &&
         (length == array.shape[0] || length == columnsIn(array) ||
          (isVector(array) && length == array.real.size()));
}

/// The abscissa of `array` among `all`: the one that the file tells, or the only one beside it
/// whose name does.
const NamedArray* timesOf(const NamedArray& array, const Arrays& all) {
  if (containers::namesAxis(leafOf(array.name))) {
    return nullptr;
  }
  const NamedArray* found = nullptr;
  for (const NamedArray& other : all) {
    if (&other == &array || !fits(other, array)) {
      continue;
    }
    if (!array.times.empty() && other.name == array.times) {
      return &other;
    }
    if (containers::namesAxis(leafOf(other.name)) && other.name.find('@') == std::string::npos &&
        groupOf(other.name) == groupOf(array.name)) {
      if (found != nullptr) {
        return nullptr;
      }
      found = &other;
    }
  }
  return found;
}

/// The times first, then the columns of `array`.
void addTimed(const NamedArray& times, const NamedArray& array, NamedColumns& columns) {
  columns.addArray(times, numbersOf(times));
  columns.found.format += fmt::format(", array {} over {}", labelOf(array), inQuotes(times.name));
  if (isVector(array)) {
    columns.addArray(array, numbersOf(array));
    columns.roles = {0, 1};
    return;
  }
  const bool lies = times.real.size() != array.shape[0];
  addMatrix(array, lies, columns);
  columns.sayOfChoice(fmt::format(
      "the array {} holds {} decays over {}; choose one by --columns, for instance --columns 1,2, "
      "or all by --columns 1,2..{}",
      labelOf(array), columns.columns() - 1, inQuotes(times.name), columns.columns()));
}

bool isPart(const std::string& leaf, std::string_view shortName, std::string_view longName) {
  const std::string lower = lowerCase(leaf);
  return lower == shortName || lower == longName ||
         lower.ends_with(fmt::format("_{}", shortName)) ||
         lower.ends_with(fmt::format("_{}", longName));
}

/// The decays `signals` of one abscissa. Two that are called real and imaginary are one decay.
void addSharing(const NamedArray& times, const std::vector<const NamedArray*>& signals,
                NamedColumns& columns) {
  columns.addArray(times, numbersOf(times));
  for (const NamedArray* signal : signals) {
    columns.addArray(*signal, numbersOf(*signal));
  }
  if (signals.size() != 2) {
    return;
  }
  const auto imaginary = [&](std::size_t i) {
    const std::string leaf = leafOf(signals[i]->name);
    return isPart(leaf, "im", "imag") || isPart(leaf, "i", "imaginary");
  };
  const auto real = [&](std::size_t i) {
    const std::string leaf = leafOf(signals[i]->name);
    return isPart(leaf, "re", "real") || isPart(leaf, "r", "real");
  };
  if (real(0) && imaginary(1)) {
    columns.roles = {0, 1, 2};
  } else if (imaginary(0) && real(1)) {
    columns.roles = {0, 2, 1};
  }
}

/// Vectors of the length that most of them have; where of two one rises, it holds the times.
void addAlike(Arrays arrays, const ArrayFile& file, const std::string& all, NamedColumns& columns) {
  std::size_t length = 0;
  std::ptrdiff_t best = 0;
  for (const NamedArray& array : arrays) {
    const auto alike = std::count_if(arrays.begin(), arrays.end(), [&](const NamedArray& other) {
      return isVector(other) && other.real.size() == array.real.size();
    });
    if (isVector(array) && array.real.size() > 1 && alike > best) {
      best = alike;
      length = array.real.size();
    }
  }
  std::erase_if(arrays, [&](const NamedArray& array) {
    return !isVector(array) || array.real.size() != length;
  });
  if (arrays.size() < 2) {
    throw UserError(
        fmt::format("{}: there are {}; name one, as {}:NAME", file.name, all, file.name));
  }
  const bool firstRises = rises(arrays[0]);
  if (arrays.size() == 2 && firstRises != rises(arrays[1])) {
    columns.roles = firstRises ? std::vector<std::size_t>{0, 1} : std::vector<std::size_t>{1, 0};
    columns.found.notes.push_back(
        fmt::format("{} rises: taken for the times", inQuotes(arrays[firstRises ? 0 : 1].name)));
  }
  for (const NamedArray& array : arrays) {
    columns.addArray(array, numbersOf(array));
  }
}

/// `all` with what else the file holds.
std::string withOthers(std::string all, const ArrayFile& file) {
  constexpr std::size_t most = 20;
  for (std::size_t i = 0; i < file.others.size() && i < most; ++i) {
    all += (all.empty() ? "" : ", ") + inOneLine(file.others[i]);
  }
  return all + (file.others.size() > most ? " ..." : "");
}

/// The arrays that `file.inner` names: one, those of a group, or all.
Arrays chosenArrays(const ArrayFile& file, const std::string& all) {
  if (file.inner.empty()) {
    return file.arrays;
  }
  Arrays chosen;
  std::copy_if(file.arrays.begin(), file.arrays.end(), std::back_inserter(chosen),
               [&](const NamedArray& array) { return isNamed(array.name, file.inner); });
  if (chosen.empty()) {
    std::copy_if(file.arrays.begin(), file.arrays.end(), std::back_inserter(chosen),
                 [&](const NamedArray& array) { return isInGroup(array.name, file.inner); });
  }
  if (chosen.empty()) {
    for (const std::string& other : file.others) {
      if (isNamed(other.substr(0, other.find(" (")), file.inner)) {
        throw UserError(fmt::format("{}: {} is no array of numbers of one or two dimensions",
                                    file.name, inOneLine(other)));
      }
    }
    throw UserError(fmt::format("{}: there is no array {}; there are {}", file.name,
                                inQuotes(file.inner), withOthers(all, file)));
  }
  return chosen;
}

/// The decays among several arrays.
void addSeveral(const Arrays& arrays, const ArrayFile& file, const std::string& all,
                NamedColumns& columns) {
  std::vector<const NamedArray*> signals;
  std::vector<const NamedArray*> times;
  for (const NamedArray& array : arrays) {
    if (const NamedArray* const found = timesOf(array, arrays)) {
      signals.push_back(&array);
      times.push_back(found);
    }
  }
  if (signals.empty()) {
    addAlike(arrays, file, all, columns);
    return;
  }
  if (signals.size() == 1) {
    addTimed(*times.front(), *signals.front(), columns);
    return;
  }
  const bool oneAbscissa =
      std::all_of(times.begin(), times.end(),
                  [&](const NamedArray* other) { return other == times.front(); }) &&
      std::all_of(signals.begin(), signals.end(),
                  [](const NamedArray* signal) { return isVector(*signal); });
  if (!oneAbscissa) {
    Arrays decays;
    for (const NamedArray* signal : signals) {
      decays.push_back({{signal->name, signal->shape, {}, {}}, {}, {}});
    }
    throw UserError(fmt::format("{}: there are several arrays with times, {}; name one, as {}:{}",
                                file.name, listOf(decays), file.name,
                                inOneLine(signals.front()->name)));
  }
  addSharing(*times.front(), signals, columns);
}

}  // namespace

ColumnsFound columnsOfArrays(ArrayFile file) {
  std::erase_if(file.arrays, [](const NamedArray& array) { return array.real.empty(); });
  // Single numbers are settings that lie beside the data.
  if (std::any_of(file.arrays.begin(), file.arrays.end(),
                  [](const NamedArray& array) { return array.real.size() > 1; })) {
    std::erase_if(file.arrays, [](const NamedArray& array) { return array.real.size() == 1; });
  }
  if (file.arrays.empty()) {
    if (!file.inner.empty() && !file.others.empty()) {
      chosenArrays(file, {});  // throws
    }
    throw UserError(fmt::format("{}: there is no array of numbers of one or two dimensions{}{}",
                                file.name, file.others.empty() ? "" : "; it holds ",
                                withOthers({}, file)));
  }
  for (NamedArray& array : file.arrays) {
    dropEmptyImaginary(array);
  }
  const std::string all = listOf(file.arrays);
  const Arrays arrays = chosenArrays(file, all);
  auto columns = std::make_unique<NamedColumns>(
      file.inner.empty() ? file.name : fmt::format("{}:{}", file.name, inOneLine(file.inner)),
      listOf(arrays));
  columns->found.plainText = false;
  columns->found.format = file.kind;
  if (arrays.size() > 1) {
    addSeveral(arrays, file, all, *columns);
    return columns;
  }
  const NamedArray& array = arrays.front();
  const auto original = std::find_if(file.arrays.begin(), file.arrays.end(),
                                     [&](const NamedArray& one) { return one.name == array.name; });
  if (const NamedArray* const times = timesOf(*original, file.arrays)) {
    addTimed(*times, array, *columns);
  } else if (isVector(array)) {
    columns->addArray(array, numbersOf(array));
    columns->found.format += fmt::format(", array {}", labelOf(array));
  } else {
    addMatrix(array, liesDown(array), *columns);
    columns->found.format += fmt::format(", array {}", labelOf(array));
  }
  return columns;
}

ColumnsFound readNumpy(const FormatInput& input, const std::string& inner) {
  const std::string_view bytes = input.file.content;
  if (isNpyContent(bytes)) {
    Arrays arrays{{npyArray(bytes, input.file.name), {}, {}}};
    arrays.front().name = "array";
    return columnsOfArrays({input.file.name, "numpy's .npy", inner, std::move(arrays)});
  }
  if (!isArchive(bytes) || input.path == "-") {
    return nullptr;
  }
  constexpr std::string_view ending = ".npy";
  const auto members = archiveMembers(input.path, input.file.name, ending);
  if (members.empty()) {
    return nullptr;
  }
  ArrayFile file{input.file.name, "numpy's .npz", inner, {}, {}};
  for (const auto& [member, content] : members) {
    const std::string shown = fmt::format("{}:{}", input.file.name, inOneLine(member));
    const std::string name = member.substr(0, member.size() - ending.size());
    if (!isNpyContent(content)) {
      throw UserError(fmt::format("{}: this member is no array of numpy's", shown));
    }
    try {
      file.arrays.push_back({npyArray(content, shown), {}, {}});
      file.arrays.back().name = name;
    } catch (const UserError&) {
      if (name == inner || members.size() == 1) {
        throw;
      }
      file.others.push_back(name + " (no row or matrix of numbers)");  // settings, texts
    }
  }
  return columnsOfArrays(std::move(file));
}

}  // namespace vorin::toolkit
