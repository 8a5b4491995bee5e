// The handle of settings: names and texts, lists and matrices.
#include <algorithm>
#include <array>
#include <limits>
#include <memory>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/inverting/settings_text.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/two_dimensional/map_settings_text.hpp"

using vorin::toolkit::InversionSettings;
using vorin::toolkit::KernelChoice;
using vorin::toolkit::MapSettingText;
using vorin::toolkit::Quantity;
using vorin::toolkit::SettingText;
using vorin::toolkit::UserError;
namespace c = vorin::toolkit::c;

namespace {

constexpr std::string_view keyPrefix = "key.";

constexpr std::array<c::JobSetting, 30> jobSettings{{
    {"kernel", "t2|t1-saturation|t1-inversion|diffusion|t2-epg, or a matrix", "t2",
     "what one value of the grid adds to a sample"},
    {"grid", "FROM:TO:N, or a list", "by the times of the samples",
     "the values that the distribution is over, rising from above 0"},
    {"skip", "N", "0", "leave out the first N samples"},
    {"log", "FILE", "no log", "the file for the numerical library's log"},
    {"replicates", "N", "200", "replicates of a bootstrap, 20 to 100000"},
    {"seed", "N", "1", "of the noise that a bootstrap or a simulation draws"},
    {"threads", "N", "1", "threads of a bootstrap or a map; 0 is one for each processor"},
    {"distribution", "on|off", "off", "keep the distribution of each voxel of a map"},
    {"threshold", "A", "none", "voxels of a map without a sample of this magnitude are left out"},
    {"calibrate", "AMOUNTUNIT=AMPLITUDE", "the unit of the data",
     "the unit of all amplitudes: 100pu=1234.5 says that 1234.5 in the data is 100 pu"},
    {"name", "TEXT", "decay", "of the sample in a report"},
    {"title", "TEXT", "the name", "of a report"},
    {"amplitude_label", "TEXT", "amplitude and its unit", "of the axes in a report"},
    {"cutoff", "T[,T...]", "none",
     "a report has amount and share below, between and above them, a map the share"},
    {"percentiles", "P[,P...]", "10,50,90", "a report has where P % of the total lie at or below"},
    {"columns", "X,Y[,IM]", "1,2",
     "the columns of a file: numbers from 1, or names of its header; X,A..B for many decays"},
    {"time_unit", "UNIT", "as the file says, or s, s/m2", "of the first column of a file"},
    {"spacing", "TIME[,FIRST]", "times are in the file",
     "the time from one sample to the next, for files without times"},
    {"header_lines", "N", "found", "lines above the rows of numbers of a file"},
    {"sigma", "SIGMA", "0.2", "standard deviation of the noise of a computed decay"},
    {"phase", "RADIANS", "real data", "by which a computed decay is turned"},
    {"kernel1", "as kernel, but t2-epg", "t1-inversion",
     "the kernel of a map's first axis, the rows"},
    {"kernel2", "as kernel, but t2-epg", "t2", "the kernel of a map's second axis, the columns"},
    {"grid1", "FROM:TO:N, or a list", "64 values by the times of the axis",
     "the values of a map's first axis, rising from above 0"},
    {"grid2", "FROM:TO:N, or a list", "64 values by the times of the axis",
     "the values of a map's second axis"},
    {"times1", "FILE", "in the matrix", "the times of the rows of a plain matrix in a file"},
    {"times2", "FILE", "in the matrix", "the times of the columns"},
    {"time_unit1", "UNIT", "s, or s/m2", "of the first axis of a file with a matrix"},
    {"time_unit2", "UNIT", "s, or s/m2", "of the second axis"},
    {"imaginary", "FILE", "real data", "the imaginary channel of a file with a matrix"},
}};

/// The name of a setting of the method as this boundary has it.
std::string settingName(const SettingText& row) {
  std::string name(row.name);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

const SettingText* methodSetting(std::string_view name) {
  for (const SettingText& row : vorin::toolkit::settingTexts()) {
    if (settingName(row) == name) {
      return &row;
    }
  }
  return nullptr;
}

void requireName(std::string_view name) {
  const bool known = methodSetting(name) != nullptr ||
                     std::any_of(jobSettings.begin(), jobSettings.end(),
                                 [&](const c::JobSetting& row) { return row.name == name; });
  if (!known) {
    throw UserError(fmt::format("{}: there is no such setting; vorin_setting_names lists all",
                                vorin::toolkit::inQuotes(name)));
  }
}

/// Throws UserError for a name that is none of `allowed`, which take lists or matrices.
template <std::size_t Count>
void requireOnly(std::string_view name, const std::array<std::string_view, Count>& allowed,
                 std::string_view what) {
  if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
    requireName(name);
    throw UserError(
        fmt::format("{} takes no {}; only {} do", name, what, fmt::join(allowed, ", ")));
  }
}

constexpr std::array<std::string_view, 3> listSettings{"grid", "grid1", "grid2"};
constexpr std::array<std::string_view, 3> matrixSettings{"kernel", "kernel1", "kernel2"};

const MapSettingText* mapSetting(std::string_view name) {
  const auto rows = vorin::toolkit::mapSettingTexts();
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const MapSettingText& row) { return row.name == name; });
  return found == rows.end() ? nullptr : &*found;
}

