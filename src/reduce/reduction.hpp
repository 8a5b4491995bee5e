// The reduction of a problem to few rows before its repeated solves: pruning of the samples,
// SVD compression of the kernel, or the one after the other. The drivers of an inversion and
// the export that reduces without an inversion share it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reduce/prune_plan.hpp"

namespace vorin::reduce {

/// Where a compression that decomposes the kernel keeps its factors.
enum class FactorStorage {
  keptArrays,  ///< arrays of the library, which stay allocated while the shape holds
  scratch      ///< scratch of the destination
};

/// A problem and how to reduce it.
struct Reduction {
  int points = 0;                ///< samples
  int columns = 0;               ///< columns of K
  int ldK = 0;                   ///< leading dimension of K
  int capacityPoints = 0;        ///< elements of t, at least `points`
  const float* K = nullptr;      ///< points x columns, column-major
  const float* d = nullptr;      ///< points, data
  const float* t = nullptr;      ///< positions of the samples, rising
  const float* scale = nullptr;  ///< points, scale of each sample
  int capacity = 0;              ///< most rows of the result

  int mode = 0;        ///< a PruneMode; below 1 no pruning
  int firstPoint = 1;  ///< 1-based index of the point at which the bins begin
  int target = 0;      ///< requested count of pruned rows

  int mostRows = 0;        ///< rows that a compression keeps at most; below 1 no compression
  float threshold = 0.0f;  ///< singular values up to this share of the largest are dropped
  FactorStorage factors = FactorStorage::keptArrays;
  bool rowSignsMatter = true;  ///< false allows the decomposition of the kernel's triangular
                               ///< factor, which is faster and may turn the signs of rows

  bool prunes() const { return mode >= 1; }
  bool compresses() const { return mostRows >= 1; }
};

/// Storage of a reduced problem: the kernel with leading dimension ld, and `rows` data. With
/// 0 rows nothing is written.
struct ReducedStorage {
  float* K = nullptr;
  float* d = nullptr;
  int ld = 0;
  int rows = 0;
};

/// Who provides that storage. What it provided stays valid until it is asked again.
class Destination {
 public:
  /// Storage of at least `rows` rows by `columns` columns where the destination can grow.
  virtual ReducedStorage reserve(int rows, int columns) = 0;
  /// Scratch of `count` elements for a decomposition.
  virtual float* scratch(std::size_t count) = 0;

 protected:
  Destination() = default;
  ~Destination() = default;
};

/// Storage that grows with the problem and is reused by the next one.
class WorkArrays final : public Destination {
 public:
  ReducedStorage reserve(int rows, int columns) override;
  float* scratch(std::size_t count) override;

 private:
  static void grow(std::vector<float>& array, std::size_t count);

  std::vector<float> kernel_;
  std::vector<float> data_;
  std::vector<float> scratch_;
};

/// Arrays of a host, of a fixed number of rows, which is also the leading dimension.
class HostArrays final : public Destination {
 public:
  HostArrays(float* K, float* d, int rows) : storage_{K, d, rows, rows} {}
  ReducedStorage reserve(int /*rows*/, int /*columns*/) override { return storage_; }
  float* scratch(std::size_t count) override;

 private:
  ReducedStorage storage_;
  std::vector<float> scratch_;
};

/// The result: `rows` of K with leading dimension ld, and their data. Where nothing reduced
/// the problem these are the caller's own arrays, else the destination's.
struct ReducedProblem {
  int rows = 0;
  int ld = 0;
  const float* K = nullptr;
  const float* d = nullptr;
  std::int32_t status = 0;  ///< a CompressionStatus. A refused compression leaves the
                            ///< problem as pruning left it.
};

/// The request for the bins of a problem that is pruned.
PruneRequest pruneRequest(const Reduction& job);

ReducedProblem reduceProblem(const Reduction& job, Destination& destination);

/// The same with contiguous columns (ld = rows), as the weight driver requires.
ReducedProblem reduceContiguously(const Reduction& job, WorkArrays& arrays);

}  // namespace vorin::reduce
