// The options of `vorin invert` in three groups: what is read, how it is inverted, and
// what is left behind. Each group adds its options to the command line and turns what
// the user wrote into values; the sentences for bad input are its own.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/bootstrap.hpp"
#include "common/files.hpp"
#include "common/inversion.hpp"
#include "common/lcurve.hpp"
#include "common/report.hpp"

namespace vorin::host {

/// Adds an option whose value is a word, a number or a name: `type` stands for it in the help.
template <class Value>
CLI::Option* addOption(CLI::App& line, const std::string& name, Value& value,
                       const std::string& type, const std::string& text) {
  return line.add_option(name, value, text)->type_name(type);
}

/// What is read, as the user wrote it.
struct InputOptions {
  std::string file;
  std::string kernel = "t2";
  std::string skip;
  std::string grid;

  void addTo(CLI::App& line);
};

/// A decay with what it is to be inverted by.
struct Input {
  std::string name;  ///< of the file, as the user gave it
  Decay decay;
  Kernel kernel = Kernel::t2;
  std::vector<double> grid;
};

/// Throws UserError for bad options and bad files.
Input readInput(const InputOptions& options);

/// How the decay is inverted, as the user wrote it.
struct MethodOptions {
  std::string weight;
  std::string noise;
  std::string prune = "log";
  std::string prunePoints;
  std::string compress;
  std::string rejectOutliers;
  std::string bootstrap;
  std::string seed;
  std::vector<std::string> assignments;

  void addTo(CLI::App& line);
};

/// The settings but for what comes with the input (kernel, grid) and for keepLog.
/// Throws UserError for bad options.
InversionSettings settingsFrom(const MethodOptions& options);

/// The bootstrap that is asked for, if there is one. Throws UserError for bad options.
std::optional<BootstrapSettings> bootstrapFrom(const MethodOptions& options);

/// What is left behind, as the user wrote it.
struct OutputOptions {
  std::string truth;
  std::string out;
  std::string fit;
  std::string plot;
  std::string plotLCurve;
  std::string log;

  void addTo(CLI::App& line);
};

/// The files that an inversion leaves: looked at before any work is done, written
/// after it, each whole or not at all.
class InvertOutputs {
 public:
  /// Throws UserError for names that can't be written, and for a truth that can't be read.
  InvertOutputs(const OutputOptions& options, const std::string& inputFile);

  /// Writes all files of one inversion of `input`; `scratch` holds the library's log.
  void write(const Inversion& inversion, const ReportContext& context,
             const std::optional<LCurve>& curve, const ScratchFolder& scratch);

  /// True when an L-curve is wanted, which write() then takes.
  bool wantsLCurve() const { return !plotLCurve_.empty(); }

  const std::optional<Distribution>& truth() const { return truth_; }

 private:
  std::optional<Distribution> truth_;
  OutputFiles files_;
  std::filesystem::path out_;
  std::filesystem::path fit_;
  std::filesystem::path plot_;
  std::filesystem::path plotLCurve_;
  std::filesystem::path log_;
};

}  // namespace vorin::host
