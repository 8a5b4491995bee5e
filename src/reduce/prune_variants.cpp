#include "reduce/prune_variants.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "reduce/prune_plan.hpp"

namespace vorin::reduce {
namespace {

constexpr int noBins = 0;

// The third spacing of VorinPruneZ is not known here.
int knownMode(int mode) {
  return mode == pruneLog || mode == pruneLinear ? mode : noBins;
}

PruneRequest requestOf(const KernelPruning& job) {
  PruneRequest request;
  request.points = job.nPoints;
  request.capacityPoints = job.ldPoints;
  request.maxBins = job.maxBins;
  request.t = job.t;
  request.firstPoint = job.prLo;
  request.target = job.target;
  request.mode = knownMode(job.mode);
  request.closingRow = false;
  return request;
}

float* columnOf(float* matrix, const KernelPruning& job, std::ptrdiff_t column) {
  return matrix + column * std::max(job.maxBins, 0);
}

void clearOutputs(const KernelPruning& job) {
  const std::ptrdiff_t rows = std::max(job.maxBins, 0);
  std::fill_n(job.yPruned, rows, 0.0f);
  std::fill_n(job.tMean, rows, 0.0f);
  std::fill_n(job.kPruned, rows * std::max(job.nCols, 0), 0.0f);
  std::fill_n(job.binNorm, rows, smallestNorm);
}

// What the sums and quotients of a row without points come to: 0/0 everywhere, but for
// the scale, which is never below its least value.
void fillWithNone(const KernelPruning& job, int from, int to) {
  constexpr float none = std::numeric_limits<float>::quiet_NaN();
  for (int r = from; r < std::min(to, job.maxBins); ++r) {
    job.yPruned[r] = none;
    job.tMean[r] = none;
    for (int j = 0; j < job.nCols; ++j) {
      columnOf(job.kPruned, job, j)[r] = none;
    }
    for (int i = 0; i < std::min(job.nPoints, job.ldPoints); ++i) {
      columnOf(job.P, job, i)[r] = none;
    }
  }
}

}  // namespace

void pruneScaled(const KernelPruning& job, std::int32_t& count) {
  PruneRequest request = requestOf(job);
  request.scale = job.scale;
  request.adjust = false;
  const PrunePlan plan(request);
  count = request.mode == noBins ? 0 : std::min(job.target, job.maxBins);
  if (plan.filled() > 0) {
    count = plan.filled();
  }
  clearOutputs(job);
  plan.render(job.maxBins, job.ldPoints, job.P);
  if (plan.filled() == 0) {
    return;
  }
  plan.apply(job.y, job.yPruned);
  plan.apply(job.nCols, job.k, job.ldPoints, job.kPruned, job.maxBins);
  // Positions are divided by the norm a second time: with v = 1 they are means then.
  plan.apply(job.t, job.tMean);
  for (int r = 0; r < plan.filled(); ++r) {
    job.tMean[r] /= plan.norm(r);
    job.binNorm[r] = plan.norm(r);
  }
}

void pruneWhitened(const KernelPruning& job, std::int32_t& count) {
  // Scales of 1 make the norm of a bin the square root of its number of points.
  const PrunePlan plan(requestOf(job));
  count = std::max(count, plan.filled());
  clearOutputs(job);
  plan.render(job.maxBins, job.ldPoints, job.P);
  for (int r = 0; r < plan.filled(); ++r) {
    const float share = 1.0f / plan.norm(r);
    float points = 0.0f;
    float position = 0.0f;
    float whitened = 0.0f;
    plan.forEachPoint(r, [&](int i) {
      points += 1.0f;
      position += job.t[i];
      whitened += share / job.scale[i];
    });
    job.tMean[r] = position / points;
    const float scale = 1.0f / whitened;
    job.binNorm[r] = scale < smallestNorm ? smallestNorm : scale;
  }
  std::vector<float> values(static_cast<std::size_t>(std::max(job.nPoints, 0)));
  const auto whiten = [&](const float* column) {
    std::transform(column, column + values.size(), job.scale, values.begin(),
                   [](float value, float scale) { return value / scale; });
    return values.data();
  };
  if (plan.filled() > 0) {
    plan.apply(whiten(job.y), job.yPruned);
    for (std::ptrdiff_t j = 0; j < job.nCols; ++j) {
      plan.apply(whiten(job.k + j * job.ldPoints), columnOf(job.kPruned, job, j));
    }
  }
  fillWithNone(job, plan.filled(), count);
}

}  // namespace vorin::reduce
