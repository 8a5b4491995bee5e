#include "toolkit/mapping/voxel_inverter.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <mutex>
#include <new>
#include <span>
#include <thread>
#include <utility>

#include "toolkit/inverting/plan.hpp"
#include "toolkit/measures/cumulative.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/system/worker_threads.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();
/// Voxels that a thread takes at a time: few enough that threads end together, many enough that
/// the counter costs nothing.
constexpr std::size_t chunkSize = 16;
/// Progress is told so many times a block at most.
constexpr std::size_t tellings = 100;

std::vector<double> withoutFirst(const std::vector<double>& values, std::size_t count) {
  constexpr std::size_t fewestSamples = 2;
  if (values.size() < count + fewestSamples) {
    throw UserError(fmt::format("--skip {} leaves fewer than {} of {} samples", count,
                                fewestSamples, values.size()));
  }
  return {values.begin() + static_cast<std::ptrdiff_t>(count), values.end()};
}

InversionSettings calibrated(const InversionSettings& settings, const Calibration& calibration) {
  InversionSettings result = settings;
  calibrate(calibration, result);
  return result;
}

/// The noise of an imaginary channel is refused here, before the first voxel.
void requireUsableOnVoxels(const InversionSettings& settings) {
  const Decay large{{}, {std::numeric_limits<double>::infinity()}};
  requireUsable(large, settings);
}

std::vector<double> edgesOf(const std::vector<double>& cutoffs) {
  if (cutoffs.empty()) {
    return {};
  }
  std::vector<double> edges{0.0};
  edges.insert(edges.end(), cutoffs.begin(), cutoffs.end());
  edges.push_back(std::numeric_limits<double>::infinity());
  return edges;
}

VoxelStatus statusOf(DecayFailure failure) {
  switch (failure) {
    case DecayFailure::notFinite:
      return VoxelStatus::notFinite;
    case DecayFailure::allZero:
      return VoxelStatus::allZero;
    case DecayFailure::noNoise:
      return VoxelStatus::noNoise;
    case DecayFailure::noiseTooLarge:
      return VoxelStatus::noiseTooLarge;
    case DecayFailure::none:
      break;
  }
  return VoxelStatus::ok;
}

VoxelMaps emptyMaps(std::size_t voxels, std::size_t ranges, std::size_t points, bool flip) {
  const std::vector<double> unknowns(voxels, unknown);
  VoxelMaps maps;
  maps.voxels = voxels;
  for (std::vector<double>* const map : {&maps.total, &maps.logMean, &maps.weight, &maps.noise,
                                         &maps.signalToNoise, &maps.standardError}) {
    *map = unknowns;
  }
  maps.flip.assign(flip ? voxels : 0, unknown);
  maps.share.assign(voxels * ranges, unknown);
  maps.distribution.assign(voxels * points, unknown);
  maps.status.resize(voxels);
  return maps;
}

}  // namespace

/// What one thread needs to invert voxels; kept from block to block.
class VoxelInverter::Lane {
 public:
  explicit Lane(const InversionPlan& plan) : worker(plan) {}

  InversionPlan::Worker worker;
  std::vector<double> row;        ///< a voxel's samples in the unit of the data
  std::vector<double> amplitude;  ///< those that are not skipped, calibrated
  PlannedInversion planned;       ///< of the present voxel
};

struct VoxelInverter::State {
  State(const std::vector<double>& times, const InversionSettings& settings,
        const VoxelSettings& voxelSettings)
      : own(voxelSettings),
        edges(edgesOf(voxelSettings.cutoffs)),
        samples(times.size()),
        plan(withoutFirst(times, voxelSettings.skip),
             calibrated(settings, voxelSettings.calibration)) {}

  /// A lane that no other thread uses; kept for the next block when it is let go.
  std::shared_ptr<Lane> take() {
    std::unique_ptr<Lane> lane;
    {
      const std::lock_guard guard(lock);
      if (!lanes.empty()) {
        lane = std::move(lanes.back());
        lanes.pop_back();
      }
    }
    if (lane == nullptr) {
      lane = std::make_unique<Lane>(plan);
    }
    return {lane.release(), [this](Lane* used) { keep(used); }};
  }

  void keep(Lane* used) {
    std::unique_ptr<Lane> lane(used);
    const std::lock_guard guard(lock);
    try {
      lanes.push_back(std::move(lane));
    } catch (const std::bad_alloc&) {
      lane.reset();  // the next block makes one of its own
    }
  }

  void invertVoxel(const VoxelInverter& inverter, Lane& lane, const VoxelBlock& block,
                   std::size_t voxel, VoxelMaps& maps) const;
  void write(const Inversion& inversion, double largest, std::size_t voxel, VoxelMaps& maps) const;

