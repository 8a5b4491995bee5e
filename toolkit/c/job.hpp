// What a job of the C boundary runs on, and what an inversion keeps for later jobs on it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "toolkit/c/handles.hpp"
#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {
struct ReportContext;
}

namespace vorin::toolkit::c {

/// The log of one job on its way to its place: it appears whole, after commit(), or not at all.
class LogFile {
 public:
  /// Throws UserError, which names "log", for a name that no file can have; an empty
  /// name is no log.
  explicit LogFile(const std::string& name);
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;
  ~LogFile();

  /// The file that the library is to write; empty for no log.
  std::string temporary() const { return temporary_.string(); }

  void commit();

 private:
  std::filesystem::path target_;
  std::filesystem::path temporary_;
};

/// An inversion with all that it was made of.
struct Inverted {
  Prepared input;
  InversionSettings settings;
  Inversion inversion;
  std::string amplitudeUnit;                               ///< of a calibration
  std::vector<std::pair<std::string, std::string>> given;  ///< what the host has set
};

/// The decay of a host's arrays, looked at as those of a file are. The first `skipped` amplitudes,
/// which nobody will use, may be anything.
MeasuredDecay measuredDecay(const double* times, const double* real, const double* imaginary,
                            std::int64_t samples, std::size_t skipped);

/// A decay with the settings that it is to be inverted by, all but log and calibration.
std::shared_ptr<Inverted> preparedJob(const vorin_settings& settings, MeasuredDecay measured);

/// The setting "threads": 1 where it is not set, 0 for one for each processor.
int threadCount(const vorin_settings& settings);

/// What vorin_invert kept in `result`. Throws UserError for a result of another job.
const Inverted& inversionOf(const vorin_result* result);

/// What a report of `job` says beside its numbers. `bootstrap` may be null. Throws UserError for
/// one of another inversion and for settings that can't be read.
ReportContext contextOf(const Inverted& job, const vorin_result* bootstrap,
                        const vorin_settings& settings);

}  // namespace vorin::toolkit::c
