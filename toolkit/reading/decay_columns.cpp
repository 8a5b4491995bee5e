#include "toolkit/reading/decay_columns.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "toolkit/reading/doubtful_times.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// Times beyond this are no times, and single precision would not hold them.
constexpr double longestTime = 1e30;
/// Amplitudes beyond these limits can't be squared in double precision with ease.
constexpr double largestAmplitude = 1e100;
constexpr double smallestAmplitude = 1e-100;

std::string quotedList(const std::vector<std::string>& names) {
  constexpr std::size_t most = 20;
  std::string list;
  for (std::size_t i = 0; i < names.size() && i < most; ++i) {
    list += (list.empty() ? "" : ", ") + inQuotes(names[i]);
  }
  return list + (names.size() > most ? " ..." : "");
}

/// The columns of one decay, from 0.
struct Channels {
  std::size_t real = 0;
  std::optional<std::size_t> imaginary{};
};

struct Roles {
  std::optional<std::size_t> abscissa;  ///< none for samples that are not numbered
  std::vector<Channels> decays;
};

UserError choiceError(const ColumnChoice& choice, std::string_view why) {
  return UserError(fmt::format("--columns {}: {}", inQuotes(choice.text), why));
}

std::size_t checkedNumber(long long number, const ColumnChoice& choice,
                          const ColumnSource& source) {
  if (number < 1 || number > static_cast<long long>(source.columns())) {
    throw choiceError(choice, fmt::format("there is no column {} in {}, which has {}", number,
                                          source.name(), source.columns()));
  }
  return static_cast<std::size_t>(number - 1);
}

/// The column, from 0, that `column` names.
std::size_t columnIndex(const std::string& column, const ColumnChoice& choice,
                        const ColumnSource& source) {
  if (const std::optional<long long> number = parseInteger(column)) {
    return checkedNumber(*number, choice, source);
  }
  const std::vector<std::string>& names = source.header();
  if (names.empty()) {
    throw choiceError(
        choice,
        fmt::format("{} has no header line with names for its {} columns; give their numbers",
                    source.name(), source.columns()));
  }
  auto found = std::find(names.begin(), names.end(), column);
  if (found == names.end()) {
    found = std::find_if(names.begin(), names.end(),
                         [&](const std::string& name) { return equalIgnoringCase(name, column); });
  }
  if (found == names.end()) {
    throw choiceError(choice, fmt::format("there is no column {} in {}, whose columns are {}",
                                          inQuotes(column), source.name(), quotedList(names)));
  }
  return static_cast<std::size_t>(found - names.begin());
}

/// Throws UserError for a column that is chosen twice.
void requireDifferent(const Roles& roles, const ColumnChoice& choice, const ColumnSource& source) {
  std::vector<bool> taken(source.columns(), false);
  const auto take = [&](std::size_t column) {
    if (taken[column]) {
      throw choiceError(choice,
                        fmt::format("column {} of {} is named twice", column + 1, source.name()));
    }
    taken[column] = true;
  };
  if (roles.abscissa) {
    take(*roles.abscissa);
  }
  for (const Channels& channels : roles.decays) {
    take(channels.real);
    if (channels.imaginary) {
      take(*channels.imaginary);
    }
  }
}

Roles chosenRoles(const ColumnSource& source, const ColumnChoice& choice) {
  Roles roles;
  std::vector<std::string> names = choice.columns;
  if (choice.many.empty() && names.size() == 1) {
    names.insert(names.begin(), "-");  // amplitudes of even spacing
  }
  if (names.front() != "-") {
    roles.abscissa = columnIndex(names.front(), choice, source);
  }
  if (choice.many.empty()) {
    Channels channels{columnIndex(names[1], choice, source), {}};
    if (names.size() > 2) {
      channels.imaginary = columnIndex(names[2], choice, source);
    }
    roles.decays.push_back(channels);
  }
  for (const ColumnChoice::Channels& chosen : choice.many) {
    Channels channels{checkedNumber(static_cast<long long>(chosen.real), choice, source), {}};
    if (chosen.imaginary > 0) {
      channels.imaginary = checkedNumber(static_cast<long long>(chosen.imaginary), choice, source);
    }
    roles.decays.push_back(channels);
  }
  requireDifferent(roles, choice, source);
  return roles;
}

