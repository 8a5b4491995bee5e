// The options of `vorin invert` in four groups: what is read, how it is inverted, which numbers
// are reported, and what is left behind. Each group adds its options to the command line and turns
// what the user wrote into values; the sentences for bad input are its own.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "add_option.hpp"
#include "picture_options.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/lcurve.hpp"
#include "toolkit/inverting/preparation.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/calibration.hpp"
#include "toolkit/measures/report_measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/found.hpp"
#include "toolkit/user_error.hpp"
#include "toolkit/writing/batch_table.hpp"
#include "toolkit/writing/report.hpp"
#include "toolkit/writing/together_picture.hpp"

namespace vorin::toolkit {

/// Adds the options that say how the file of a decay is read.
void addReadingOptions(CLI::App& line, DecayFormatText& format);

/// --kernel and --grid.
void addKernelOptions(CLI::App& line, std::string& kernel, std::string& grid);

/// The kernel that `kernel` names, or the matrix in that file, which needs `grid`. Throws UserError
/// for what is neither.
KernelChoice kernelChoice(const std::string& kernel, const std::string& grid);

/// What is read, as the user wrote it.
struct InputOptions {
  std::vector<std::string> files;
  std::string kernel = "t2";
  DecayFormatText format;
  std::string skip;
  std::string grid;

  void addTo(CLI::App& line);
};

/// A decay with what it is to be inverted by.
struct Input {
  std::string name;              ///< of the file, as the user gave it; "standard input" for "-"
  std::string file;              ///< as the user gave it
  std::string outputName;        ///< a name of a file, whose stem names what is written
  std::string trouble;           ///< why it could not be read; empty: it could
  std::vector<FoundLine> found;  ///< what the reader tells
  Decay decay;
  Kernel kernel = Kernel::t2;
  std::string kernelFile;                            ///< for Kernel::matrix
  std::shared_ptr<const std::vector<float>> matrix;  ///< for Kernel::matrix, as invert() takes it
  std::vector<double> grid;
  std::optional<double> phase;  ///< by which complex data were turned back, in radians
};

/// All decays, in the order of the command line. Throws UserError for bad options and for
/// the first bad file; with `keepGoing` a bad file is an input with its trouble.
std::vector<Input> readInputs(const InputOptions& options, bool keepGoing);

/// How the decay is inverted, as the user wrote it.
struct MethodOptions {
  std::string method;
  std::string baseline;
  std::string efficiency;
  std::string weight;
  std::string noise;
  std::string prune = "log";
  std::string prunePoints;
  std::string compress;
  std::string rejectOutliers;
  std::string flip;
  std::string t1;
  std::string echoSpacing;
  bool rician = false;
  std::string bootstrap;
  std::string seed;
  std::vector<std::string> assignments;

  void addTo(CLI::App& line);
};

/// The settings but for what comes with the input (kernel, grid) and for logFile.
/// Throws UserError for bad options.
InversionSettings settingsFrom(const MethodOptions& options);

/// The bootstrap that is asked for, if there is one. Throws UserError for bad options.
std::optional<BootstrapSettings> bootstrapFrom(const MethodOptions& options);

/// Which measures are reported, as the user wrote them.
struct MeasureOptions {
  std::string cutoff;
  std::string percentiles;
  std::string calibrate;

  void addTo(CLI::App& line);
};

/// The measures for a distribution under `kernel`. Throws UserError for bad options.
MeasureChoice measuresFrom(const MeasureOptions& options, Kernel kernel);

/// The unit of the amplitudes. Throws UserError for a bad option.
Calibration calibrationFrom(const MeasureOptions& options);

/// What is left behind, as the user wrote it.
struct OutputOptions {
  std::string truth;
  std::string out;
  std::string fit;
  std::string json;
  std::string table;
  std::string plot;
  std::string plotLCurve;
  std::string report;
  std::string log;
  std::string together;
  PictureOptions picture;
  std::string jobs;
  bool keepGoing = false;
  bool resume = false;
  bool noPicture = false;

