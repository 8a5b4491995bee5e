// A decay and its kernel as the library takes them, and the calls that invert them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/kernel_source.hpp"
#include "toolkit/model/decay.hpp"

namespace vorin::toolkit {

/// What one call of the library returns, in the library's unit: data of magnitude 1.
struct Solution {
  std::vector<float> F;               ///< distribution
  std::vector<float> FIT;             ///< at the times of the decay
  std::int32_t status = 0;            ///< as vorin.h lists it
  std::vector<std::size_t> rejected;  ///< samples that the library took for outliers, rising
};

/// The problem that the library solves once it has pruned and compressed the samples.
struct ReducedProblem {
  std::int32_t rows = 0;
  std::int32_t columns = 0;
  std::vector<double> K;  ///< kernel, rows x columns, column-major
  std::vector<double> d;  ///< data, rows
  /// Rows that the data have had: more than `rows` where those were condensed.
  std::int32_t observed = 0;
};

/// The abscissae on which the library prunes: the times themselves, unless the
/// first is 0, where logarithmic bins have no lower end. Then all are shifted by
/// the first spacing, so that the sample at 0 stands where an evenly spaced decay
/// would have its first sample. The kernel keeps the true times.
std::vector<float> pruningAbscissae(const std::vector<double>& times);

/// What planned() shares.
struct PlannedKernel;

/// The arrays of forOneThread().
struct PlannedArrays;

/// The bins of a kernel that is not kept as a matrix, which the problems of its samples share.
class PrunedKernel;

class Problem {
 public:
  Problem(const Decay& decay, const InversionSettings& settings);

  /// The problem of all samples but those whose numbers, rising, are `left`.
  Problem without(const std::vector<std::size_t>& left) const;

  /// The largest magnitude of the amplitudes. The library compares its convergence
  /// tolerance with absolute numbers, and works in single precision; data divided by
  /// this make the outcome independent of the instrument's unit.
  double scale() const { return scale_; }

  /// The amplitudes divided by the scale.
  const std::vector<float>& data() const { return Y_; }

  /// The same times and kernel with the amplitudes of another decay.
  Problem withAmplitudes(const std::vector<double>& amplitude) const;

  /// Becomes that problem.
  void takeAmplitudes(const std::vector<double>& amplitude);

  /// The problem whose distribution is 0 outside the grid's elements first .. last. Only
  /// solve() and reduced() know of it, and reduced() has the columns inside alone.
  Problem within(std::size_t first, std::size_t last) const;

  /// The same problem for many data vectors, on any number of threads: what they share is formed
  /// once and kept by all copies of the result. The keys that say how samples are pruned must
  /// stay as they are now. A problem that is compressed stays as it is.
  Problem planned() const;

  /// The same problem for one thread, whose solves use the same arrays again and again. Its copies
  /// share them.
  Problem forOneThread() const;

  /// Inverts `Y` (as data(), and as long) with the keys as they stand in the store.
  Solution solve(const std::vector<float>& Y) const;

  /// The same without the fit, which takes a pass over the kernel.
  Solution solveWithoutFit(const std::vector<float>& Y) const;

  /// The kernel times `F`, at the samples of this problem, in the unit of F.
  std::vector<double> fitOf(const std::vector<double>& F) const;

  /// What solve(data()) passes to its weight search with the keys as they are, to the last
  /// bit: the driver's own reduction. `rejected` are the library's outliers.
  ReducedProblem reduced(const std::vector<std::size_t>& rejected = {}) const;

  /// The d of reduced() for other amplitudes, in the unit of data(); not for compressed rows.
  std::vector<double> reducedData(const std::vector<float>& data) const;

  /// The kernel, samples x grid.
  const KernelSource& kernel() const { return kernel_; }

 private:
  void shareBins();
  ReducedProblem reductionOf(const std::vector<float>& Y, std::vector<float> W,
                             std::int32_t ng) const;
  Solution solveAlone(const std::vector<float>& Y) const;
  Solution solvePlanned(const std::vector<float>& Y, bool withFit) const;
  Solution solveBins(const std::vector<float>& Y) const;

  double scale_ = 1.0;
  bool compressed_;  ///< by VorinyC5_s in place of Voriny_s
  KernelSource kernel_;
  std::vector<float> T_;           ///< abscissae for the pruning
  std::vector<double> amplitude_;  ///< in the unit of the data
  std::vector<float> Y_;           ///< scaled amplitudes
  std::vector<float> G_;           ///< grid times
  std::size_t firstColumn_ = 0;    ///< of the grid, for solve() and reduced()
  std::size_t columns_ = 0;
  std::shared_ptr<const PlannedKernel> plan_;  ///< of these samples and columns; null: none
  std::shared_ptr<PlannedArrays> arrays_;      ///< on that plan; null: those of a solve are its own
  std::shared_ptr<PrunedKernel> bins_;         ///< where the kernel is no matrix
};

}  // namespace vorin::toolkit
