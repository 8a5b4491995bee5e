// Maps over two axes.
#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <memory>
#include <tuple>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/c/map_job.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/two_dimensional/map_bootstrap.hpp"
#include "toolkit/two_dimensional/map_checks.hpp"
#include "toolkit/two_dimensional/map_measures.hpp"
#include "toolkit/two_dimensional/map_reading.hpp"
#include "toolkit/two_dimensional/map_settings_text.hpp"
#include "toolkit/two_dimensional/map_simulation.hpp"

namespace vorin::toolkit::c {

const InvertedMap& mapOfResult(const vorin_result* result) {
  requireAddress(result, "inversion");
  if (result->map == nullptr) {
    throw UserError("inversion: this result is of another job; give one of vorin_invert2d");
  }
  return *result->map;
}

namespace {

/// Of a progress that is told as a part of 1.
constexpr std::int64_t whole = 1000;

/// The kernel and the grid of axis "1" or "2".
MapAxis axisOf(const vorin_settings& settings, const std::string& axis, Kernel standard) {
  MapAxis result{settings.kernel("kernel" + axis, standard), {}};
  result.grid = settings.grid("grid" + axis, gridQuantity(result.kernel.kernel));
  return result;
}

MapAxis firstAxis(const vorin_settings& settings) {
  return axisOf(settings, "1", MapSettings().kernel1);
}

MapAxis secondAxis(const vorin_settings& settings) {
  return axisOf(settings, "2", MapSettings().kernel2);
}

/// The axes of a host, without samples.
MapData axesAt(const double* times1, std::int64_t count1, const double* times2,
               std::int64_t count2) {
  MapData data;
  data.times1 = numbersAt(times1, count1, 2, "t1");
  data.times2 = numbersAt(times2, count2, 2, "t2");
  return data;
}

/// One number for each sample of `axes`, looked at where they are used.
std::vector<double> channelAt(const double* values, const MapData& axes, std::string_view name) {
  requireAddress(values, name);
  return {values, values + axes.times1.size() * axes.times2.size()};
}

void addNumbers(vorin_result& result, const InvertedMap& job) {
  const MapInversion& inversion = job.inversion;
  const auto known = [](double value) { return value > 0.0 ? value : unknownValue; };
  result.add("status", static_cast<double>(inversion.status));
  result.add("success", succeeded(inversion) ? 1.0 : 0.0);
  result.add("weight", inversion.weight);
  result.add("noise", known(inversion.noise));
  result.add("wanted_standard_error", known(inversion.wantedError));
  result.add("standard_error", inversion.error);
  result.add("closest_standard_error", known(inversion.closestError));
  result.add("rows", static_cast<double>(inversion.rows));
  result.add("duality_gap", inversion.gap);
  result.add("iterations", static_cast<double>(inversion.weights));
  result.add("passes", static_cast<double>(inversion.steps));
  result.add("phase", job.input.phase.value_or(unknownValue));
}

/// "total", "log_mean1", "log_mean2", the projections and the lists of the peaks.
void addMapMeasures(vorin_result& result, const MapView& map, double smallestShare) {
  std::vector<double> first = projection1(map);
  std::vector<double> second = projection2(map);
  result.add("total", totalAmplitude(map));
  result.add("log_mean1", logMean({map.grid1, first}));
  result.add("log_mean2", logMean({map.grid2, second}));
  result.add("projection1", std::move(first));
  result.add("projection2", std::move(second));
  const std::vector<MapPeak> peaks = mapPeaks(map, smallestShare);
  const auto list = [&](std::string_view name, const auto& numberOf) {
    std::vector<double> values;
    std::transform(peaks.begin(), peaks.end(), std::back_inserter(values), numberOf);
    result.add(name, std::move(values));
  };
  list("peak_position1", [](const MapPeak& peak) { return peak.position1; });
  list("peak_position2", [](const MapPeak& peak) { return peak.position2; });
  list("peak_share", [](const MapPeak& peak) { return peak.share; });
  list("peak_log_mean1", [](const MapPeak& peak) { return peak.logMean1; });
  list("peak_log_mean2", [](const MapPeak& peak) { return peak.logMean2; });
  list("peak_width1", [](const MapPeak& peak) { return peak.width1; });
  list("peak_width2", [](const MapPeak& peak) { return peak.width2; });
  list("peak_at_grid_end", [](const MapPeak& peak) { return peak.atGridEnd ? 1.0 : 0.0; });
}

std::string kernelWord(Kernel kernel) {
  return std::string(kernel == Kernel::matrix ? ownKernel : kernelName(kernel));
}

std::unique_ptr<vorin_result> resultOf(std::shared_ptr<const InvertedMap> job) {
  auto result = std::make_unique<vorin_result>();
  const MapInversion& inversion = job->inversion;
  addNumbers(*result, *job);
  result->add("kernel1", kernelWord(job->input.settings.kernel1));
  result->add("kernel2", kernelWord(job->input.settings.kernel2));
  result->add("weight_origin", std::string(weightOriginWord(inversion.mode)));
  result->add("noise_origin", std::string(noiseOriginWord(inversion.noiseOrigin)));
  result->add("status_text", std::string(mapStatusText(inversion.status)));
  result->add("samples", job->input.data.samples);
  result->add("grid1", inversion.grid1);
  result->add("grid2", inversion.grid2);
  result->add("distribution", inversion.distribution);
  constexpr double smallestShare = 0.005;
  addMapMeasures(*result, {inversion.grid1, inversion.grid2, inversion.distribution},
                 smallestShare);
  result->map = std::move(job);
  return result;
}

/// A map of a host with its axes, looked at.
struct GivenMap {
  std::vector<double> grid1;
  std::vector<double> grid2;
  std::vector<double> amplitude;