  void addTo(CLI::App& line);
};

/// Where an inversion writes the library's log before it is put in its place.
std::filesystem::path logIn(const PrivateFolder& scratch);

/// What one decay leaves, not yet written.
struct DecayOutputs {
  std::vector<std::pair<std::filesystem::path, std::string>> files;  ///< target and content
  BatchRow row;
  std::string json;                    ///< its object, where a file about all decays has it
  std::optional<TogetherCurve> curve;  ///< where one picture has all decays
};

/// The files that inversions leave: looked at before any work is done, written as soon as
/// their inversion is, each whole or not at all. Those about all decays are written again as more
/// of them are done, so that an interrupted batch leaves them with all that is.
class InvertOutputs {
 public:
  /// Throws UserError for names that can't be written, for one name for several
  /// inversions, and for a truth that can't be read. `inputs` are the decays to come.
  InvertOutputs(const OutputOptions& options, const InputOptions& input,
                const std::vector<Input>& inputs, BatchLayout layout);

  /// What the inversion of input `index` leaves; `scratch` holds the library's log. Any number of
  /// threads may call.
  DecayOutputs outputsOf(std::size_t index, const Inversion& inversion,
                         const ReportContext& context, const std::optional<LCurve>& curve,
                         const PrivateFolder& scratch) const;
  /// The same of a decay that could not be inverted: `sentence` says why.
  DecayOutputs failureOf(const std::string& name, const std::string& sentence) const;

  /// Writes the files of input `index`. One thread at a time.
  void write(std::size_t index, DecayOutputs outputs);
  /// Takes note of what an earlier run has written.
  void restore(std::size_t index, BatchRow row, std::string json);
  /// True when all files of input `index` are there.
  bool written(std::size_t index) const;

  /// Writes the files about all decays that are done.
  void writeWhole();
  /// The same, unless it has taken much of the time so far.
  void writeWholeAtTimes();
  /// Draws the picture of all decays that could be inverted, where one is asked for; `context` is
  /// that of any.
  void drawAll(const ReportContext& context);
  /// Prints the JSON that goes to standard output.
  void print() const;

  /// True when an L-curve is required, which outputsOf() then takes.
  bool wantsLCurve() const { return !plotLCurve_.empty(); }
  bool wantsLog() const { return !log_.empty(); }
  const std::optional<Distribution>& truth() const { return truth_; }
  /// True when standard output is taken by JSON.
  bool takesStandardOutput() const { return jsonToOutput_; }
  /// The rows of the decays that are done, in the order of the inputs.
  std::vector<BatchRow> rows() const;
  /// Where a batch keeps its journal: beside the table, the JSON or what else is written, none
  /// where nothing is.
  const std::filesystem::path& journal() const { return journal_; }

 private:
  /// One option's target for each input.
  using Targets = std::vector<std::filesystem::path>;
  Targets announceEach(const std::string& name, std::string_view option,
                       const std::vector<Input>& inputs);
  void announcePlot(const OutputOptions& options, const std::vector<Input>& inputs);
  void protectInputs(const OutputOptions& options, const InputOptions& input);
  void findJournal(const OutputOptions& options);
  /// All JSON objects that are done.
  std::string wholeJson() const;

  BatchLayout layout_;
  std::optional<Distribution> truth_;
  OutputFiles files_;
  Targets out_;
  Targets fit_;
  Targets plot_;
  Targets plotLCurve_;
  Targets report_;
  Targets log_;
  Targets jsonEach_;
  std::filesystem::path jsonOfAll_;
  std::filesystem::path table_;
  std::filesystem::path plotOfAll_;
  Arrangement arrangement_ = Arrangement::overlay;
  std::vector<std::optional<TogetherCurve>> curves_;
  std::filesystem::path journal_;
  bool jsonToOutput_ = false;
  std::vector<std::string> jsonObjects_;  ///< of those that go into one file; empty: not done
  std::vector<std::optional<BatchRow>> rows_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::duration spent_{};  ///< on the files about all decays
};

/// The options of the command.
struct InvertOptions {
  InputOptions input;
  MethodOptions method;
  MeasureOptions measures;
  OutputOptions output;
};

/// The options as they were given, by name.
struct GivenOptions {
  std::string resultText;  ///< all that change files, and the version: the same for equal files
  std::vector<std::pair<std::string, std::string>> ofInversion;  ///< without what is written where
};

/// Those of `line` but for `others`, which change no result.
GivenOptions givenOptions(const CLI::App& line, const std::vector<std::string_view>& others);

/// The group of the options that say what is written where.
inline constexpr const char* outputGroup = "What is left";

/// Does what the options say.
ExitStatus runInvert(const InvertOptions& options, const GivenOptions& given);

}  // namespace vorin::toolkit