Roles rolesOf(const ColumnSource& source, const DecayFormat& format) {
  if (format.columns) {
    return chosenRoles(source, *format.columns);
  }
  if (source.takeAll) {
    Roles roles{0, {}};
    for (std::size_t column = 1; column < source.columns(); ++column) {
      roles.decays.push_back({column, {}});
    }
    return roles;
  }
  if (!source.roles.empty()) {
    Roles roles{source.roles[0], {{source.roles[1], {}}}};
    if (source.roles.size() > 2) {
      roles.decays.front().imaginary = source.roles[2];
    }
    return roles;
  }
  if (source.columns() == 1 && format.spacing) {
    return {{}, {{0, {}}}};
  }
  if (source.columns() != 2) {
    source.requireChoice(quantityName(format.abscissa));
  }
  return {0, {{1, {}}}};
}

/// Throws UserError unless `numbers` are whole and 0 or above, as those of echoes are.
void requireEchoNumbers(const ColumnSource& source, const std::vector<double>& numbers,
                        const Spacing& spacing) {
  for (std::size_t row = 0; row < numbers.size(); ++row) {
    const double number = numbers[row];
    if (!std::isnan(number) && (number < 0.0 || number != std::floor(number))) {
      throw UserError(fmt::format(
          "{}: --spacing {} takes a first column that numbers the samples, but it holds {:g} here; "
          "leave --spacing out where the file has times, or choose the amplitudes by --columns -,Y",
          source.place(row), inQuotes(spacing.text), number));
    }
  }
}

/// The times of samples of even spacing, in SI units.
std::vector<double> spacedTimes(const ColumnSource& source, const Roles& roles,
                                const Spacing& spacing, Found& found) {
  std::vector<double> times(source.rows());
  if (!roles.abscissa) {
    const double first = spacing.first.value_or(spacing.step);
    for (std::size_t row = 0; row < times.size(); ++row) {
      times[row] = first + static_cast<double>(row) * spacing.step;
    }
    found.unit = "row";
    found.unitOrigin = fmt::format("--spacing, from {}", timeText(first));
    return times;
  }
  const std::vector<double> numbers =
      source.samples(*roles.abscissa, "number", Missing::refused).real;
  requireEchoNumbers(source, numbers, spacing);
  const double offset =
      spacing.first && !numbers.empty() ? *spacing.first - numbers.front() * spacing.step : 0.0;
  for (std::size_t row = 0; row < times.size(); ++row) {
    times[row] = offset + numbers[row] * spacing.step;
  }
  found.unit = "number of a sample";
  found.unitOrigin = "--spacing";
  if (!spacing.first && !numbers.empty() && numbers.front() == 0.0) {
    found.notes.emplace_back(
        "the first sample has number 0 and time 0; --spacing TIME,FIRST gives it another");
  }
  return times;
}

/// SI units in one of the abscissa's column, and who says so.
double unitOfAbscissa(const ColumnSource& source, std::size_t column, const DecayFormat& format,
                      Found& found) {
  const std::string si(siUnit(format.abscissa));
  if (format.unit) {
    found.unit = format.unitText.empty() ? si : format.unitText;
    found.unitOrigin = "--time-unit";
    try {
      const std::optional<ToldUnit> told = source.unitOf(column);
      if (told && (told->unit.quantity != format.abscissa || told->unit.size != *format.unit)) {
        found.notes.push_back(fmt::format("--time-unit {} overrides {} ({})", found.unit,
                                          inQuotes(told->unit.text), told->where));
      }
    } catch (const UserError&) {
      found.notes.push_back(
          fmt::format("--time-unit {} overrides the units of the file", found.unit));
    }
    return *format.unit;
  }
  const std::optional<ToldUnit> told = source.unitOf(column);
  if (!told || (told->loose && told->unit.quantity != format.abscissa)) {
    found.unit = si;
    found.unitOrigin = "by default";
    if (told) {
      found.notes.push_back(fmt::format("column {} is called a time in {} ({}), and taken for {}s",
                                        column + 1, inQuotes(told->unit.text), told->where,
                                        quantityName(format.abscissa)));
    } else if (const std::string unknown = source.unknownUnitOf(column); !unknown.empty()) {
      found.notes.push_back(
          fmt::format("{} in the name of column {} is no unit known here; its values are taken in "
                      "{} (--time-unit)",
                      inQuotes(unknown), column + 1, si));
    }
    return 1.0;
  }
  if (told->unit.quantity != format.abscissa) {
    const bool isTime = told->unit.quantity == Quantity::time;
    throw UserError(fmt::format(
        "{}: column {} is in {} ({}), but the kernel takes {}s; {}, or give the unit by "
        "--time-unit",
        source.name(), column + 1, inQuotes(told->unit.text), told->where,
        quantityName(format.abscissa),
        isTime ? "choose the column of b values by --columns" : "choose --kernel diffusion"));
  }
  found.unit = told->unit.text;
  found.unitOrigin = told->where;
  found.unitTold = told->unit.size != 1.0;
  return told->unit.size;
}

