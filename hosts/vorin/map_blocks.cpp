// What a block of voxels is read from, and which arrays it becomes.
#include "map_blocks.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "toolkit/model/grid.hpp"
#include "toolkit/model/phase.hpp"

namespace vorin::toolkit {

namespace {

/// "share_below_0.04", "share_0.003_to_0.033", "share_above_0.033", as the tables of batches call
/// them.
std::string shareName(double from, double to) {
  return std::isinf(to)  ? fmt::format("share_above_{:g}", from)
         : !(from > 0.0) ? fmt::format("share_below_{:g}", to)
                         : fmt::format("share_{:g}_to_{:g}", from, to);
}

}  // namespace

std::vector<MapArray> arraysOf(const MapJob& job, const VoxelInverter& inverter) {
  const std::string amplitude = job.voxels.calibration.unit;
  const std::string grid(siUnit(gridQuantity(job.kernel)));
  std::vector<MapArray> arrays{
      {"total", amplitude, "sum of the distribution"},
      {"log_mean", grid, "logarithmic mean of the distribution"},
      {"weight", "", "weight of the smoothing"},
      {"noise", amplitude, "standard deviation of the noise"},
      {"signal_to_noise", "", "largest magnitude over the noise"},
      {"standard_error", amplitude, "standard deviation of the fit's residual"},
  };
  if (inverter.keepsFlip()) {
    arrays.push_back({"flip", "degree", "refocusing angle"});
  }
  const std::vector<double>& edges = inverter.rangeEdges();
  for (std::size_t k = 0; k < inverter.ranges(); ++k) {
    arrays.push_back(
        {shareName(edges[k], edges[k + 1]), "",
         fmt::format("part of the total from {:g} to {:g} {}", edges[k], edges[k + 1], grid)});
  }
  std::string statuses = "what became of the voxel:";
  for (std::size_t k = 0; k < voxelStatusCount; ++k) {
    statuses +=
        fmt::format("{} {} {}", k > 0 ? "," : "", k, textOf(static_cast<VoxelStatus>(k)).word);
  }
  arrays.push_back({"status", "", statuses, 0, true});
  if (job.voxels.distribution) {
    arrays.push_back(
        {"distribution", amplitude, "amplitude at each value of the grid", inverter.grid().size()});
  }
  return arrays;
}

MapBlock blockOf(VoxelMaps maps, std::size_t ranges, bool distribution) {
  MapBlock block;
  for (std::vector<double>* const map : {&maps.total, &maps.logMean, &maps.weight, &maps.noise,
                                         &maps.signalToNoise, &maps.standardError}) {
    block.push_back(std::move(*map));
  }
  if (!maps.flip.empty()) {
    block.push_back(std::move(maps.flip));
  }
  for (std::size_t k = 0; k < ranges; ++k) {
    std::vector<double> share(maps.voxels);
    for (std::size_t voxel = 0; voxel < maps.voxels; ++voxel) {
      share[voxel] = maps.share[voxel * ranges + k];
    }
    block.push_back(std::move(share));
  }
  std::vector<double> status(maps.voxels);
  std::transform(maps.status.begin(), maps.status.end(), status.begin(),
                 [](VoxelStatus one) { return static_cast<double>(one); });
  block.push_back(std::move(status));
  if (distribution) {
    block.push_back(std::move(maps.distribution));
  }
  return block;
}

VoxelBlock BlockReader::read(const VoxelBox& box) {
  job_.volume->read(box, numbers_);
  const std::size_t voxels = box.count();
  if (job_.mask) {
    job_.mask->read(box, maskNumbers_);
    mask_.resize(voxels);
    std::transform(maskNumbers_.real.begin(), maskNumbers_.real.end(), mask_.begin(),
                   [](double value) { return value != 0.0 && !std::isnan(value) ? 1 : 0; });
  }
  if (job_.flip) {
    job_.flip->read(box, flipNumbers_);
    // Maps of angles are 0 where nothing was measured.
    for (double& angle : flipNumbers_.real) {
      angle = angle > 0.0 && angle < 360.0 ? angle : std::numeric_limits<double>::quiet_NaN();
    }
  }
  dropSkipped(voxels);
  if (job_.volume->isComplex()) {
    turn(voxels);
  }
  VoxelBlock block;
  block.voxels = voxels;
  block.samples = std::span<const double>(numbers_.real);
  block.mask = mask_;
  block.noise = noise_;
  block.flip = flipNumbers_.real;
  return block;
}

void BlockReader::dropSkipped(std::size_t voxels) {
  const std::size_t all = job_.volume->samples();
  const std::size_t kept = job_.times.size();
  for (std::vector<double>* const channel : {&numbers_.real, &numbers_.imaginary}) {
    if (channel->empty() || kept == all) {
      continue;
    }
    for (std::size_t voxel = 0; voxel < voxels; ++voxel) {
      const auto row = channel->begin() + static_cast<std::ptrdiff_t>(voxel * all);
      std::copy(row + static_cast<std::ptrdiff_t>(all - kept),
                row + static_cast<std::ptrdiff_t>(all),
                channel->begin() + static_cast<std::ptrdiff_t>(voxel * kept));
    }
    channel->resize(voxels * kept);
  }
}

void BlockReader::turn(std::size_t voxels) {
  const std::size_t samples = job_.times.size();
  noise_.assign(job_.quadrature ? voxels : 0, std::numeric_limits<double>::quiet_NaN());
  MeasuredDecay decay;
  decay.decay.time = job_.times;
  for (std::size_t voxel = 0; voxel < voxels; ++voxel) {
    if (job_.mask && mask_[voxel] == 0) {
      continue;
    }
    const auto from = static_cast<std::ptrdiff_t>(voxel * samples);
    const auto to = from + static_cast<std::ptrdiff_t>(samples);
    decay.decay.amplitude.assign(numbers_.real.begin() + from, numbers_.real.begin() + to);
    decay.imaginary.assign(numbers_.imaginary.begin() + from, numbers_.imaginary.begin() + to);
    decay.decay.quadratureNoise.reset();
    phaseCorrect(decay, job_.kernel);
    std::copy(decay.decay.amplitude.begin(), decay.decay.amplitude.end(),
              numbers_.real.begin() + from);
    if (job_.quadrature && decay.decay.quadratureNoise && *decay.decay.quadratureNoise > 0.0) {
      noise_[voxel] = *decay.decay.quadratureNoise;
    }
  }
}

void expect(const MapJob& job, const Tiling& tiling, std::size_t first, std::size_t last) {
  job.volume->expect(tiling, first, last);
  if (job.mask) {
    job.mask->expect(tiling, first, last);
  }
  if (job.flip) {
    job.flip->expect(tiling, first, last);
  }
}

}  // namespace vorin::toolkit
