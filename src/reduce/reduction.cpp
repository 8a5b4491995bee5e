#include "reduce/reduction.hpp"

#include <algorithm>
#include <cstddef>

#include "reduce/svd_compression.hpp"
#include "toolbox/extent.hpp"

namespace vorin::reduce {
namespace {

// Elements of the drivers' scratch beyond what the factors take.
constexpr std::size_t scratchSpare = 10;

// The steps on one problem, with the storage that its result is written to.
class Reducer {
 public:
  Reducer(const Reduction& job, Destination& destination)
      : job_(job), destination_(destination), problem_{job.points, job.ldK, job.K, job.d} {}

  void run() {
    if (job_.prunes()) {
      prune();
    }
    if (job_.compresses()) {
      compress();
    }
  }

  const ReducedProblem& problem() const { return problem_; }

  /// Moves the columns of a reduced problem towards the front, so that ld = rows.
  void makeContiguous() {
    if (problem_.K != storage_.K || problem_.rows == problem_.ld) {
      return;
    }
    for (std::ptrdiff_t j = 1; j < job_.columns; ++j) {
      const float* const column = storage_.K + j * problem_.ld;
      std::copy(column, column + problem_.rows, storage_.K + j * problem_.rows);
    }
    problem_.ld = problem_.rows;
  }

 private:
  void prune() {
    const PrunePlan plan(pruneRequest(job_));
    // A compression that follows works in place and leaves up to `columns` rows.
    storage_ = destination_.reserve(
        job_.compresses() ? std::max(plan.count(), job_.columns) : plan.count(), job_.columns);
    if (storage_.rows > 0) {
      plan.apply(job_.d, storage_.d);
      plan.apply(job_.columns, job_.K, job_.ldK, storage_.K, storage_.ld);
    }
    deliver(plan.count());
  }

  void compress() {
    if (job_.mostRows > job_.capacity) {
      problem_.status = rowsAboveCapacity;
      return;
    }
    if (!job_.prunes()) {
      // A compression keeps at least one row, also of a grid without points.
      storage_ = destination_.reserve(std::max(job_.columns, 1), job_.columns);
    }
    Compression step;
    step.m = problem_.rows;
    step.n = job_.columns;
    step.ldK = problem_.ld;
    step.ldC = storage_.ld;
    step.K = problem_.K;
    step.d = problem_.d;
    step.threshold = job_.threshold;
    step.mostRows = std::min(job_.mostRows, job_.columns);
    step.Kc = storage_.K;
    step.dc = storage_.d;
    step.dcLength = std::min(job_.columns, storage_.rows);
    std::int32_t count = problem_.rows;
    if (!job_.rowSignsMatter && compressWithoutFactors(step, count, problem_.status)) {
      // Done by way of the triangular factor.
    } else if (job_.factors == FactorStorage::keptArrays) {
      compressInKeptArrays(step, count, problem_.status);
    } else {
      const std::size_t needed =
          length(step.n) * (length(step.m) + 1 + length(step.n)) + scratchSpare;
      compressInScratch(decomposeMode, step, destination_.scratch(needed),
                        static_cast<std::int64_t>(needed), count, problem_.status);
    }
    deliver(count);
  }

  void deliver(int rows) {
    problem_.rows = rows;
    problem_.ld = storage_.ld;
    problem_.K = storage_.K;
    problem_.d = storage_.d;
  }

  const Reduction& job_;
  Destination& destination_;
  ReducedStorage storage_;
  ReducedProblem problem_;
};

}  // namespace

void WorkArrays::grow(std::vector<float>& array, std::size_t count) {
  if (array.size() < count) {
    array = std::vector<float>(count);
  }
}

ReducedStorage WorkArrays::reserve(int rows, int columns) {
  grow(kernel_, area(rows, columns));
  grow(data_, length(rows));
  return {kernel_.data(), data_.data(), rows, rows};
}

float* WorkArrays::scratch(std::size_t count) {
  grow(scratch_, count);
  return scratch_.data();
}

float* HostArrays::scratch(std::size_t count) {
  scratch_.resize(std::max(scratch_.size(), count));
  return scratch_.data();
}

PruneRequest pruneRequest(const Reduction& job) {
  PruneRequest request;
  request.points = job.points;
  request.capacityPoints = job.capacityPoints;
  request.maxBins = job.capacity;
  request.t = job.t;
  request.scale = job.scale;
  request.firstPoint = job.firstPoint;
  request.target = job.target;
  request.mode = job.mode;
  return request;
}

ReducedProblem reduceProblem(const Reduction& job, Destination& destination) {
  Reducer reducer(job, destination);
  reducer.run();
  return reducer.problem();
}

ReducedProblem reduceContiguously(const Reduction& job, WorkArrays& arrays) {
  Reducer reducer(job, arrays);
  reducer.run();
  reducer.makeContiguous();
  return reducer.problem();
}

}  // namespace vorin::reduce
