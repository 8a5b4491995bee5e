// Kernels, grids, noise, phase and computed decays.
#include <algorithm>
#include <memory>
#include <optional>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/noise.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/axes.hpp"

namespace vorin::toolkit::c {

double numberSetting(const vorin_settings& settings, std::string_view name, double standard,
                     double lowest) {
  const std::string& text = settings.text(name);
  if (text.empty()) {
    return standard;
  }
  const std::optional<double> value = parseNumber(text);
  if (!value || !(*value >= lowest && std::isfinite(*value))) {
    throw UserError(lowest == 0.0
                        ? fmt::format("{} {}: a number of 0 or above is required", name, text)
                        : fmt::format("{} {}: a finite number is required", name, text));
  }
  return *value;
}

std::uint64_t seedSetting(const vorin_settings& settings) {
  const std::string& text = settings.text("seed");
  const std::optional<long long> seed =
      text.empty() ? static_cast<long long>(SimulationDefaults::seed) : parseInteger(text);
  if (!seed || *seed < 0) {
    throw UserError(
        fmt::format("seed {}: a whole number of 0 or above is required", inQuotes(text)));
  }
  return static_cast<std::uint64_t>(*seed);
}

namespace {

std::vector<double> timesAt(const double* times, std::int64_t samples) {
  std::vector<double> result = numbersAt(times, samples, 2, "t");
  requireTimes(result);
  return result;
}

/// As timesAt(); without an address the default times.
std::vector<double> simulationTimes(const double* times, std::int64_t samples) {
  return times == nullptr && samples == 0
             ? evenTimes(SimulationDefaults::spacing, SimulationDefaults::samples)
             : timesAt(times, samples);
}

std::vector<LogNormalPeak> peaksAt(const double* peaks, std::int64_t count) {
  if (peaks == nullptr && count == 0) {
    return {SimulationDefaults::peaks.begin(), SimulationDefaults::peaks.end()};
  }
  requireAddress(peaks, "peaks");
  std::vector<LogNormalPeak> result;
  for (std::int64_t k = 0; k < count; ++k) {
    const double* const row = peaks + 3 * k;
    if (!std::all_of(row, row + 3, [](double x) { return x > 0.0 && std::isfinite(x); })) {
      throw UserError(fmt::format(
          "peaks[{}] is ({:g}, {:g}, {:g}); centre, width in decades and amplitude, all above 0, "
          "are required",
          k, row[0], row[1], row[2]));
    }
    result.push_back({row[0], row[1], row[2]});
  }
  return result;
}

std::unique_ptr<vorin_result> simulated(const vorin_settings& settings,
                                        const std::vector<double>& times,
                                        const std::vector<LogNormalPeak>& peaks) {
  const Kernel kernel = settings.kernel().kernel;
  if (kernel == Kernel::matrix) {
    throw UserError("kernel: a computed decay needs a kernel by name");
  }
  std::vector<double> grid = settings.grid("grid", gridQuantity(kernel));
  if (grid.empty()) {
    grid = SimulationDefaults::grid.times();
  }
  const double noise = numberSetting(settings, "sigma", SimulationDefaults::noise, 0.0);
  const std::uint64_t start = seedSetting(settings);
  const Distribution truth = distributionOf(peaks, grid);
  const InversionSettings method = settings.method();
  if (method.estimatesFlip) {
    throw UserError("flip \"estimate\": a computed decay needs the angle");
  }
  auto made = std::make_unique<vorin_result>();
  made->add("log_mean", logMean(truth));
  made->add("noise", noise);
  made->add("time", times);
  if (settings.text("phase").empty()) {
    made->add("amplitude",
              simulatedDecay(kernel, truth, times, noise, start, method.train).amplitude);
  } else {
    const double phase = numberSetting(settings, "phase", 0.0, -std::numeric_limits<double>::max());
    TwoChannels channels =
        simulatedChannels(kernel, truth, times, noise, start, phase, method.train);
    made->add("amplitude", std::move(channels.real));
    made->add("imaginary", std::move(channels.imaginary));
  }
  made->add("grid", truth.time);
  made->add("distribution", truth.amplitude);
  return made;
}

}  // namespace

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;
using vorin::toolkit::Kernel;
using vorin::toolkit::UserError;

extern "C" {

int32_t vorin_kernel_matrix(const char* kernel, const double* times, int64_t samples,
                            const double* grid, int64_t points, double* matrix, char* message,
                            int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    const Kernel named = c::formulaKernel(kernel);
    const std::vector<double> t = c::numbersAt(times, samples, 1, "t");
    const std::vector<double> T = c::numbersAt(grid, points, 1, "grid");
    c::requireAddress(matrix, "matrix");
    for (std::size_t i = 0; i < t.size(); ++i) {
      for (std::size_t k = 0; k < T.size(); ++k) {
        matrix[i * T.size() + k] = vorin::toolkit::kernelValue(named, t[i], T[k]);
      }
    }
  });
}

