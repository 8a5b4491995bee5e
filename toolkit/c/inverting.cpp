// Inversions, their bootstrap and their L-curve.
#include <algorithm>
#include <memory>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/job.hpp"
#include "toolkit/inverting/lcurve.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/calibration.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/json_report.hpp"
#include "toolkit/writing/report.hpp"
#include "toolkit/writing/summary_lines.hpp"

namespace vorin::toolkit::c {

namespace {

/// A number above 0, or not-a-number.
double known(double value) {
  return value > 0.0 ? value : unknownValue;
}

void addSamples(vorin_result& result, const Inverted& job) {
  const Inversion& inversion = job.inversion;
  result.add("time", job.input.decay.time);
  result.add("amplitude", job.input.decay.amplitude);
  result.add("grid", inversion.distribution.time);
  result.add("distribution", inversion.distribution.amplitude);
  result.add("fit", inversion.fit);
  result.add("rejected", std::vector<double>(inversion.rejected.begin(), inversion.rejected.end()));
  result.add("left_out", std::vector<double>(inversion.spoiled.begin(), inversion.spoiled.end()));
  const std::vector<double>& grid = inversion.distribution.time;
  result.add("support",
             std::vector<double>{grid[inversion.firstColumn], grid[inversion.lastColumn]});
}

void addNumbers(vorin_result& result, const Inverted& job) {
  const Inversion& inversion = job.inversion;
  result.add("status", static_cast<double>(inversion.status));
  result.add("success", succeeded(inversion) ? 1.0 : 0.0);
  result.add("samples", static_cast<double>(job.input.decay.time.size()));
  result.add("weight", inversion.weight);
  result.add("noise", known(inversion.noise));
  result.add("signal_to_noise", signalToNoise(inversion, job.input.decay).value_or(unknownValue));
  result.add("wanted_standard_error", known(inversion.wantedError));
  result.add("standard_error", inversion.reachedError);
  result.add("fit_error", inversion.fitError);
  result.add("iterations", static_cast<double>(inversion.weightSteps));
  result.add("passes", static_cast<double>(inversion.passes));
  result.add("relaxed_target", known(inversion.relaxedTarget));
  result.add("corner_weight", known(inversion.cornerWeight));
  result.add("phase", job.input.phase.value_or(unknownValue));
  result.add("noise_spread", known(inversion.noiseSpread));
  result.add("offset", inversion.offset.value_or(unknownValue));
  result.add("efficiency", inversion.efficiency.value_or(unknownValue));
  result.add("flip", inversion.flip.value_or(unknownValue));
}

std::unique_ptr<vorin_result> resultOf(std::shared_ptr<const Inverted> job) {
  auto result = std::make_unique<vorin_result>();
  const Inversion& inversion = job->inversion;
  addNumbers(*result, *job);
  result->add("kernel", std::string(job->settings.kernel == Kernel::matrix
                                        ? ownKernel
                                        : kernelName(job->settings.kernel)));
  result->add("weight_origin", std::string(weightOrigin(inversion)));
  result->add("noise_origin", std::string(noiseOriginWord(inversion.noiseOrigin)));
  result->add("status_text", inSettingNames(statusText(inversion)));
  result->add("finding", std::string(findingWord(inversion.finding.kind)));
  result->add("finding_text", inSettingNames(findingText(inversion.finding)));
  result->add("amplitude_unit", job->amplitudeUnit);
  const ReportContext context{"", job->input.decay, job->settings.kernel};
  std::vector<std::string> notes = allNotes(inversion, context, measuresOf(inversion, context));
  std::transform(notes.begin(), notes.end(), notes.begin(), inSettingNames);
  result->add("notes", std::move(notes));
  addSamples(*result, *job);
  constexpr double smallestShare = 0.005;
  addMeasures(*result, inversion.distribution, smallestShare);
  result->inverted = std::move(job);
  return result;
}

/// What the host has set, for a report.
std::vector<std::pair<std::string, std::string>> givenSettings(const vorin_settings& settings) {
  std::vector<std::pair<std::string, std::string>> given;
  for (const auto& [name, text] : settings.texts) {
    if (!text.empty() && name != "log") {
      given.emplace_back(name, text);
    }
  }
  for (const auto& [name, list] : settings.arrays) {
    given.emplace_back(name, fmt::format("{} values", list.size()));
  }
  for (const auto& [name, matrix] : settings.matrices) {
    given.emplace_back(name, fmt::format("a matrix of {} x {}", matrix.rows, matrix.columns));
  }
  for (const auto& [key, value] : settings.keys) {
    given.emplace_back("key." + key, value);
  }
  return given;
}

std::unique_ptr<vorin_result> inverted(const vorin_settings& settings, MeasuredDecay measured) {
  std::shared_ptr<Inverted> job = preparedJob(settings, std::move(measured));
  if (const std::string& text = settings.text("calibrate"); !text.empty()) {
    const Calibration calibration = parseCalibration(text, "calibrate");
    calibrate(calibration, job->input.decay);
    calibrate(calibration, job->settings);
    job->amplitudeUnit = calibration.unit;
  }
  job->given = givenSettings(settings);
  LogFile log(settings.text("log"));
  job->settings.logFile = log.temporary();
  job->inversion = invert(job->input.decay, job->settings);
  log.commit();
  return resultOf(std::move(job));
}

}  // namespace

MeasuredDecay measuredDecay(const double* times, const double* real, const double* imaginary,
                            std::int64_t samples, std::size_t skipped) {
  MeasuredDecay measured;
  measured.decay.time = numbersAt(times, samples, 2, "t");
  requireTimes(measured.decay.time);
  measured.decay.amplitude = numbersAt(real, samples, 2, "y", skipped);
  if (imaginary != nullptr) {
    measured.imaginary = numbersAt(imaginary, samples, 2, "y", skipped);
  }
  requireSignal(measured, "y");
  return measured;
}

std::shared_ptr<Inverted> preparedJob(const vorin_settings& settings, MeasuredDecay measured) {
  const KernelChoice kernel = settings.kernel();
  auto job = std::make_shared<Inverted>();
  job->settings = settings.method();
  const std::vector<double> grid = settings.grid("grid", gridQuantity(kernel.kernel));
  if (grid.empty() && kernel.kernel == Kernel::matrix) {
    throw UserError(
        "grid is missing; a kernel of your own needs the values that its columns belong to");
  }
  job->input = prepare(std::move(measured), kernel, grid, settings.text("skip"), "y");
  job->settings.kernel = kernel.kernel;
  job->settings.matrix = job->input.matrix;
  if (job->settings.matrix == nullptr) {
    job->settings.matrix =
        settings.kernels().of(kernel.kernel, job->input.decay.time, job->input.grid);
  }
  job->settings.grid = job->input.grid;
  return job;
}

int threadCount(const vorin_settings& settings) {
  constexpr int mostThreads = 1024;
  const std::string& text = settings.text("threads");
  if (text.empty()) {
    return 1;
  }
  const std::optional<long long> count = parseInteger(text);
  if (!count || *count < 0 || *count > mostThreads) {
    throw UserError(fmt::format("threads {}: a whole number from 0 to {} is required",
                                inQuotes(text), mostThreads));
  }
  return static_cast<int>(*count);
}

const Inverted& inversionOf(const vorin_result* result) {
  requireAddress(result, "inversion");
  if (result->inverted == nullptr) {
    throw UserError("inversion: this result is of another job; give one of vorin_invert");
  }
  return *result->inverted;
}

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_invert(const vorin_settings* settings, const double* times, const double* real,
                     const double* imaginary, int64_t samples, vorin_result** result, char* message,
                     int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin_settings defaults;
    const vorin_settings& given = c::orDefaults(settings, defaults);
    const std::size_t skipped = vorin::toolkit::readSkip(
        given.text("skip"), static_cast<std::size_t>(std::max<int64_t>(samples, 2)));
    return c::inverted(given, c::measuredDecay(times, real, imaginary, samples, skipped));
  });
}