/// One sample of a decay that is being put together.
struct Sample {
  double time = 0.0;
  double real = 0.0;
  double imaginary = 0.0;
  std::size_t row = 0;
};

std::string plural(std::size_t count, std::string_view one, std::string_view several) {
  return fmt::format("{} {}", count, count == 1 ? one : several);
}

/// The rows that have numbers; the others are told.
std::vector<Sample> wholeSamples(const ColumnSource& source, const std::vector<double>& times,
                                 const ColumnNumbers& numbers, Found& found) {
  std::vector<Sample> samples;
  std::vector<std::size_t> missing;
  for (std::size_t row = 0; row < times.size(); ++row) {
    const double imaginary = numbers.imaginary.empty() ? 0.0 : numbers.imaginary[row];
    if (std::isnan(times[row]) || std::isnan(numbers.real[row]) || std::isnan(imaginary)) {
      missing.push_back(row);
    } else {
      samples.push_back({times[row], numbers.real[row], imaginary, row});
    }
  }
  if (!missing.empty()) {
    constexpr std::size_t named = 3;
    std::string list;
    for (std::size_t i = 0; i < missing.size() && i < named; ++i) {
      list += (i == 0 ? "" : ", ") + source.rowName(missing[i]);
    }
    found.notes.push_back(fmt::format("{} without a number left out ({}{})",
                                      plural(missing.size(), "row is", "rows are"), list,
                                      missing.size() > named ? " ..." : ""));
  }
  return samples;
}

/// Sorts by time and averages samples of one time.
void putInOrder(std::vector<Sample>& samples, Quantity abscissa, Found& found) {
  const auto earlier = [](const Sample& a, const Sample& b) { return a.time < b.time; };
  if (!std::is_sorted(samples.begin(), samples.end(), earlier)) {
    std::stable_sort(samples.begin(), samples.end(), earlier);
    found.notes.push_back(
        fmt::format("the rows are not in order: sorted by {}", quantityName(abscissa)));
  }
  std::vector<Sample> merged;
  std::size_t repeated = 0;
  for (std::size_t i = 0; i < samples.size();) {
    std::size_t end = i + 1;
    Sample sum = samples[i];
    while (end < samples.size() && samples[end].time == samples[i].time) {
      sum.real += samples[end].real;
      sum.imaginary += samples[end].imaginary;
      ++end;
    }
    const auto count = static_cast<double>(end - i);
    sum.real /= count;
    sum.imaginary /= count;
    merged.push_back(sum);
    repeated += end - i > 1 ? 1U : 0U;
    i = end;
  }
  if (repeated > 0) {
    found.notes.push_back(fmt::format("{}: samples of one {} are averaged, {} of {} left",
                                      plural(repeated, "repeated value", "repeated values"),
                                      quantityName(abscissa), merged.size(), samples.size()));
    samples = std::move(merged);
  }
}

/// Throws UserError for amplitudes too large or too small to work with.
void requireAmplitudes(const ColumnSource& source, const std::vector<Sample>& samples) {
  double largest = 0.0;
  for (const Sample& sample : samples) {
    for (const double amplitude : {sample.real, sample.imaginary}) {
      if (std::fabs(amplitude) > largestAmplitude) {
        throw UserError(
            fmt::format("{}: the amplitude {:g} is too large; give it in another unit, "
                        "{:g} at most",
                        source.place(sample.row), amplitude, largestAmplitude));
      }
      largest = std::max(largest, std::fabs(amplitude));
    }
  }
  if (largest == 0.0) {
    throw UserError(
        fmt::format("{}: every amplitude is 0; a decay requires one that is not", source.name()));
  }
  if (largest < smallestAmplitude) {
    throw UserError(fmt::format("{}: no amplitude is above {:g}; give them in another unit",
                                source.name(), smallestAmplitude));
  }
}

std::string columnLabel(const ColumnSource& source, std::size_t column) {
  const std::vector<std::string>& names = source.header();
  return column < names.size() && !names[column].empty()
             ? fmt::format("{} {}", column + 1, inQuotes(names[column]))
             : std::to_string(column + 1);
}

