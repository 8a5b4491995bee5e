// What `vorin invert` reads: decays, their kernel and their grid.
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <optional>

#include "invert_options.hpp"
#include "toolkit/inverting/preparation.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// A name for the files about one decay of `file`, which may hold several.
std::string nameOfDecay(const std::string& file, const std::string& column) {
  if (column.empty()) {
    return file == "-" ? "stdin" : file;
  }
  std::string part = column;
  std::replace_if(
      part.begin(), part.end(),
      [](unsigned char c) { return c < 0x80 && std::isalnum(c) == 0 && c != '-' && c != '.'; },
      '_');
  const std::filesystem::path path(file == "-" ? "stdin.csv" : file);
  return fmt::format("{}_{}{}", path.stem().string(), part, path.extension().string());
}

Input inputFrom(FileDecay decay, const std::string& file, const KernelChoice& kernel,
                const std::vector<double>& grid, const std::string& skip) {
  Input input;
  // Escaped where it is shown: JSON tells other bytes its own way.
  input.name = file == "-" ? "standard input" : file;
  if (!decay.column.empty()) {
    input.name += fmt::format(", column {}", decay.column);
  }
  input.file = file;
  input.outputName = nameOfDecay(file, decay.column);
  input.found = notableLines(decay.found);
  input.kernel = kernel.kernel;
  input.kernelFile = kernel.name;
  Prepared prepared = prepare(std::move(decay.measured), kernel, grid, skip, input.name);
  input.decay = std::move(prepared.decay);
  input.matrix = std::move(prepared.matrix);
  input.grid = std::move(prepared.grid);
  input.phase = prepared.phase;
  return input;
}

Input unreadInput(const std::string& file, Kernel kernel, const std::string& trouble) {
  Input input;
  input.name = file == "-" ? "standard input" : file;
  input.file = file;
  input.outputName = nameOfDecay(file, "");
  input.kernel = kernel;
  input.trouble = trouble;
  return input;
}

}  // namespace

KernelChoice kernelChoice(const std::string& kernelText, const std::string& grid) {
  std::error_code error;
  for (Kernel kernel : namedKernels()) {
    if (equalIgnoringCase(kernelName(kernel), kernelText)) {
      return {kernel, {}, {}};
    }
  }
  if (!std::filesystem::exists(kernelText, error)) {
    throw UserError(fmt::format(
        "--kernel {}: there is no such kernel or file; write {}, or the name of a file with a "
        "matrix",
        inQuotes(kernelText), listOf(namedKernels())));
  }
  if (grid.empty()) {
    throw UserError(fmt::format(
        "--kernel {}: a matrix needs the grid values of its columns; give them by --grid "
        "FROM:TO:N or --grid FILE",
        kernelText));
  }
  return {Kernel::matrix, kernelText, readMatrix(kernelText)};
}

void addReadingOptions(CLI::App& line, DecayFormatText& format) {
  addOption(line, "--columns", format.columns, "X,Y[,IM]",
            "The columns of time, amplitude and, for complex data, the imaginary\n"
            "channel: numbers from 1 or names of the header line (default 1,2).\n"
            "Complex data are turned by one phase and the real channel is taken.\n"
            "X,A..B takes many decays, X,A:B,C:D such with an imaginary channel");
  addOption(line, "--time-unit", format.timeUnit, "UNIT",
            "Of the first column: s (default), ms, us or ns; for diffusion s/m2\n"
            "(default), s/cm2, s/mm2 or ms/um2; overrides what the file says");
  addOption(line, "--spacing", format.spacing, "TIME[,FIRST]",
            "The time from one sample to the next, with a unit, for files without\n"
            "times: the first column numbers the samples, or there is none; FIRST\n"
            "is the time of the first sample");
  addOption(line, "--header-lines", format.headerLines, "N",
            "Lines above the rows of numbers (default: they are found)");
}

void addKernelOptions(CLI::App& line, std::string& kernel, std::string& grid) {
  addOption(line, "--kernel", kernel, "NAME|FILE",
            "t2 (default): exp(-t/T2), t1-saturation: 1 - exp(-t/T1),\n"
            "t1-inversion: 1 - 2 exp(-t/T1), diffusion: exp(-b D), t2-epg: echoes\n"
            "behind incomplete refocusing (--flip); or a file with a matrix, a row\n"
            "a sample and a column a value of --grid");
  addOption(line, "--grid", grid, "FROM:TO:N|FILE",
            "Relaxation times or diffusion coefficients: N values evenly spaced in\n"
            "their logarithm, in seconds (m2/s) or with a unit, 1ms:10s:100; or a\n"
            "file whose first column lists them (default: a third of the first\n"
            "time to three times the last, 100; for diffusion its reciprocals)");
}

void InputOptions::addTo(CLI::App& line) {
  addOption(line, "FILE", files, "",
            "Decays, each a text file with a row a sample: time, amplitude, below a\n"
            "header of any length, or another file that vorin read knows; - is\n"
            "standard input")
      ->required();
  addReadingOptions(line, format);
  addOption(line, "--skip", skip, "N",
            "Leave out the first N samples: the first echoes of a train may lie\noff the curve");
  addKernelOptions(line, kernel, grid);
}

std::vector<Input> readInputs(const InputOptions& options, bool keepGoing) {
  const KernelChoice kernel = kernelChoice(options.kernel, options.grid);
  const DecayFormat format = readDecayFormat(options.format, abscissaQuantity(kernel.kernel), "--");
  std::vector<double> grid;
  if (!options.grid.empty()) {
    grid = gridValues(options.grid, "--grid", gridQuantity(kernel.kernel));
  }
  if (std::count(options.files.begin(), options.files.end(), "-") > 1) {
    throw UserError("-: standard input can be read once only; give - once");
  }
  std::vector<Input> inputs;
  for (const std::string& file : options.files) {
    try {
      for (FileDecay& decay : readDecays(file, format)) {
        inputs.push_back(inputFrom(std::move(decay), file, kernel, grid, options.skip));
      }
    } catch (const UserError& error) {
      if (!keepGoing) {
        throw;
      }
      inputs.push_back(unreadInput(file, kernel.kernel, error.what()));
    }
  }
  return inputs;
}

}  // namespace vorin::toolkit
