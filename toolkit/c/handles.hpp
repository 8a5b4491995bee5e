// The objects behind the handles of the C boundary.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/kernel_source.hpp"
#include "toolkit/inverting/preparation.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/vorin_toolkit.h"

namespace vorin::toolkit {
struct Band;
}

namespace vorin::toolkit::c {

/// A setting that is none of the method (settingTexts()): the job that takes it reads it.
struct JobSetting {
  std::string_view name;
  std::string_view takes;
  std::string_view standard;
  std::string_view meaning;
};

struct Inverted;
struct InvertedMap;

/// The name of a kernel that is a matrix of the caller.
inline constexpr std::string_view ownKernel = "own";

}  // namespace vorin::toolkit::c

/// Values by name, as they were set.
struct vorin_settings {
  std::map<std::string, std::string, std::less<>> texts;
  std::map<std::string, std::vector<double>, std::less<>> arrays;
  std::map<std::string, vorin::toolkit::Matrix, std::less<>> matrices;
  std::vector<std::pair<std::string, std::string>> keys;  ///< of the library, in order

  /// The matrices of kernels by name, which any number of threads may ask for.
  vorin::toolkit::SharedKernel& kernels() const { return kernels_; }

  /// The text of a setting; empty where it is not set.
  const std::string& text(std::string_view name) const;

  /// The values of a list that was set, or those that its text describes (a grid of
  /// `quantity`); none where neither is.
  std::vector<double> grid(std::string_view name, vorin::toolkit::Quantity quantity) const;

  /// The kernel by name, or the matrix that was set in its place; `standard` where the setting is
  /// not set.
  vorin::toolkit::KernelChoice kernel(
      std::string_view setting = "kernel",
      vorin::toolkit::Kernel standard = vorin::toolkit::Kernel::t2) const;

  /// The settings of the method.
  vorin::toolkit::InversionSettings method() const;

 private:
  mutable vorin::toolkit::SharedKernel kernels_;
};

/// Fields by name, in the order in which they were added.
struct vorin_result {
  using Value = std::variant<double, std::string, std::vector<double>, std::vector<std::string>>;
  struct Field {
    std::string_view name;  ///< a literal
    Value value;
  };

  void add(std::string_view name, Value value) { fields.push_back({name, std::move(value)}); }

  /// Throws NoField where there is no field of that name and kind.
  template <class Kind>
  const Kind& at(std::string_view name) const;

  std::vector<Field> fields;
  /// Of an inversion: what later jobs on it need; see inversionOf().
  std::shared_ptr<const vorin::toolkit::c::Inverted> inverted;
  /// Of a bootstrap, for a report.
  std::shared_ptr<const vorin::toolkit::Band> band;
  /// The same of an inversion of two-dimensional data.
  std::shared_ptr<const vorin::toolkit::c::InvertedMap> map;
};

namespace vorin::toolkit::c {

/// The settings of a host, or, where it gives none, `defaults`.
inline const vorin_settings& orDefaults(const vorin_settings* settings,
                                        const vorin_settings& defaults) {
  return settings == nullptr ? defaults : *settings;
}

/// The kernel of that name. Throws UserError for a null address and for another name.
Kernel namedKernel(const char* name);
/// The same for one whose value is a formula of one time and one relaxation time.
Kernel formulaKernel(const char* name);

/// A number of `lowest` or above that the setting holds, or `standard` where it is not set.
double numberSetting(const vorin_settings& settings, std::string_view name, double standard,
                     double lowest);

/// The setting "seed", 1 where it is not set.
std::uint64_t seedSetting(const vorin_settings& settings);

/// Throws UserError, which calls them times, unless `times` rise from 0 or above and are no
/// longer than times can be.
void requireTimes(const std::vector<double>& times);

/// Throws UserError, which names the argument, unless `grid` rises from above 0 inside the range
/// of single precision.
void requireGrid(const std::vector<double>& grid, std::string_view name);

/// Throws UserError, which names the argument, for samples that are all 0.
void requireSignal(const MeasuredDecay& measured, std::string_view name);

/// Adds the measures of a distribution: "total", "log_mean" and the lists of its peaks.
void addMeasures(vorin_result& result, const Distribution& distribution, double smallestShare);

}  // namespace vorin::toolkit::c
