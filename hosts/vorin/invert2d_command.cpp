// vorin invert2d FILE: maps from two-dimensional data.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands.hpp"
#include "invert_options.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/two_dimensional/map_bootstrap.hpp"
#include "toolkit/two_dimensional/map_picture.hpp"
#include "toolkit/two_dimensional/map_reading.hpp"
#include "toolkit/two_dimensional/map_report.hpp"
#include "toolkit/writing/picture.hpp"
#include "toolkit/writing/progress.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// The options as the user wrote them.
struct Invert2dOptions {
  std::string file;
  std::string kernels = "t1-inversion,t2";
  std::string times1;
  std::string times2;
  std::string unit1;
  std::string unit2;
  std::string imaginary;
  std::string grid1;
  std::string grid2;
  std::string weight;
  std::string noise;
  std::string bootstrap;
  std::string seed;
  std::vector<std::string> regions;
  std::string out;
  std::string fit;
  std::string json;
  std::string plot;
};

double unitOf(const std::string& text, std::string_view option, Quantity quantity) {
  if (text.empty()) {
    return 1.0;
  }
  const std::optional<double> size = unitSize(text, quantity);
  if (!size) {
    throw UserError(fmt::format("{} {}: write {}", option, inQuotes(text), unitList(quantity)));
  }
  return *size;
}

/// The number above 0 that `text` spells.
double numberAboveZero(const std::string& text, std::string_view option,
                       std::string_view otherwise) {
  const std::optional<double> value = parseNumber(text);
  if (!value || !(*value > 0.0 && *value < 1e300)) {
    throw UserError(fmt::format("{} {}: write {}", option, inQuotes(text), otherwise));
  }
  return *value;
}

long long wholeNumber(const std::string& text, std::string_view option, long long from,
                      long long to) {
  const std::optional<long long> value = parseInteger(text);
  if (!value || *value < from || *value > to) {
    throw UserError(fmt::format("{} {}: a whole number from {} to {} is needed", option,
                                inQuotes(text), from, to));
  }
  return *value;
}

std::vector<double> gridOf(const std::string& text, std::string_view option, Kernel kernel,
                           const std::vector<double>& times) {
  if (!text.empty()) {
    return gridValues(text, option, gridQuantity(kernel));
  }
  if (kernel == Kernel::matrix) {
    throw UserError(
        fmt::format("{}: a kernel matrix needs a grid with a value for each of its "
                    "columns; write FROM:TO:N or the name of a file",
                    option));
  }
  return mapGridFor(times, kernel);
}

/// The kernel matrix in `file`, if there is one.
std::shared_ptr<const std::vector<double>> matrixOf(const std::string& file, std::size_t samples,
                                                    std::size_t grid) {
  if (file.empty()) {
    return nullptr;
  }
  Matrix matrix = readMatrix(file);
  if (matrix.rows != samples || matrix.columns != grid) {
    throw UserError(
        fmt::format("{}: the matrix has {} rows and {} columns; {} samples and {} grid "
                    "values need {} and {}",
                    file, matrix.rows, matrix.columns, samples, grid, samples, grid));
  }
  return std::make_shared<const std::vector<double>>(std::move(matrix.values));
}

/// "FROM1:TO1,FROM2:TO2".
MapRegion parseRegion(const std::string& text, Quantity first, Quantity second) {
  const auto fail = [&] {
    return UserError(fmt::format(
        "--region {}: write FROM1:TO1,FROM2:TO2 with rising values above 0, for instance "
        "100ms:1s,10ms:1s",
        inQuotes(text)));
  };
  const std::size_t comma = text.find(',');
  if (comma == std::string::npos) {
    throw fail();
  }
  const auto range = [&](std::string_view part, Quantity quantity) {
    const std::size_t colon = part.find(':');
    if (colon == std::string_view::npos) {
      throw fail();
    }
    const auto from = parseQuantity(part.substr(0, colon), quantity);
    const auto to = parseQuantity(part.substr(colon + 1), quantity);
    if (!from || !to || !(*from > 0.0 && *to > *from && *to < 1e300)) {
      throw fail();
    }
    return std::pair(*from, *to);
  };
  const std::string_view view = text;
  const auto [from1, to1] = range(view.substr(0, comma), first);
  const auto [from2, to2] = range(view.substr(comma + 1), second);
  return {from1, to1, from2, to2};
}

void readWeight(const std::string& text, MapSettings& settings) {
  if (text.empty() || text == "noise") {
    return;
  }
  if (text == "corner") {
    settings.mode = MapWeightMode::corner;
    return;
  }
  settings.mode = MapWeightMode::fixed;
  settings.weight = numberAboveZero(text, "--weight", "noise, corner or a number above 0");
}

