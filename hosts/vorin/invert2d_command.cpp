// vorin invert2d FILE: maps from two-dimensional data.
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands.hpp"
#include "invert_options.hpp"
#include "picture_options.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/reading/files.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/two_dimensional/map_bootstrap.hpp"
#include "toolkit/two_dimensional/map_picture.hpp"
#include "toolkit/two_dimensional/map_reading.hpp"
#include "toolkit/two_dimensional/map_report.hpp"
#include "toolkit/two_dimensional/map_settings_text.hpp"
#include "toolkit/writing/picture.hpp"
#include "toolkit/writing/progress.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// The options of one axis as the user wrote them.
struct AxisOptions {
  explicit AxisOptions(char number) : number_(number) {}

  /// "--grid1" of "--grid".
  std::string option(std::string_view name) const { return std::string(name) + number_; }

  void addTo(CLI::App& line, const std::string& samples, const std::string& ordinal) {
    addOption(line, option("--times"), times, "FILE",
              fmt::format("The times of the {}, one a line, for a plain matrix", samples));
    addOption(line, option("--time-unit"), unit, "UNIT",
              fmt::format("Of the {} axis: s (default), ms, us or ns; for\n"
                          "diffusion s/m2 (default), s/cm2, s/mm2 or ms/um2",
                          ordinal));
    addOption(line, option("--grid"), grid, "FROM:TO:N|FILE",
              fmt::format("What the map is over, {} axis: N values evenly spaced in\n"
                          "their logarithm, in seconds (m2/s) or with a unit, 1ms:10s:64; or\n"
                          "a file (default 64 values where the data have signal, at most from\n"
                          "the first time to three times the last, for diffusion the\n"
                          "reciprocals of that range)",
                          ordinal));
  }

  /// The axis of `kernel` with the grid, if there is one.
  MapAxis axisOf(KernelChoice kernel) const {
    MapAxis axis{std::move(kernel), {}};
    if (!grid.empty()) {
      axis.grid = gridValues(grid, option("--grid"), gridQuantity(axis.kernel.kernel));
    }
    return axis;
  }

  double unitOf(Kernel kernel) const {
    return readUnit(unit, option("--time-unit"), abscissaQuantity(kernel));
  }

  std::string times;
  std::string unit;
  std::string grid;

 private:
  char number_;
};

/// The options as the user wrote them.
struct Invert2dOptions {
  std::string file;
  std::string kernels = "t1-inversion,t2";
  AxisOptions axis1{'1'};
  AxisOptions axis2{'2'};
  std::string imaginary;
  std::string weight;
  std::string noise;
  std::string bootstrap;
  std::string seed;
  std::vector<std::string> regions;
  std::string out;
  std::string fit;
  std::string json;
  std::string plot;
  PictureOptions picture;
};

/// Everything that is needed before work begins.
struct Job {
  PreparedMap map;
  MapContext context;
  std::optional<MapBootstrapSettings> bootstrap;
};

std::optional<MapBootstrapSettings> bootstrapFrom(const Invert2dOptions& options,
                                                  const std::vector<MapRegion>& regions) {
  if (options.bootstrap.empty()) {
    if (!options.seed.empty()) {
      throw UserError(fmt::format("--seed {}: it is that of --bootstrap, which is not asked for",
                                  inQuotes(options.seed)));
    }
    return std::nullopt;
  }
  MapBootstrapSettings settings = readMapBootstrap(options.bootstrap, options.seed);
  settings.regions = regions;
  return settings;
}

