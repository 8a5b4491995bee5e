// Maps of very many decays at the same times.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/job.hpp"
#include "toolkit/mapping/mean_decay.hpp"
#include "toolkit/mapping/voxel_inverter.hpp"
#include "toolkit/mapping/voxel_status.hpp"
#include "toolkit/measures/calibration.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

struct vorin_map {
  std::unique_ptr<const vorin::toolkit::VoxelInverter> inverter;
  bool keepsDistribution = false;
};

namespace vorin::toolkit::c {

namespace {

/// What voxels at `times` are inverted by: the job of one of them.
std::shared_ptr<Inverted> voxelJob(const vorin_settings& settings, const double* times,
                                   std::int64_t samples) {
  if (!settings.text("log").empty()) {
    throw UserError("log: a map writes none; invert a single decay to keep its log");
  }
  const std::vector<double> ones(static_cast<std::size_t>(std::max<std::int64_t>(samples, 2)), 1.0);
  return preparedJob(settings, measuredDecay(times, ones.data(), nullptr, samples, 0));
}

/// A number of 0 or above; none where the setting is not set.
std::optional<double> thresholdOf(const vorin_settings& settings) {
  const std::string& text = settings.text("threshold");
  if (text.empty()) {
    return std::nullopt;
  }
  const std::optional<double> value = parseNumber(text);
  if (!value || !(*value >= 0.0)) {
    throw UserError(
        fmt::format("threshold {}: a number of 0 or above is required, in the unit of "
                    "the data",
                    inQuotes(text)));
  }
  return value;
}

bool isOn(const vorin_settings& settings, std::string_view name) {
  const std::string& text = settings.text(name);
  if (!text.empty() && text != "on" && text != "off") {
    throw UserError(fmt::format("{} {}: write on or off", name, inQuotes(text)));
  }
  return text == "on";
}

VoxelSettings voxelSettings(const vorin_settings& settings, Kernel kernel, std::size_t samples) {
  VoxelSettings result;
  if (const std::string& text = settings.text("cutoff"); !text.empty()) {
    result.cutoffs = parseCutoffs(text, "cutoff", gridQuantity(kernel));
  }
  result.distribution = isOn(settings, "distribution");
  result.threshold = thresholdOf(settings);
  result.skip = readSkip(settings.text("skip"), samples);
  if (const std::string& text = settings.text("calibrate"); !text.empty()) {
    result.calibration = parseCalibration(text, "calibrate");
  }
  result.threads = threadCount(settings);
  return result;
}

std::unique_ptr<vorin_map> mapOf(const vorin_settings& settings, const double* times,
                                 std::int64_t samples) {
  const std::shared_ptr<const Inverted> job = voxelJob(settings, times, samples);
  const auto count = static_cast<std::size_t>(samples);
  const VoxelSettings own = voxelSettings(settings, job->settings.kernel, count);
  auto map = std::make_unique<vorin_map>();
  map->inverter = std::make_unique<const VoxelInverter>(std::vector<double>(times, times + count),
                                                        job->settings, own);
  map->keepsDistribution = own.distribution;
  return map;
}

template <class Number>
std::span<const Number> numbersOf(const void* samples, std::size_t count) {
  return {static_cast<const Number*>(samples), count};
}

VoxelBlock blockOf(const VoxelInverter& inverter, const void* samples, std::int32_t bytes,
                   std::int64_t voxels, const std::uint8_t* mask) {
  if (voxels < 0) {
    throw UserError(fmt::format("voxels is {}; 0 or above is required", voxels));
  }
  VoxelBlock block;
  block.voxels = static_cast<std::size_t>(voxels);
  if (block.voxels > 0) {
    requireAddress(samples, "samples");
  }
  const std::size_t count = block.voxels * inverter.samples();
  if (bytes == static_cast<std::int32_t>(sizeof(float))) {
    block.samples = numbersOf<float>(samples, count);
  } else if (bytes == static_cast<std::int32_t>(sizeof(double))) {
    block.samples = numbersOf<double>(samples, count);
  } else {
    throw UserError(fmt::format("bytes is {}; 4 for floats or 8 for doubles is required", bytes));
  }
  if (mask != nullptr) {
    block.mask = {mask, block.voxels};
  }
  return block;
}

std::unique_ptr<vorin_result> resultOf(VoxelMaps maps) {
  auto result = std::make_unique<vorin_result>();
  std::vector<double> status(maps.status.size());
  std::transform(maps.status.begin(), maps.status.end(), status.begin(),
                 [](VoxelStatus one) { return static_cast<double>(one); });
  result->add("total", std::move(maps.total));
  result->add("log_mean", std::move(maps.logMean));
  result->add("weight", std::move(maps.weight));
  result->add("noise", std::move(maps.noise));
  result->add("signal_to_noise", std::move(maps.signalToNoise));
  result->add("standard_error", std::move(maps.standardError));
  result->add("status", std::move(status));
  result->add("flip", std::move(maps.flip));
  result->add("share", std::move(maps.share));
  result->add("distribution", std::move(maps.distribution));
  return result;
}

std::unique_ptr<vorin_result> descriptionOf(const vorin_map& map) {
  const VoxelInverter& inverter = *map.inverter;
  auto result = std::make_unique<vorin_result>();
  result->add("samples", static_cast<double>(inverter.samples()));
  result->add("points", static_cast<double>(inverter.grid().size()));
  result->add("ranges", static_cast<double>(inverter.ranges()));
  result->add("keeps_flip", inverter.keepsFlip() ? 1.0 : 0.0);
  result->add("keeps_distribution", map.keepsDistribution ? 1.0 : 0.0);
  result->add("grid", inverter.grid());
  result->add("range_edges", inverter.rangeEdges());
  std::vector<std::string> words;
  std::vector<std::string> meanings;
  for (std::size_t k = 0; k < voxelStatusCount; ++k) {
    const VoxelStatusText text = textOf(static_cast<VoxelStatus>(k));
    words.emplace_back(text.word);
    meanings.emplace_back(text.meaning);
  }
  result->add("status_words", std::move(words));
  result->add("status_meanings", std::move(meanings));
  return result;
}

}  // namespace

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_map_create(const vorin_settings* settings, const double* times, int64_t samples,
                         vorin_map** map, char* message, int64_t message_size) noexcept {
  return c::making(map, message, message_size, [&] {
    const vorin_settings defaults;
    return c::mapOf(c::orDefaults(settings, defaults), times, samples);
  });
}

void vorin_map_free(vorin_map* map) noexcept {
  delete map;
}

int32_t vorin_map_describe(const vorin_map* map, vorin_result** result, char* message,
                           int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    c::requireAddress(map, "map");
    return c::descriptionOf(*map);
  });
}

