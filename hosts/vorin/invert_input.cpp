// What `vorin invert` reads: decays, their kernel and their grid.
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>

#include "invert_options.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The kernel of all decays: one by name, or a matrix with a row for each sample.
struct KernelChoice {
  Kernel kernel = Kernel::t2;
  std::string file;
  Matrix matrix;
};

KernelChoice kernelChoice(const InputOptions& options) {
  std::error_code error;
  for (Kernel kernel : {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion, Kernel::diffusion}) {
    if (kernelName(kernel) == options.kernel) {
      return {kernel, {}, {}};
    }
  }
  if (!std::filesystem::exists(options.kernel, error)) {
    throw UserError(fmt::format(
        "--kernel {}: there is no such kernel or file; write t2, t1-saturation, t1-inversion, "
        "diffusion, or the name of a file with a matrix",
        inQuotes(options.kernel)));
  }
  if (options.grid.empty()) {
    throw UserError(fmt::format(
        "--kernel {}: a matrix wants the values that its columns stand for; give them by --grid "
        "FROM:TO:N or --grid FILE",
        options.kernel));
  }
  return {Kernel::matrix, options.kernel, readMatrix(options.kernel)};
}

/// The matrix without the rows of the first `skipped` samples, as the library takes it.
std::shared_ptr<const std::vector<float>> withoutRows(const Matrix& matrix, std::size_t skipped) {
  auto values = std::make_shared<std::vector<float>>();
  values->reserve((matrix.rows - skipped) * matrix.columns);
  for (std::size_t column = 0; column < matrix.columns; ++column) {
    for (std::size_t row = skipped; row < matrix.rows; ++row) {
      values->push_back(static_cast<float>(matrix.values[column * matrix.rows + row]));
    }
  }
  return values;
}

void requireShape(const KernelChoice& kernel, std::size_t samples, std::size_t points,
                  const std::string& name) {
  if (kernel.matrix.rows != samples || kernel.matrix.columns != points) {
    throw UserError(fmt::format(
        "--kernel {}: the matrix has {} rows and {} columns, but {} has {} samples and the grid {} "
        "values; {} rows and {} columns are wanted",
        kernel.file, kernel.matrix.rows, kernel.matrix.columns, name, samples, points, samples,
        points));
  }
}

double unitOf(const InputOptions& options, Quantity quantity) {
  if (options.unit.empty()) {
    return 1.0;
  }
  const std::optional<double> size = unitSize(options.unit, quantity);
  if (!size) {
    throw UserError(
        fmt::format("--time-unit {}: write {}", inQuotes(options.unit), unitList(quantity)));
  }
  return *size;
}

/// The count of samples to leave out of a decay of `samples`.
std::size_t skippedSamples(const std::string& text, std::size_t samples) {
  if (text.empty()) {
    return 0;
  }
  const std::optional<long long> count = parseInteger(text);
  const auto most = static_cast<std::ptrdiff_t>(samples) - 2;
  if (!count || *count < 0 || *count > most) {
    throw UserError(
        fmt::format("--skip {}: a whole number from 0 to {} is wanted, so that 2 samples stay",
                    inQuotes(text), most));
  }
  return static_cast<std::size_t>(*count);
}

void dropFirst(std::vector<double>& values, std::size_t count) {
  values.erase(values.begin(),
               values.begin() + static_cast<std::ptrdiff_t>(std::min(count, values.size())));
}

Input readInput(const std::string& file, const DecayFormat& format, const KernelChoice& kernel,
                const std::vector<double>& grid, const std::string& skip) {
  Input input;
  input.name = file == "-" ? "standard input" : file;
  input.kernel = kernel.kernel;
  input.kernelFile = kernel.file;
  MeasuredDecay measured = readMeasuredDecay(file, format);
  const std::size_t samples = measured.decay.time.size();
  const std::size_t skipped = skippedSamples(skip, samples);
  if (kernel.kernel == Kernel::matrix) {
    requireShape(kernel, samples, grid.size(), input.name);
    input.matrix = withoutRows(kernel.matrix, skipped);
  }
  dropFirst(measured.decay.time, skipped);
  dropFirst(measured.decay.amplitude, skipped);
  dropFirst(measured.imaginary, skipped);
  if (!measured.imaginary.empty()) {
    input.phase = turnToReal(measured, kernel.kernel);
  }
  input.decay = std::move(measured.decay);
  input.grid = grid.empty() ? gridFor(input.decay.time, kernel.kernel).times() : grid;
  return input;
}

}  // namespace

void InputOptions::addTo(CLI::App& line) {
  addOption(line, "FILE", files, "",
            "Decays, each a text file with a row a sample: time, amplitude.\n"
            "Comma, semicolon, tab or blanks between the fields, '#' begins a\n"
            "comment line, one header line may stand first; - is standard input")
      ->required();
  addOption(line, "--columns", columns, "X,Y[,IM]",
            "The columns of time, amplitude and, for complex data, the imaginary\n"
            "channel: numbers from 1 or names of the header line (default 1,2).\n"
            "Complex data are turned by one phase and the real channel is taken");
  addOption(line, "--time-unit", unit, "UNIT",
            "Of the first column: s (default), ms, us or ns; for diffusion s/m2\n"
            "(default), s/cm2, s/mm2 or ms/um2");
  addOption(line, "--skip", skip, "N",
            "Leave out the first N samples: the first echoes of a train may lie\noff the curve");
  addOption(line, "--kernel", kernel, "NAME|FILE",
            "t2 (default): exp(-t/T2), t1-saturation: 1 - exp(-t/T1),\n"
            "t1-inversion: 1 - 2 exp(-t/T1), diffusion: exp(-b D); or a file with\n"
            "a matrix, a row a sample and a column a value of --grid");
  addOption(line, "--grid", grid, "FROM:TO:N|FILE",
            "Relaxation times or diffusion coefficients: N values evenly spaced in\n"
            "their logarithm, in seconds (m2/s) or with a unit, 1ms:10s:100; or a\n"
            "file whose first column lists them (default: a third of the first\n"
            "time to three times the last, 100; for diffusion its reciprocals)");
}

std::vector<Input> readInputs(const InputOptions& options) {
  const KernelChoice kernel = kernelChoice(options);
  DecayFormat format;
  format.abscissa = abscissaQuantity(kernel.kernel);
  format.unit = unitOf(options, format.abscissa);
  if (!options.columns.empty()) {
    format.columns = parseColumns(options.columns, "--columns");
  }
  std::vector<double> grid;
  if (!options.grid.empty()) {
    grid = gridValues(options.grid, "--grid", gridQuantity(kernel.kernel));
  }
  if (std::count(options.files.begin(), options.files.end(), "-") > 1) {
    throw UserError("-: standard input can be read once only; give - once");
  }
  std::vector<Input> inputs;
  for (const std::string& file : options.files) {
    inputs.push_back(readInput(file, format, kernel, grid, options.skip));
  }
  return inputs;
}

}  // namespace vorin::toolkit
