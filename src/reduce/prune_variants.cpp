#include "reduce/prune_variants.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "reduce/prune_plan.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/views.hpp"

namespace vorin::reduce {
namespace {

constexpr int noBins = 0;

// The third spacing of VorinPruneZ does not exist here.
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

// The pruned kernel, and the map.
ColumnMajorView<float> binsByColumns(float* matrix, const KernelPruning& job) {
  return {matrix, extent(job.maxBins)};
}

// The points that have a column in the map.
int mappedPoints(const KernelPruning& job) {
  return std::min(job.nPoints, job.ldPoints);
}

void clearOutputs(const KernelPruning& job) {
  const std::ptrdiff_t rows = extent(job.maxBins);
  std::fill_n(job.yPruned, rows, 0.0f);
  std::fill_n(job.tMean, rows, 0.0f);
  std::fill_n(job.kPruned, rows * extent(job.nCols), 0.0f);
  std::fill_n(job.binNorm, rows, smallestNorm);
}

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

// VorinPrune2 divides the sums of a row without points by 0, so that all of them are 0/0.
// The scale is never below its least value.
void fillWithNotANumber(const KernelPruning& job, int from, int to) {
  for (int r = from; r < std::min(to, job.maxBins); ++r) {
    job.yPruned[r] = notANumber;
    job.tMean[r] = notANumber;
    for (int j = 0; j < job.nCols; ++j) {
      binsByColumns(job.kPruned, job)(r, j) = notANumber;
    }
    for (int i = 0; i < mappedPoints(job); ++i) {
      binsByColumns(job.P, job)(r, i) = notANumber;
    }
  }
}

// The points whose scale makes 0/v not 0.
std::vector<int> pointsWithoutQuotient(const KernelPruning& job) {
  std::vector<int> found;
  for (int i = 0; i < job.nPoints; ++i) {
    if (job.scale[i] == 0.0f || std::isnan(job.scale[i])) {
      found.push_back(i);
    }
  }
  return found;
}

// The `rows` rows of VorinPrune when no bin holds a point: sums of zero times each value.
void describeEmptyRows(const PrunePlan& plan, const KernelPruning& job, int rows) {
  const float norm = plan.norm(0);
  const float element = 0.0f / norm;
  const auto empty = [&](const float* values) { return plan.emptyRow(values) * element; };
  for (int r = 0; r < rows; ++r) {
    job.binNorm[r] = norm;
    job.yPruned[r] = empty(job.y);
    job.tMean[r] = empty(job.t);
    for (int i = 0; i < mappedPoints(job); ++i) {
      binsByColumns(job.P, job)(r, i) = element;
    }
  }
  const ColumnMajorView<const float> k{job.k, extent(job.ldPoints)};
  for (int j = 0; rows > 0 && j < job.nCols; ++j) {
    std::fill_n(binsByColumns(job.kPruned, job).column(j), rows, empty(k.column(j)));
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
    describeEmptyRows(plan, job, std::min(count, job.maxBins));
    return;
  }
  plan.apply(job.y, job.yPruned);
  plan.apply(job.nCols, job.k, job.ldPoints, job.kPruned, job.maxBins);
  // Positions are divided by the norm a second time, which makes them means when v = 1.
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
  plan.sum(job.t, job.tMean);
  std::vector<float> shares(length(plan.filled()));  // sum of P / v
  for (int r = 0; r < plan.filled(); ++r) {
    const float share = 1.0f / plan.norm(r);
    float points = 0.0f;
    float sum = 0.0f;
    plan.forEachPoint(r, [&](int i) {
      points += 1.0f;
      sum += share / job.scale[i];
    });
    job.tMean[r] /= points;
    shares[static_cast<std::size_t>(r)] = sum;
  }
  plan.spread(pointsWithoutQuotient(job), shares.data());
  for (int r = 0; r < plan.filled(); ++r) {
    const float scale = 1.0f / shares[static_cast<std::size_t>(r)];
    job.binNorm[r] = scale < smallestNorm ? smallestNorm : scale;
  }
  std::vector<float> values(length(job.nPoints));
  const auto whiten = [&](const float* column) {
    std::transform(column, column + values.size(), job.scale, values.begin(),
                   [](float value, float scale) { return value / scale; });
    return values.data();
  };
  if (plan.filled() > 0) {
    const ColumnMajorView<const float> k{job.k, job.ldPoints};
    plan.apply(whiten(job.y), job.yPruned);
    for (std::ptrdiff_t j = 0; j < job.nCols; ++j) {
      plan.apply(whiten(k.column(j)), binsByColumns(job.kPruned, job).column(j));
    }
  }
  fillWithNotANumber(job, plan.filled(), count);
}

}  // namespace vorin::reduce