FileDecay decayOf(const ColumnSource& source, const Roles& roles, const Channels& channels,
                  const std::vector<double>& times, const DecayFormat& format, Found found) {
  const Missing missing = roles.decays.size() > 1 ? Missing::notANumber : Missing::refused;
  ColumnNumbers numbers = source.samples(channels.real, "amplitude", missing);
  if (channels.imaginary) {
    numbers.imaginary = source.samples(*channels.imaginary, "imaginary amplitude", missing).real;
  }
  FileDecay result;
  result.file = source.name();
  if (roles.decays.size() > 1) {
    result.column = channels.real < source.header().size() ? source.header()[channels.real] : "";
    result.column = result.column.empty() ? std::to_string(channels.real + 1) : result.column;
  }
  std::vector<Sample> samples = wholeSamples(source, times, numbers, found);
  if (samples.empty()) {
    throw UserError(fmt::format("{}: no row has a number for both {} and amplitude", source.name(),
                                quantityName(format.abscissa)));
  }
  if (samples.size() < 2) {
    throw UserError(fmt::format("{}: this is the only row{}; a decay has at least 2",
                                source.place(samples.front().row),
                                source.rows() > 1 ? " with numbers" : ""));
  }
  putInOrder(samples, format.abscissa, found);
  if (samples.size() < 2) {
    throw UserError(fmt::format("{}: all rows have one {}; a decay has at least 2", source.name(),
                                quantityName(format.abscissa)));
  }
  requireAmplitudes(source, samples);
  for (const Sample& sample : samples) {
    result.measured.decay.time.push_back(sample.time);
    result.measured.decay.amplitude.push_back(sample.real);
    if (!numbers.imaginary.empty()) {
      result.measured.imaginary.push_back(sample.imaginary);
    }
  }
  noteDoubtfulTimes(result.measured.decay, format, found);
  found.columns = roles.abscissa ? columnLabel(source, *roles.abscissa) + ", " : "";
  found.columns += columnLabel(source, channels.real);
  if (channels.imaginary) {
    found.columns += fmt::format(", {} (imaginary)", columnLabel(source, *channels.imaginary));
  } else if (!numbers.imaginary.empty()) {
    found.columns += " (complex)";
  }
  found.columns += fmt::format(" of {}", source.columns());
  result.found = std::move(found);
  return result;
}

}  // namespace

void requireTimes(const ColumnSource& source, const std::vector<double>& times, Quantity quantity,
                  double unit, bool zeroAllowed) {
  const std::string_view name = quantityName(quantity);
  const std::string units =
      quantity == Quantity::plain || unit != 1.0
          ? ""
          : fmt::format(" in {},", quantity == Quantity::time ? "seconds" : siUnit(quantity));
  for (std::size_t i = 0; i < times.size(); ++i) {
    const double time = times[i];
    if (time < 0.0 || (time == 0.0 && !zeroAllowed)) {
      throw UserError(fmt::format("{}: the {} {:g} is {}; {}s are{} {}", source.place(i), name,
                                  time, time < 0.0 ? "negative" : "0", name, units,
                                  zeroAllowed ? "0 or above" : "above 0"));
    }
    if (time * unit > longestTime) {
      throw UserError(fmt::format(
          "{}: the {} {:g} is too {}; {}s are{} {:g} at most", source.place(i), name, time,
          quantity == Quantity::time ? "long" : "large", name, units, longestTime));
    }
  }
}

void requireRisingTimes(const ColumnSource& source, const std::vector<double>& times,
                        Quantity quantity) {
  const std::string_view name = quantityName(quantity);
  for (std::size_t i = 1; i < times.size(); ++i) {
    if (!(times[i] > times[i - 1])) {
      throw UserError(
          fmt::format("{}: the {} {:g} does not rise above the {:g} of the row before; sort the "
                      "rows by {}, each {} once",
                      source.place(i), name, times[i], times[i - 1], name, name));
    }
  }
}

std::vector<FileDecay> decaysIn(const ColumnSource& source, const DecayFormat& format) {
  const Roles roles = rolesOf(source, format);
  Found found = source.found;
  std::vector<double> times;
  if (format.spacing) {
    times = spacedTimes(source, roles, *format.spacing, found);
    requireTimes(source, times, format.abscissa, 1.0, true);
  } else if (roles.abscissa) {
    times = source.samples(*roles.abscissa, quantityName(format.abscissa), Missing::refused).real;
    const double unit = unitOfAbscissa(source, *roles.abscissa, format, found);
    requireTimes(source, times, format.abscissa, unit, true);
    std::transform(times.begin(), times.end(), times.begin(),
                   [unit](double time) { return toSi(time, unit); });
  } else {
    throw UserError(fmt::format(
        "{}: there is no column of {}s; give the time between two samples by --spacing TIME",
        source.name(), quantityName(format.abscissa)));
  }
  std::vector<FileDecay> decays;
  for (const Channels& channels : roles.decays) {
    decays.push_back(decayOf(source, roles, channels, times, format, found));
  }
  return decays;
}

}  // namespace vorin::toolkit