/// Throws UserError for a text that no job takes for the setting of the method `name`. Decays and
/// maps share names, and a job refuses what is for the other alone.
void requireReadable(std::string_view name, const std::string& text) {
  const SettingText* const row = methodSetting(name);
  if (row == nullptr) {
    return;
  }
  try {
    InversionSettings tried;
    row->read(text, tried);
  } catch (const UserError& error) {
    const MapSettingText* const ofMaps = mapSetting(name);
    if (ofMaps == nullptr) {
      throw;
    }
    try {
      vorin::toolkit::MapSettings tried;
      ofMaps->read(text, tried);
    } catch (const UserError& other) {
      const std::string_view sentence = other.what();
      throw UserError(sentence == error.what()
                          ? std::string(sentence)
                          : fmt::format("{}; for a map {}", error.what(), ofMaps->takes));
    }
  }
}

void setKey(vorin_settings& settings, std::string_view key, const std::string& text) {
  auto& keys = settings.keys;
  const auto found =
      std::find_if(keys.begin(), keys.end(), [&](const auto& pair) { return pair.first == key; });
  if (text.empty()) {
    if (found != keys.end()) {
      keys.erase(found);
    }
  } else if (found != keys.end()) {
    found->second = text;
  } else {
    keys.emplace_back(key, text);
  }
}

void setText(vorin_settings& settings, std::string_view name, const std::string& text) {
  if (name.starts_with(keyPrefix)) {
    setKey(settings, name.substr(keyPrefix.size()), text);
    return;
  }
  requireName(name);
  requireReadable(name, text);
  settings.arrays.erase(std::string(name));
  settings.matrices.erase(std::string(name));
  settings.texts.insert_or_assign(std::string(name), text);
}

}  // namespace

const std::string& vorin_settings::text(std::string_view name) const {
  static const std::string none;
  const auto found = texts.find(name);
  return found == texts.end() ? none : found->second;
}

std::vector<double> vorin_settings::grid(std::string_view name, Quantity quantity) const {
  const auto list = arrays.find(name);
  if (list != arrays.end()) {
    return list->second;
  }
  const std::string& written = text(name);
  return written.empty() ? std::vector<double>()
                         : vorin::toolkit::parseGrid(written, name, quantity).times();
}

KernelChoice vorin_settings::kernel(std::string_view setting,
                                    vorin::toolkit::Kernel standard) const {
  const auto matrix = matrices.find(setting);
  if (matrix != matrices.end()) {
    return {vorin::toolkit::Kernel::matrix,
            std::string(setting == "kernel" ? c::ownKernel : setting), matrix->second};
  }
  const std::string& name = text(setting);
  return {name.empty()
              ? standard
              : vorin::toolkit::parseKernel(name, setting,
                                            setting == "kernel" ? vorin::toolkit::namedKernels()
                                                                : vorin::toolkit::formulaKernels()),
          {},
          {}};
}

InversionSettings vorin_settings::method() const {
  InversionSettings settings;
  for (const SettingText& row : vorin::toolkit::settingTexts()) {
    row.read(text(settingName(row)), settings);
  }
  vorin::toolkit::requireCompatible(settings);
  for (const auto& [key, value] : keys) {
    settings.assignments.emplace_back(key).append("=").append(value);
  }
  return settings;
}