  MapView view() const { return {grid1, grid2, amplitude}; }
};

GivenMap mapAt(const double* grid1, std::int64_t points1, const double* grid2, std::int64_t points2,
               const double* distribution) {
  GivenMap map{numbersAt(grid1, points1, 1, "grid1"), numbersAt(grid2, points2, 1, "grid2"), {}};
  requireGrid(map.grid1, "grid1");
  requireGrid(map.grid2, "grid2");
  map.amplitude = numbersAt(distribution, points1 * points2, 1, "distribution");
  const auto below = std::find_if(map.amplitude.begin(), map.amplitude.end(),
                                  [](double amplitude) { return amplitude < 0.0; });
  if (below != map.amplitude.end()) {
    throw UserError(fmt::format("distribution[{}] is {:g}; amplitudes are 0 or above",
                                below - map.amplitude.begin(), *below));
  }
  return map;
}

std::vector<MapRegion> regionsAt(const double* regions, std::int64_t count) {
  std::vector<MapRegion> result;
  if (count > 0) {
    requireAddress(regions, "regions");
  }
  for (std::int64_t r = 0; r < count; ++r) {
    const double* const row = regions + 4 * r;
    result.push_back({row[0], row[1], row[2], row[3]});
    requireRegion(result.back(), fmt::format("regions[{}]", r));
  }
  return result;
}

void addSpreads(vorin_result& result, const std::vector<MapSpread>& spreads,
                const std::array<std::string_view, 6>& names) {
  std::array<std::vector<double>, 6> lists;
  for (const MapSpread& spread : spreads) {
    const std::array<double, 6> values{spread.share.lower,    spread.share.upper,
                                       spread.logMean1.lower, spread.logMean1.upper,
                                       spread.logMean2.lower, spread.logMean2.upper};
    for (std::size_t k = 0; k < lists.size(); ++k) {
      lists.at(k).push_back(values.at(k));
    }
  }
  for (std::size_t k = 0; k < lists.size(); ++k) {
    result.add(names.at(k), std::move(lists.at(k)));
  }
}

std::vector<SimulatedMapPeak> peaksAt(const double* peaks, std::int64_t count) {
  std::vector<SimulatedMapPeak> result;
  if (count > 0) {
    requireAddress(peaks, "peaks");
  }
  for (std::int64_t k = 0; k < count; ++k) {
    const double* const row = peaks + 4 * k;
    if (!std::all_of(row, row + 4, [](double x) { return x > 0.0 && std::isfinite(x); })) {
      throw UserError(
          fmt::format("peaks[{}] is ({:g}, {:g}, {:g}, {:g}); two centres, width in decades and "
                      "amplitude, all above 0, are needed",
                      k, row[0], row[1], row[2], row[3]));
    }
    result.push_back({row[0], row[1], row[2], row[3]});
  }
  return result;
}

std::unique_ptr<vorin_result> simulated(const vorin_settings& settings, const MapData& axes,
                                        const std::vector<SimulatedMapPeak>& peaks) {
  MapSettings made;
  for (const auto& [number, axis, kernel, grid] :
       {std::tuple("1", firstAxis(settings), &made.kernel1, &made.grid1),
        std::tuple("2", secondAxis(settings), &made.kernel2, &made.grid2)}) {
    *kernel = axis.kernel.kernel;
    if (*kernel == Kernel::matrix) {
      throw UserError(fmt::format("kernel{}: computed data need a kernel by name", number));
    }
    *grid = axis.grid.empty() ? simulationGrid(*kernel) : axis.grid;
  }
  for (std::size_t k = 0; k < peaks.size(); ++k) {
    requireInside(peaks[k], fmt::format("peaks[{}]", k), made.grid1, made.grid2);
  }
  constexpr double standardNoise = 0.5;
  const double noise = numberSetting(settings, "sigma", standardNoise, 0.0);
  const std::uint64_t seed = seedSetting(settings);
  std::vector<double> truth = mapOf(peaks, made.grid1, made.grid2);
  auto result = std::make_unique<vorin_result>();
  if (settings.text("phase").empty()) {
    result->add("samples", simulatedSamples(axes, made, truth, noise, seed));
  } else {
    const double phase = numberSetting(settings, "phase", 0.0, -std::numeric_limits<double>::max());
    TwoMapChannels channels = simulatedMapChannels(axes, made, truth, noise, seed, phase);
    result->add("samples", std::move(channels.real));
    result->add("imaginary", std::move(channels.imaginary));
  }
  result->add("grid1", std::move(made.grid1));
  result->add("grid2", std::move(made.grid2));
  result->add("distribution", std::move(truth));
  return result;
}

MapFormat formatOf(const vorin_settings& settings) {
  MapFormat format;
  format.kernel1 = firstAxis(settings).kernel.kernel;
  format.kernel2 = secondAxis(settings).kernel.kernel;
  format.unit1 =
      readUnit(settings.text("time_unit1"), "time_unit1", abscissaQuantity(format.kernel1));
  format.unit2 =
      readUnit(settings.text("time_unit2"), "time_unit2", abscissaQuantity(format.kernel2));
  format.times1 = settings.text("times1");
  format.times2 = settings.text("times2");
  format.imaginary = settings.text("imaginary");
  return format;
}

}  // namespace

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;
using vorin::toolkit::Cancelled;
using vorin::toolkit::MapData;
using vorin::toolkit::MapSettings;

extern "C" {

int32_t vorin_invert2d(const vorin_settings* settings, const double* times1, int64_t count1,
                       const double* times2, int64_t count2, const double* real,
                       const double* imaginary, vorin_progress progress, void* user,
                       vorin_result** result, char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin_settings defaults;
    const vorin_settings& given = c::orDefaults(settings, defaults);
    vorin::toolkit::MeasuredMap measured{c::axesAt(times1, count1, times2, count2), {}};
    measured.data.samples = c::channelAt(real, measured.data, "D");
    if (imaginary != nullptr) {
      measured.imaginary = c::channelAt(imaginary, measured.data, "D");
    }
    MapSettings method;
    for (const auto& row : vorin::toolkit::mapSettingTexts()) {
      row.read(given.text(row.name), method);
    }
    if (progress != nullptr) {
      method.progress = [&](double part) {
        const double done = std::clamp(part, 0.0, 1.0) * static_cast<double>(c::whole);
        if (progress(user, static_cast<int64_t>(done), c::whole) != 0) {
          throw Cancelled();
        }
        return true;
      };
    }
    auto job = std::make_shared<c::InvertedMap>();
    job->input = vorin::toolkit::prepareMap(std::move(measured), c::firstAxis(given),
                                            c::secondAxis(given), method);
    job->inversion = vorin::toolkit::invertMap(job->input.data, job->input.settings);
    job->input.settings.progress = nullptr;  // it leads into this call
    return c::resultOf(std::move(job));
  });
}