int32_t vorin_bootstrap(const vorin_result* inversion, const vorin_settings* settings,
                        vorin_progress progress, void* user, vorin_result** result, char* message,
                        int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const c::Inverted& job = c::inversionOf(inversion);
    const vorin_settings defaults;
    const vorin_settings& given = c::orDefaults(settings, defaults);
    const std::string& replicates = given.text("replicates");
    vorin::toolkit::BootstrapSettings request = vorin::toolkit::readBootstrap(
        replicates.empty() ? "200" : replicates, given.text("seed"), "replicates");
    request.threads = c::threadCount(given);
    if (progress != nullptr) {
      request.progress = [&](int done) {
        if (progress(user, done, request.replicates) != 0) {
          throw vorin::toolkit::Cancelled();
        }
      };
    }
    vorin::toolkit::Band band =
        vorin::toolkit::bootstrap(job.input.decay, job.settings, job.inversion, request);
    auto made = std::make_unique<vorin_result>();
    made->band = std::make_shared<const vorin::toolkit::Band>(band);
    made->add("replicates", static_cast<double>(band.replicates));
    made->add("log_mean_lower", band.logMeanLower);
    made->add("log_mean_upper", band.logMeanUpper);
    made->add("interval_too_narrow", band.intervalTooNarrow ? 1.0 : 0.0);
    made->add("lower", std::move(band.lower));
    made->add("upper", std::move(band.upper));
    made->add("log_means", std::move(band.logMeans));
    made->add("interval_factor", band.intervalFactor);
    std::vector<double> distributions;
    for (const std::vector<double>& replicate : band.distributions) {
      distributions.insert(distributions.end(), replicate.begin(), replicate.end());
    }
    made->add("distributions", std::move(distributions));
    return made;
  });
}

int32_t vorin_lcurve(const vorin_result* inversion, vorin_result** result, char* message,
                     int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const c::Inverted& job = c::inversionOf(inversion);
    const vorin::toolkit::LCurve curve =
        vorin::toolkit::lCurve(job.input.decay, job.settings, job.inversion);
    std::vector<double> weight;
    std::vector<double> residual;
    std::vector<double> solution;
    for (const auto& point : curve.points) {
      weight.push_back(point.weight);
      residual.push_back(point.residualNorm);
      solution.push_back(point.solutionNorm);
    }
    auto made = std::make_unique<vorin_result>();
    made->add("corner", static_cast<double>(curve.corner));
    made->add("used_weight", curve.used.weight);
    made->add("used_residual_norm", curve.used.residualNorm);
    made->add("used_solution_norm", curve.used.solutionNorm);
    made->add("weight", std::move(weight));
    made->add("residual_norm", std::move(residual));
    made->add("solution_norm", std::move(solution));
    return made;
  });
}

}  // extern "C"