void readNoise(const std::string& text, bool isComplex, MapSettings& settings) {
  if (text.empty() || text == "projection") {
    return;
  }
  if (text == "quadrature") {
    if (!isComplex) {
      throw UserError(
          "--noise quadrature: the data have no imaginary channel; give it by "
          "--imaginary, or another noise");
    }
    settings.quadrature = true;
    return;
  }
  settings.noise = numberAboveZero(text, "--noise", "a number above 0, projection or quadrature");
}

/// Everything that is needed before work begins.
struct Job {
  MeasuredMap measured;
  MapSettings settings;
  MapContext context;
  std::optional<MapBootstrapSettings> bootstrap;
};

Job jobFrom(const Invert2dOptions& options) {
  Job job;
  std::pair<std::string, std::string> files;
  const auto [kernel1, kernel2] = parseKernels(options.kernels, "--kernels", files);
  MapFormat format;
  format.kernel1 = kernel1;
  format.kernel2 = kernel2;
  format.unit1 = unitOf(options.unit1, "--time-unit1", abscissaQuantity(kernel1));
  format.unit2 = unitOf(options.unit2, "--time-unit2", abscissaQuantity(kernel2));
  format.times1 = options.times1;
  format.times2 = options.times2;
  format.imaginary = options.imaginary;
  readWeight(options.weight, job.settings);
  for (const std::string& text : options.regions) {
    job.context.regions.push_back(parseRegion(text, gridQuantity(kernel1), gridQuantity(kernel2)));
  }
  if (!options.bootstrap.empty()) {
    job.bootstrap.emplace();
    job.bootstrap->replicates =
        static_cast<int>(wholeNumber(options.bootstrap, "--bootstrap", 10, 10000));
    job.bootstrap->regions = job.context.regions;
  }
  if (!options.seed.empty()) {
    const long long seed = wholeNumber(options.seed, "--seed", 0, 1LL << 62);
    if (!job.bootstrap) {
      throw UserError("--seed: it is that of --bootstrap, which is not asked for");
    }
    job.bootstrap->seed = static_cast<std::uint64_t>(seed);
  }
  job.measured = readMap(options.file, format);
  const MapData& data = job.measured.data;
  job.settings.kernel1 = kernel1;
  job.settings.kernel2 = kernel2;
  job.settings.grid1 = gridOf(options.grid1, "--grid1", kernel1, data.times1);
  job.settings.grid2 = gridOf(options.grid2, "--grid2", kernel2, data.times2);
  job.settings.matrix1 = matrixOf(files.first, data.times1.size(), job.settings.grid1.size());
  job.settings.matrix2 = matrixOf(files.second, data.times2.size(), job.settings.grid2.size());
  readNoise(options.noise, job.measured.phase.has_value(), job.settings);
  job.context.name = options.file == "-" ? "standard input" : options.file;
  job.context.kernel1 = kernel1;
  job.context.kernel2 = kernel2;
  job.context.kernelFile1 = files.first;
  job.context.kernelFile2 = files.second;
  job.context.phase = job.measured.phase;
  try {
    requireUsable(data, job.settings);
  } catch (const UserError& error) {
    throw UserError(fmt::format("{}: {}", job.context.name, error.what()));
  }
  return job;
}

/// The files that are left, looked at before any work is done.
class Outputs {
 public:
  explicit Outputs(const Invert2dOptions& options) : jsonToOutput_(options.json == "-") {
    for (const std::string* input : {&options.file, &options.times1, &options.times2,
                                     &options.imaginary, &options.grid1, &options.grid2}) {
      std::error_code error;
      if (fs::exists(*input, error)) {
        files_.protect(*input);
      }
    }
    announce(options.out, "--out", out_);
    announce(options.fit, "--fit", fit_);
    announce(options.plot, "--plot", plot_);
    if (!jsonToOutput_) {
      announce(options.json, "--json", json_);
    }
    if (!plot_.empty()) {
      requireGnuplot(options.plot, "--plot");
    }
  }

  void write(const Job& job, const MapInversion& inversion) {
    if (!out_.empty()) {
      files_.write(out_, matrixCsv(inversion.grid1, inversion.grid2, inversion.distribution, 9));
    }
    if (!fit_.empty()) {
      const MapData& data = job.measured.data;
      files_.write(fit_, matrixCsv(data.times1, data.times2,
                                   mapFit(data, job.settings, inversion.distribution), 7));
    }
    if (!plot_.empty()) {
      const ScratchFolder scratch;
      files_.write(plot_, drawMap(plot_, scratch, inversion, job.context));
    }
    const std::string json = mapJson(inversion, job.context) + "\n";
    if (!json_.empty()) {
      files_.write(json_, json);
    }
    files_.commit();
    fmt::print("{}", jsonToOutput_ ? json : mapSummary(inversion, job.context));
  }