int32_t vorin_fit2d(const vorin_result* inversion, double* fit, char* message,
                    int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    const c::InvertedMap& job = c::mapOfResult(inversion);
    c::requireAddress(fit, "fit");
    const std::vector<double> values =
        vorin::toolkit::mapFit(job.input.data, job.input.settings, job.inversion.distribution);
    std::copy(values.begin(), values.end(), fit);
  });
}

int32_t vorin_bootstrap2d(const vorin_result* inversion, const vorin_settings* settings,
                          const double* regions, int64_t region_count, vorin_progress progress,
                          void* user, vorin_result** result, char* message,
                          int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const c::InvertedMap& job = c::mapOfResult(inversion);
    const vorin_settings defaults;
    const vorin_settings& given = c::orDefaults(settings, defaults);
    const std::string& replicates = given.text("replicates");
    vorin::toolkit::MapBootstrapSettings wanted = vorin::toolkit::readMapBootstrap(
        replicates.empty() ? "200" : replicates, given.text("seed"), "replicates");
    wanted.regions = c::regionsAt(regions, region_count);
    if (progress != nullptr) {
      wanted.progress = [&](int done) {
        if (progress(user, done, wanted.replicates) != 0) {
          throw Cancelled();
        }
        return true;
      };
    }
    const vorin::toolkit::MapBootstrap spread =
        vorin::toolkit::bootstrapMap(job.input.data, job.input.settings, job.inversion, wanted);
    auto made = std::make_unique<vorin_result>();
    made->add("replicates", static_cast<double>(spread.replicates));
    c::addSpreads(*made, spread.peaks,
                  {"peak_share_lower", "peak_share_upper", "peak_log_mean1_lower",
                   "peak_log_mean1_upper", "peak_log_mean2_lower", "peak_log_mean2_upper"});
    c::addSpreads(*made, spread.regions,
                  {"region_share_lower", "region_share_upper", "region_log_mean1_lower",
                   "region_log_mean1_upper", "region_log_mean2_lower", "region_log_mean2_upper"});
    return made;
  });
}