int32_t vorin_picture_axes(const char* kernel, double last_abscissa, double last_on_grid,
                           vorin_result** result, char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    c::requireAddress(kernel, "kernel");
    const vorin::toolkit::PictureAxes axes = vorin::toolkit::pictureAxes(
        kernel == c::ownKernel ? Kernel::matrix : c::namedKernel(kernel), last_abscissa,
        last_on_grid);
    auto made = std::make_unique<vorin_result>();
    made->add("abscissa_label", axes.abscissaLabel);
    made->add("abscissa_unit", std::string(axes.abscissa.name));
    made->add("abscissa_unit_size", axes.abscissa.size);
    made->add("grid_label", axes.gridLabel);
    made->add("grid_unit", std::string(axes.grid.name));
    made->add("grid_unit_size", axes.grid.size);
    return made;
  });
}

int32_t vorin_log_grid(double from, double to, int64_t points, double* grid, char* message,
                       int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(grid, "grid");
    // The one text form of a grid knows all limits.
    const std::vector<double> values =
        vorin::toolkit::parseGrid(fmt::format("{}:{}:{}", from, to, points), "grid",
                                  vorin::toolkit::Quantity::plain)
            .times();
    std::copy(values.begin(), values.end(), grid);
  });
}

int32_t vorin_default_grid(const char* kernel, const double* times, int64_t samples,
                           vorin_result** result, char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const Kernel named = c::namedKernel(kernel);
    auto made = std::make_unique<vorin_result>();
    made->add("grid", vorin::toolkit::gridFor(c::timesAt(times, samples), named).times());
    return made;
  });
}

int32_t vorin_difference_noise(const double* times, const double* real, int64_t samples,
                               double* noise, char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(noise, "noise");
    const vorin::toolkit::Decay decay{c::timesAt(times, samples),
                                      c::numbersAt(real, samples, 2, "y")};
    *noise = vorin::toolkit::differenceNoise(decay).value_or(c::unknownValue);
  });
}

int32_t vorin_phase_correct(const char* kernel, double* real, double* imaginary, int64_t samples,
                            double* phase, double* noise, char* message,
                            int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    const Kernel named = c::namedKernel(kernel);
    c::requireAddress(phase, "phase");
    c::requireAddress(noise, "noise");
    vorin::toolkit::MeasuredDecay measured;
    measured.decay.amplitude = c::numbersAt(real, samples, 2, "y");
    measured.imaginary = c::numbersAt(imaginary, samples, 2, "y");
    *phase = vorin::toolkit::phaseCorrect(measured, named);
    *noise = measured.decay.quadratureNoise.value_or(c::unknownValue);
    std::copy(measured.decay.amplitude.begin(), measured.decay.amplitude.end(), real);
    std::copy(measured.imaginary.begin(), measured.imaginary.end(), imaginary);
  });
}

int32_t vorin_simulate(const vorin_settings* settings, const double* times, int64_t samples,
                       const double* peaks, int64_t peak_count, vorin_result** result,
                       char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin_settings defaults;
    return c::simulated(c::orDefaults(settings, defaults), c::simulationTimes(times, samples),
                        c::peaksAt(peaks, peak_count));
  });
}

}  // extern "C"