  VoxelSettings own;
  std::vector<double> edges;
  std::size_t samples;
  InversionPlan plan;
  std::mutex lock;  ///< of the lanes
  std::vector<std::unique_ptr<Lane>> lanes;
};

void VoxelInverter::State::invertVoxel(const VoxelInverter& inverter, Lane& lane,
                                       const VoxelBlock& block, std::size_t voxel,
                                       VoxelMaps& maps) const {
  VoxelStatus& status = maps.status[voxel];
  status = inverter.look(block, voxel, lane.row);
  if (status != VoxelStatus::ok) {
    return;
  }
  lane.amplitude.assign(lane.row.begin() + static_cast<std::ptrdiff_t>(own.skip), lane.row.end());
  const double factor = own.calibration.factor;
  for (double& amplitude : lane.amplitude) {
    amplitude *= factor;
  }
  std::optional<double> noise;
  if (!block.noise.empty() && !std::isnan(block.noise[voxel])) {
    noise = block.noise[voxel] * factor;
  }
  if (plan.settings().estimatesFlip) {
    const double flip = block.flip.empty() ? unknown : block.flip[voxel];
    lane.worker.setFlip(std::isnan(flip) ? std::nullopt : std::optional(flip));
  }
  lane.worker.invertWithoutFit(lane.amplitude, noise, lane.planned);
  const PlannedInversion& planned = lane.planned;
  status = planned.failure == DecayFailure::none ? toolkit::statusOf(planned.inversion)
                                                 : statusOf(planned.failure);
  if (status == VoxelStatus::ok) {
    write(planned.inversion, largestMagnitude(lane.amplitude), voxel, maps);
  }
}

void VoxelInverter::State::write(const Inversion& inversion, double largest, std::size_t voxel,
                                 VoxelMaps& maps) const {
  const Distribution& distribution = inversion.distribution;
  maps.total[voxel] = totalAmplitude(distribution);
  maps.logMean[voxel] = logMean(distribution);
  maps.weight[voxel] = inversion.weight;
  if (inversion.noise > 0.0) {
    maps.noise[voxel] = inversion.noise;
    maps.signalToNoise[voxel] = largest / inversion.noise;
  }
  maps.standardError[voxel] = inversion.reachedError;
  if (inversion.flip) {
    maps.flip[voxel] = *inversion.flip;
  }
  if (!own.cutoffs.empty()) {
    const std::vector<Part> parts = partsBetween(distribution, own.cutoffs);
    for (std::size_t p = 0; p < parts.size(); ++p) {
      maps.share[voxel * parts.size() + p] = parts[p].share;
    }
  }
  if (own.distribution) {
    std::copy(distribution.amplitude.begin(), distribution.amplitude.end(),
              maps.distribution.begin() +
                  static_cast<std::ptrdiff_t>(voxel * distribution.amplitude.size()));
  }
}

namespace {

/// Chunks of so many jobs, which any number of threads take from one counter. The first exception
/// ends all and is thrown again.
class Chunks {
 public:
  Chunks(std::size_t count, const VoxelProgress& progress)
      : count_(count), step_(std::max(chunkSize, count / tellings)), progress_(progress) {}

  /// What a thread does: `prepare()` makes its own function of first and last, which is called for
  /// chunk after chunk.
  template <class Prepare>
  void run(Prepare prepare) noexcept {
    try {
      auto chunk = prepare();
      for (std::size_t first = next_.fetch_add(chunkSize); first < count_ && !stopped_;
           first = next_.fetch_add(chunkSize)) {
        const std::size_t last = std::min(first + chunkSize, count_);
        chunk(first, last);
        tell(last - first);
      }
    } catch (...) {
      const std::lock_guard guard(lock_);
      stopped_ = true;
      failure_ = failure_ ? failure_ : std::current_exception();
    }
  }

  void rethrow() const {
    if (failure_) {
      std::rethrow_exception(failure_);
    }
  }

 private:
  void tell(std::size_t more) {
    const std::lock_guard guard(lock_);
    done_ += more;
    if (progress_ && !stopped_ && (done_ == count_ || done_ - told_ >= step_)) {
      told_ = done_;
      progress_(done_);
    }
  }

  std::size_t count_;
  std::size_t step_;
  const VoxelProgress& progress_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<bool> stopped_ = false;
  std::mutex lock_;  ///< of what follows
  std::size_t done_ = 0;
  std::size_t told_ = 0;
  std::exception_ptr failure_;
};

}  // namespace

VoxelInverter::VoxelInverter(const std::vector<double>& times, const InversionSettings& settings,
                             const VoxelSettings& voxelSettings) {
  requireUsableOnVoxels(settings);
  state_ = std::make_unique<State>(times, settings, voxelSettings);
}

VoxelInverter::~VoxelInverter() = default;

std::size_t VoxelInverter::samples() const {
  return state_->samples;
}