int32_t vorin_measures2d(const double* grid1, int64_t points1, const double* grid2, int64_t points2,
                         const double* distribution, double smallest_share, vorin_result** result,
                         char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const c::GivenMap map = c::mapAt(grid1, points1, grid2, points2, distribution);
    auto made = std::make_unique<vorin_result>();
    c::addMapMeasures(*made, map.view(), smallest_share);
    return made;
  });
}

int32_t vorin_share2d(const double* grid1, int64_t points1, const double* grid2, int64_t points2,
                      const double* distribution, const double* region, double* share,
                      char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    const c::GivenMap map = c::mapAt(grid1, points1, grid2, points2, distribution);
    c::requireAddress(region, "region");
    c::requireAddress(share, "share");
    const vorin::toolkit::MapRegion wanted{region[0], region[1], region[2], region[3]};
    vorin::toolkit::requireRegion(wanted, "region");
    *share = vorin::toolkit::regionShare(map.view(), wanted);
  });
}

int32_t vorin_simulate2d(const vorin_settings* settings, const double* times1, int64_t count1,
                         const double* times2, int64_t count2, const double* peaks,
                         int64_t peak_count, vorin_result** result, char* message,
                         int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin_settings defaults;
    const MapData axes = c::axesAt(times1, count1, times2, count2);
    vorin::toolkit::requireAxes(axes);
    return c::simulated(c::orDefaults(settings, defaults), axes, c::peaksAt(peaks, peak_count));
  });
}

int32_t vorin_read2d(const char* path, const vorin_settings* settings, vorin_result** result,
                     char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    c::requireAddress(path, "path");
    const vorin_settings defaults;
    vorin::toolkit::MeasuredMap measured =
        vorin::toolkit::readMap(path, c::formatOf(c::orDefaults(settings, defaults)));
    auto made = std::make_unique<vorin_result>();
    made->add("times1", std::move(measured.data.times1));
    made->add("times2", std::move(measured.data.times2));
    made->add("samples", std::move(measured.data.samples));
    if (!measured.imaginary.empty()) {
      made->add("imaginary", std::move(measured.imaginary));
    }
    return made;
  });
}

}  // extern "C"