namespace vorin::toolkit::c {

Kernel namedKernel(const char* name) {
  requireAddress(name, "kernel");
  return parseKernel(name, "kernel");
}

Kernel formulaKernel(const char* name) {
  requireAddress(name, "kernel");
  return parseKernel(name, "kernel", formulaKernels());
}

void requireTimes(const std::vector<double>& times) {
  constexpr double longestValue = 1e30;  // single precision would not hold more
  if (times.front() < 0.0) {
    throw UserError(fmt::format("t[0] is {:g}; times are 0 or above", times.front()));
  }
  for (std::size_t i = 1; i < times.size(); ++i) {
    if (!(times[i] > times[i - 1])) {
      throw UserError(
          fmt::format("t[{}] is {:g} and does not rise above t[{}], {:g}; sort the samples by "
                      "time, each time once",
                      i, times[i], i - 1, times[i - 1]));
    }
  }
  if (times.back() > longestValue) {
    throw UserError(fmt::format("t[{}] is {:g}; times are {:g} at most", times.size() - 1,
                                times.back(), longestValue));
  }
}

void requireGrid(const std::vector<double>& grid, std::string_view name) {
  constexpr double smallestValue = 1e-30;  // well inside the range of single precision
  constexpr double largestValue = 1e30;
  const bool rises = std::adjacent_find(grid.begin(), grid.end(),
                                        [](double a, double b) { return !(a < b); }) == grid.end();
  if (!rises || grid.front() < smallestValue || grid.back() > largestValue) {
    throw UserError(
        fmt::format("{} does not rise from above 0; give each value once, sorted, from {:g} to "
                    "{:g}",
                    name, smallestValue, largestValue));
  }
}

void requireSignal(const MeasuredDecay& measured, std::string_view name) {
  const auto isZero = [](double value) { return value == 0.0; };
  if (std::all_of(measured.decay.amplitude.begin(), measured.decay.amplitude.end(), isZero) &&
      std::all_of(measured.imaginary.begin(), measured.imaginary.end(), isZero)) {
    throw UserError(fmt::format("{} is 0 everywhere; a decay has a signal", name));
  }
}

}  // namespace vorin::toolkit::c

extern "C" {

int32_t vorin_settings_create(vorin_settings** settings, char* message,
                              int64_t message_size) noexcept {
  return c::making(settings, message, message_size,
                   [] { return std::make_unique<vorin_settings>(); });
}

void vorin_settings_free(vorin_settings* settings) noexcept {
  delete settings;
}

int32_t vorin_settings_set_text(vorin_settings* settings, const char* name, const char* text,
                                char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(settings, "settings");
    c::requireAddress(name, "name");
    setText(*settings, name, text == nullptr ? "" : text);
  });
}

int32_t vorin_settings_set_number(vorin_settings* settings, const char* name, double value,
                                  char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(settings, "settings");
    c::requireAddress(name, "name");
    setText(*settings, name, fmt::format("{}", value));  // the shortest text that reads back
  });
}

int32_t vorin_settings_set_array(vorin_settings* settings, const char* name, const double* values,
                                 int64_t count, char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(settings, "settings");
    c::requireAddress(name, "name");
    requireOnly(name, listSettings, "list");
    std::vector<double> list = c::numbersAt(values, count, 2, name);
    c::requireGrid(list, name);
    settings->texts.erase(name);
    settings->arrays.insert_or_assign(name, std::move(list));
  });
}

int32_t vorin_settings_set_matrix(vorin_settings* settings, const char* name, const double* values,
                                  int64_t rows, int64_t columns, char* message,
                                  int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(settings, "settings");
    c::requireAddress(name, "name");
    requireOnly(name, matrixSettings, "matrix");
    c::requireAddress(values, name);
    if (rows < 1 || columns < 1) {
      throw UserError(fmt::format("{} has {} rows and {} columns; 1 or more of each are required",
                                  name, rows, columns));
    }
    const auto height = static_cast<std::size_t>(rows);
    const auto width = static_cast<std::size_t>(columns);
    constexpr auto largestFloat = static_cast<double>(std::numeric_limits<float>::max());
    vorin::toolkit::Matrix matrix{height, width, std::vector<double>(height * width)};
    for (std::size_t i = 0; i < height; ++i) {
      for (std::size_t j = 0; j < width; ++j) {
        const double value = values[i * width + j];
        if (!(std::fabs(value) <= largestFloat)) {
          throw UserError(
              fmt::format("{}[{}, {}] is {:g}; numbers that single precision holds "
                          "are required",
                          name, i, j, value));
        }
        matrix.values[j * height + i] = value;
      }
    }
    settings->texts.erase(name);
    settings->matrices.insert_or_assign(name, std::move(matrix));
  });
}

int32_t vorin_setting_names(vorin_result** result, char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [] {
    std::vector<std::string> name;
    std::vector<std::string> takes;
    std::vector<std::string> standard;
    std::vector<std::string> meaning;
    const auto add = [&](std::string_view n, const auto& row) {
      name.emplace_back(n);
      takes.emplace_back(row.takes);
      standard.emplace_back(row.standard);
      meaning.emplace_back(row.meaning);
    };
    for (const SettingText& row : vorin::toolkit::settingTexts()) {
      add(settingName(row), row);
    }
    for (const c::JobSetting& row : jobSettings) {
      add(row.name, row);
    }
    auto made = std::make_unique<vorin_result>();
    made->add("name", std::move(name));
    made->add("takes", std::move(takes));
    made->add("default", std::move(standard));
    made->add("meaning", std::move(meaning));
    return made;
  });
}

}  // extern "C"