 private:
  void announce(const std::string& name, std::string_view option, fs::path& target) {
    if (!name.empty()) {
      target = files_.announce(name, option);
    }
  }

  OutputFiles files_;
  fs::path out_;
  fs::path fit_;
  fs::path plot_;
  fs::path json_;
  bool jsonToOutput_;
};

ExitStatus runInvert2d(const Invert2dOptions& options) {
  Job job = jobFrom(options);
  Outputs outputs(options);
  const MapInversion inversion = invertMap(job.measured.data, job.settings);
  if (job.bootstrap && succeeded(inversion)) {
    ProgressBar bar("bootstrap", job.bootstrap->replicates);
    job.bootstrap->progress = [&](int done) {
      bar.show(done);
      return true;
    };
    job.context.bootstrap =
        bootstrapMap(job.measured.data, job.settings, inversion, *job.bootstrap);
  }
  outputs.write(job, inversion);
  return succeeded(inversion) ? ExitStatus::success : ExitStatus::unsuccessfulInversion;
}

}  // namespace

Command addInvert2dCommand(CLI::App& program) {
  CLI::App* line =
      program.add_subcommand("invert2d", "Invert two-dimensional data: T1-T2, T2-T2 and D-T2 maps");
  const auto options = std::make_shared<Invert2dOptions>();
  line->add_option("FILE", options->file,
                   "A matrix: the first row holds the times of the second axis, the\n"
                   "first column those of the first, the corner is free; with --times1\n"
                   "and --times2 a plain matrix; - is standard input; or the T1IRT2.dat\n"
                   "or folder of a Spinsolve T1-T2 set")
      ->required();
  const auto add = [line](const std::string& name, auto& value, const std::string& type,
                          const std::string& text) {
    return addOption(*line, name, value, type, text);
  };
  add("--kernels", options->kernels, "FIRST,SECOND",
      "Kernels of the rows and of the columns: t1-inversion, t1-saturation,\n"
      "t2, diffusion, or a file with a matrix (default t1-inversion,t2)");
  add("--times1", options->times1, "FILE", "The times of the rows, one a line");
  add("--times2", options->times2, "FILE", "The times of the columns, one a line");
  add("--time-unit1", options->unit1, "UNIT",
      "Of the first axis: s (default), ms, us or ns; for diffusion s/m2\n"
      "(default), s/cm2, s/mm2 or ms/um2");
  add("--time-unit2", options->unit2, "UNIT", "Of the second axis");
  add("--imaginary", options->imaginary, "FILE",
      "The imaginary channel, a matrix as FILE. Complex data are turned by one\n"
      "phase and the real channel is taken");
  add("--grid1", options->grid1, "FROM:TO:N|FILE",
      "What the map is over, first axis: N values evenly spaced in their\n"
      "logarithm, in seconds (m2/s) or with a unit, 1ms:10s:64; or a file\n"
      "(default 64 values from the first time to three times the last)");
  add("--grid2", options->grid2, "FROM:TO:N|FILE", "Second axis");
  add("--weight", options->weight, "HOW",
      "noise (default): by the noise; corner: corner of the L-curve; or a\n"
      "number, the w of 1/2 |K1 F K2' - D|^2 + w/2 |F|^2");
  add("--noise", options->noise, "HOW",
      "Standard deviation of a sample: a number, projection (default): what\n"
      "no map can fit, or quadrature: the imaginary channel");
  add("--region", options->regions, "FROM1:TO1,FROM2:TO2",
      "Tell the share of this part of the map; may be repeated")
      ->allow_extra_args(false);
  add("--bootstrap", options->bootstrap, "N",
      "Intervals (68 %) of peaks and regions from N replicates, 10 to 10000");
  add("--seed", options->seed, "N", "Seed of the bootstrap (default 1)");
  add("--out", options->out, "FILE.csv", "Write the map; first row and column are the grids");
  add("--fit", options->fit, "FILE.csv", "Write the fit, a matrix as FILE");
  add("--json", options->json, "FILE|-",
      "Write all results as JSON; - is standard output, which then gets\nnothing else");
  add("--plot", options->plot, "FILE.png", "Draw the map; also FILE.svg, FILE.pdf");
  return {line, [options] { return runInvert2d(*options); }};
}

}  // namespace vorin::toolkit