int32_t vorin_map_invert(const vorin_map* map, const void* samples, int32_t bytes, int64_t voxels,
                         const uint8_t* mask, const double* noise, const double* flip,
                         vorin_progress progress, void* user, vorin_result** result, char* message,
                         int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    c::requireAddress(map, "map");
    vorin::toolkit::VoxelBlock block = c::blockOf(*map->inverter, samples, bytes, voxels, mask);
    if (noise != nullptr) {
      block.noise = {noise, block.voxels};
    }
    if (flip != nullptr) {
      block.flip = {flip, block.voxels};
    }
    vorin::toolkit::VoxelProgress told;
    if (progress != nullptr) {
      told = [&](std::size_t done) {
        if (progress(user, static_cast<int64_t>(done), voxels) != 0) {
          throw vorin::toolkit::Cancelled();
        }
      };
    }
    return c::resultOf(map->inverter->invert(block, told));
  });
}

int32_t vorin_map_add_to_mean(const vorin_map* map, const void* samples, int32_t bytes,
                              int64_t voxels, const uint8_t* mask, double* sums, int64_t* count,
                              char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(map, "map");
    c::requireAddress(sums, "sums");
    c::requireAddress(count, "count");
    const vorin::toolkit::VoxelInverter& inverter = *map->inverter;
    const vorin::toolkit::VoxelBlock block = c::blockOf(inverter, samples, bytes, voxels, mask);
    vorin::toolkit::MeanDecay mean({sums, sums + inverter.samples()},
                                   static_cast<std::size_t>(*count));
    mean.add(inverter, block);
    std::copy(mean.sums().begin(), mean.sums().end(), sums);
    *count = static_cast<int64_t>(mean.voxels());
  });
}

int32_t vorin_map_shared_weight(const vorin_settings* settings, const double* times,
                                const double* mean, int64_t samples, double* weight, char* message,
                                int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(weight, "weight");
    const vorin_settings defaults;
    const vorin_settings& given = c::orDefaults(settings, defaults);
    const std::size_t skipped = vorin::toolkit::readSkip(
        given.text("skip"), static_cast<std::size_t>(std::max<int64_t>(samples, 2)));
    const std::shared_ptr<const c::Inverted> job =
        c::preparedJob(given, c::measuredDecay(times, mean, nullptr, samples, skipped));
    *weight = *vorin::toolkit::withWeightOf(job->input.decay, job->settings).weight;
  });
}

}  // extern "C"