Job jobFrom(const Invert2dOptions& options) {
  Job job;
  auto [kernel1, kernel2] = parseKernels(options.kernels, "--kernels");
  MapFormat format;
  format.kernel1 = kernel1.kernel;
  format.kernel2 = kernel2.kernel;
  format.unit1 = options.axis1.unitOf(format.kernel1);
  format.unit2 = options.axis2.unitOf(format.kernel2);
  format.times1 = options.axis1.times;
  format.times2 = options.axis2.times;
  format.imaginary = options.imaginary;
  MapSettings method;
  readMapSetting("weight", options.weight, method);
  readMapSetting("noise", options.noise, method);
  job.context.name = options.file == "-" ? "standard input" : options.file;
  job.context.kernel1 = format.kernel1;
  job.context.kernel2 = format.kernel2;
  job.context.kernelFile1 = kernel1.name;
  job.context.kernelFile2 = kernel2.name;
  for (const std::string& text : options.regions) {
    job.context.regions.push_back(parseMapRegion(text, "--region", gridQuantity(format.kernel1),
                                                 gridQuantity(format.kernel2)));
  }
  job.bootstrap = bootstrapFrom(options, job.context.regions);
  const MapAxis first = options.axis1.axisOf(std::move(kernel1));
  const MapAxis second = options.axis2.axisOf(std::move(kernel2));
  MeasuredMap measured = readMap(options.file, format);
  try {
    job.map = prepareMap(std::move(measured), first, second, method);
  } catch (const UserError& error) {
    const std::string_view sentence = error.what();
    throw UserError(sentence.starts_with("--") ? std::string(sentence)
                                               : fmt::format("{}: {}", job.context.name, sentence));
  }
  job.context.phase = job.map.phase;
  job.context.picture = pictureStyle(options.picture);
  return job;
}

/// The files that are left, looked at before any work is done.
class Outputs {
 public:
  explicit Outputs(const Invert2dOptions& options) : jsonToOutput_(options.json == "-") {
    for (const std::string* input :
         {&options.file, &options.axis1.times, &options.axis2.times, &options.imaginary,
          &options.axis1.grid, &options.axis2.grid}) {
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
      const MapData& data = job.map.data;
      files_.write(fit_, matrixCsv(data.times1, data.times2,
                                   mapFit(data, job.map.settings, inversion.distribution), 7));
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
  const MapInversion inversion = invertMap(job.map.data, job.map.settings);
  if (job.bootstrap && succeeded(inversion)) {
    ProgressBar bar("bootstrap", job.bootstrap->replicates);
    job.bootstrap->progress = [&](int done) {
      bar.show(done);
      return true;
    };
    job.context.bootstrap = bootstrapMap(job.map.data, job.map.settings, inversion, *job.bootstrap);
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
                   "and --times2 a plain matrix; - is standard input; either may be a .npy\n"
                   "array; or the T1IRT2.dat or folder of a Spinsolve T1-T2 set")
      ->required();
  const auto add = [line](const std::string& name, auto& value, const std::string& type,
                          const std::string& text) {
    return addOption(*line, name, value, type, text);
  };
  add("--kernels", options->kernels, "FIRST,SECOND",
      "Kernels of the rows and of the columns: t1-inversion, t1-saturation,\n"
      "t2, diffusion, or a file with a matrix (default t1-inversion,t2)");
  add("--imaginary", options->imaginary, "FILE",
      "The imaginary channel, a matrix as FILE. Complex data are turned by one\n"
      "phase and the real channel is taken");
  options->axis1.addTo(*line, "rows", "first");
  options->axis2.addTo(*line, "columns", "second");
  add("--weight", options->weight, "HOW",
      "noise (default): by the noise; corner: corner of the L-curve; or a\n"
      "weight of your own, the w of 1/2 |K1 F K2' - D|^2 + w/2 |F|^2");
  add("--noise", options->noise, "HOW",
      "Standard deviation of a sample: a number, projection (default): what\n"
      "no map can fit, or quadrature: the imaginary channel");
  add("--region", options->regions, "FROM1:TO1,FROM2:TO2",
      "Tell the share of this part of the map; may be repeated")
      ->allow_extra_args(false);
  add("--bootstrap", options->bootstrap, "N",
      "Intervals (68 %) of peaks and regions from N replicates, 20 to 100000");
  add("--seed", options->seed, "N", "Seed of the bootstrap (default 1)");
  add("--out", options->out, "FILE.csv", "Write the map; first row and column are the grids");
  add("--fit", options->fit, "FILE.csv", "Write the fit, a matrix as FILE");
  add("--json", options->json, "FILE|-",
      "Write all results as JSON; - is standard output, which then gets\nnothing else");
  add("--plot", options->plot, "FILE.png", "Draw the map; also FILE.svg, FILE.pdf");
  options->picture.addTo(*line, "900x900", false);
  return {line, [options] { return runInvert2d(*options); }};
}

}  // namespace vorin::toolkit