const std::vector<double>& VoxelInverter::grid() const {
  return state_->plan.settings().grid;
}

const std::vector<double>& VoxelInverter::rangeEdges() const {
  return state_->edges;
}

std::size_t VoxelInverter::ranges() const {
  return state_->edges.empty() ? 0 : state_->edges.size() - 1;
}

bool VoxelInverter::keepsFlip() const {
  return state_->plan.settings().kernel == Kernel::t2Epg;
}

void VoxelInverter::requireShape(const VoxelBlock& block) const {
  const std::size_t found =
      std::visit([](const auto& samples) { return samples.size(); }, block.samples);
  if (found != block.voxels * samples()) {
    throw UserError(fmt::format("the block has {} samples; {} voxels of {} samples have {}", found,
                                block.voxels, samples(), block.voxels * samples()));
  }
  if (!block.mask.empty() && block.mask.size() != block.voxels) {
    throw UserError(
        fmt::format("the mask has {} elements and the block {} voxels; one for each is "
                    "required",
                    block.mask.size(), block.voxels));
  }
  if (!block.noise.empty() && block.noise.size() != block.voxels) {
    throw UserError(
        fmt::format("the noise has {} elements and the block {} voxels; one for each "
                    "is required",
                    block.noise.size(), block.voxels));
  }
  if (!block.flip.empty() && !state_->plan.settings().estimatesFlip) {
    throw UserError(
        "a refocusing angle for each voxel takes the place of an estimate; write --flip estimate "
        "and --kernel t2-epg");
  }
  if (!block.flip.empty() && block.flip.size() != block.voxels) {
    throw UserError(
        fmt::format("the map of refocusing angles has {} elements and the block {} voxels; one for "
                    "each is required",
                    block.flip.size(), block.voxels));
  }
  for (std::size_t voxel = 0; voxel < block.flip.size(); ++voxel) {
    const double flip = block.flip[voxel];
    if (!(flip > 0.0 && flip < 360.0) && !std::isnan(flip)) {
      throw UserError(fmt::format(
          "flip[{}] is {:g}; angles above 0 and below 360 degrees are required", voxel, flip));
    }
  }
  for (std::size_t voxel = 0; voxel < block.noise.size(); ++voxel) {
    const double noise = block.noise[voxel];
    if (!(noise > 0.0) && !std::isnan(noise)) {
      throw UserError(fmt::format("noise[{}] is {:g}; numbers above 0 are required", voxel, noise));
    }
  }
}

VoxelStatus VoxelInverter::look(const VoxelBlock& block, std::size_t voxel,
                                std::vector<double>& samples) const {
  if (!block.mask.empty() && block.mask[voxel] == 0) {
    return VoxelStatus::masked;
  }
  const std::size_t count = state_->samples;
  std::visit(
      [&](const auto& all) {
        const auto* const row = all.data() + voxel * count;
        samples.assign(row, row + count);
      },
      block.samples);
  double largest = 0.0;
  const bool magnitude = state_->plan.settings().magnitude;
  for (const double sample : std::span(samples).subspan(state_->own.skip)) {
    if (!std::isfinite(sample)) {
      return VoxelStatus::notFinite;
    }
    if (magnitude && sample < 0.0) {
      return VoxelStatus::negative;
    }
    largest = std::max(largest, std::fabs(sample));
  }
  if (!(largest > 0.0)) {
    return VoxelStatus::allZero;
  }
  return state_->own.threshold && largest < *state_->own.threshold ? VoxelStatus::belowThreshold
                                                                   : VoxelStatus::ok;
}

VoxelMaps VoxelInverter::invert(const VoxelBlock& block, const VoxelProgress& progress) const {
  requireShape(block);
  State& state = *state_;
  VoxelMaps maps =
      emptyMaps(block.voxels, ranges(), state.own.distribution ? grid().size() : 0, keepsFlip());
  Chunks chunks(block.voxels, progress);
  const auto work = [&] {
    chunks.run([&] {
      return [&, lane = state.take()](std::size_t first, std::size_t last) {
        for (std::size_t voxel = first; voxel < last; ++voxel) {
          state.invertVoxel(*this, *lane, block, voxel, maps);
        }
      };
    });
  };
  const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
  const std::size_t wanted =
      state.own.threads > 0 ? static_cast<std::size_t>(state.own.threads) : processors;
  const std::size_t most = std::max<std::size_t>(1, (block.voxels + chunkSize - 1) / chunkSize);
  WorkerThreads others;
  for (std::size_t k = 1; k < std::min(wanted, most); ++k) {
    if (!others.start(work)) {
      break;  // those that there are do it all
    }
  }
  work();
  others.wait();
  chunks.rethrow();
  return maps;
}

}  // namespace vorin::toolkit
