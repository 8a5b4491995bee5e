#include "toolkit/inverting/problem.hpp"

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <mutex>
#include <optional>
#include <utility>

#include "brd/problem.hpp"
#include "entry/compressed_driver.hpp"
#include "entry/compressed_settings.hpp"
#include "entry/driver.hpp"
#include "entry/driver_plan.hpp"
#include "reduce/prune_plan.hpp"
#include "reduce/reduction.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/matrix.hpp"

namespace vorin::toolkit {

namespace {

std::vector<float> toSingle(const std::vector<double>& values, double divisor = 1.0) {
  std::vector<float> result(values.size());
  std::transform(values.begin(), values.end(), result.begin(),
                 [&](double value) { return static_cast<float>(value / divisor); });
  return result;
}

/// The library's own drivers take a matrix: for a log of theirs, compressed rows, samples as they
/// are, and keys of which this side does not know.
bool takesMatrix(const InversionSettings& settings, bool compressed) {
  return compressed || settings.pruning == "NONE" || !settings.logFile.empty() ||
         !settings.assignments.empty() || settings.kernel == Kernel::matrix ||
         settings.kernel == Kernel::t2Epg;
}

KernelSource sourceFor(const Decay& decay, const InversionSettings& settings, bool compressed) {
  if (takesMatrix(settings, compressed)) {
    return KernelSource::asMatrix(settings.matrix, settings.kernel, decay.time, settings.grid);
  }
  return {settings.matrix, settings.kernel, decay.time, settings.grid};
}

}  // namespace

/// The bins of samples and the kernel's rows in them, formed when they are first asked for, by the
/// keys as they then are. Any number of threads may ask.
class PrunedKernel {
 public:
  PrunedKernel(KernelSource kernel, std::vector<float> abscissae)
      : source_(std::move(kernel)), T_(std::move(abscissae)) {}

  int rows() const {
    form();
    return plan_->count();
  }
  const float* kernel() const {
    form();
    return kernel_.data();
  }
  /// The rows of the data Y.
  std::vector<float> rowsOf(const std::vector<float>& Y) const {
    form();
    std::vector<float> d(static_cast<std::size_t>(plan_->count()));
    plan_->apply(Y.data(), d.data());
    return d;
  }

 private:
  void form() const {
    std::call_once(formed_, [this] {
      const auto samples = static_cast<std::int32_t>(T_.size());
      const auto columns = static_cast<std::int32_t>(source_.columns());
      entry::Inversion job;
      job.nf = samples;
      job.ng = columns;
      job.T = T_.data();
      plan_.emplace(reduce::pruneRequest(entry::plainReduction(job)));
      const std::size_t rows = static_cast<std::size_t>(plan_->count());
      kernel_.resize(rows * source_.columns());
      std::vector<float> buffer;
      for (std::size_t j = 0; j < source_.columns(); ++j) {
        plan_->apply(1, source_.columnsFrom(j, 1, buffer), samples, kernel_.data() + j * rows,
                     plan_->count());
      }
    });
  }

  KernelSource source_;
  std::vector<float> T_;
  mutable std::once_flag formed_;
  mutable std::optional<reduce::PrunePlan> plan_;
  mutable std::vector<float> kernel_;  ///< rows x grid, column-major
};

struct PlannedKernel {
  /// The columns of K from element `offset` on.
  PlannedKernel(std::shared_ptr<const std::vector<float>> matrix, std::vector<float> abscissae,
                std::size_t offset, std::size_t columns)
      : K(std::move(matrix)),
        T(std::move(abscissae)),
        driver(static_cast<int>(T.size()), static_cast<int>(columns), K->data() + offset,
               T.data()) {}

  std::shared_ptr<const std::vector<float>> K;
  std::vector<float> T;
  entry::DriverPlan driver;
};

struct PlannedArrays {
  explicit PlannedArrays(const PlannedKernel& plan) : solver(plan.driver) {}
  entry::DriverPlan::Solver solver;
};

std::vector<float> pruningAbscissae(const std::vector<double>& times) {
  std::vector<double> abscissae = times;
  if (abscissae.front() < static_cast<double>(FLT_MIN)) {
    // A spacing that is nothing beside the whole would leave all bins near 0.
    constexpr double leastShift = 1e-6;
    const double shift = std::max(times.at(1) - times.front(), leastShift * times.back());
    for (double& abscissa : abscissae) {
      abscissa += shift;
    }
  }
  return toSingle(abscissae);
}

Problem::Problem(const Decay& decay, const InversionSettings& settings)
    : scale_(largestMagnitude(decay.amplitude)),
      compressed_(settings.compression.has_value() || rejectsInLibrary(settings)),
      kernel_(sourceFor(decay, settings, compressed_)),
      T_(pruningAbscissae(decay.time)),
      amplitude_(decay.amplitude),
      Y_(toSingle(decay.amplitude, scale_)),
      G_(toSingle(settings.grid)),
      columns_(G_.size()) {
  shareBins();
}

void Problem::shareBins() {
  bins_ = kernel_.matrix() ? nullptr : std::make_shared<PrunedKernel>(kernel_, T_);
}

Problem Problem::withAmplitudes(const std::vector<double>& amplitude) const {
  Problem result = *this;
  result.takeAmplitudes(amplitude);
  return result;
}

void Problem::takeAmplitudes(const std::vector<double>& amplitude) {
  scale_ = largestMagnitude(amplitude);
  amplitude_ = amplitude;
  std::transform(amplitude.begin(), amplitude.end(), Y_.begin(),
                 [this](double value) { return static_cast<float>(value / scale_); });
}

Problem Problem::within(std::size_t first, std::size_t last) const {
  Problem result = *this;
  result.firstColumn_ = first;
  result.columns_ = last - first + 1;
  result.plan_.reset();
  result.arrays_.reset();
  return result;
}

Problem Problem::without(const std::vector<std::size_t>& left) const {
  Problem result = *this;
  if (left.empty()) {
    return result;
  }
  const std::size_t rows = Y_.size();
  result.plan_.reset();
  result.arrays_.reset();
  result.kernel_ = kernel_.without(left);
  result.T_ = withoutRows(T_, rows, left);
  result.shareBins();
  result.amplitude_ = withoutRows(amplitude_, rows, left);
  result.scale_ = largestMagnitude(result.amplitude_);  // an outlier may have been the largest
  result.Y_ = toSingle(result.amplitude_, result.scale_);
  return result;
}

std::vector<double> Problem::fitOf(const std::vector<double>& F) const {
  std::vector<double> fit(Y_.size());
  std::vector<float> buffer;
  for (std::size_t column = 0; column < F.size(); ++column) {
    if (F[column] == 0.0) {
      continue;
    }
    const float* const values = kernel_.columnsFrom(column, 1, buffer);
    for (std::size_t i = 0; i < fit.size(); ++i) {
      fit[i] += static_cast<double>(values[i]) * F[column];
    }
  }
  return fit;
}

Problem Problem::planned() const {
  Problem result = *this;
  if (!compressed_ && !plan_ && !bins_) {
    result.plan_ = std::make_shared<const PlannedKernel>(kernel_.matrix(), T_,
                                                         firstColumn_ * Y_.size(), columns_);
  }
  return result;
}

Problem Problem::forOneThread() const {
  Problem result = *this;
  result.arrays_ = plan_ ? std::make_shared<PlannedArrays>(*plan_) : nullptr;
  return result;
}

Solution Problem::solve(const std::vector<float>& Y) const {
  if (!bins_) {
    return plan_ ? solvePlanned(Y, true) : solveAlone(Y);
  }
  Solution result = solveBins(Y);
  const std::vector<double> fit = fitOf({result.F.begin(), result.F.end()});
  result.FIT.assign(fit.begin(), fit.end());
  return result;
}

Solution Problem::solveWithoutFit(const std::vector<float>& Y) const {
  if (bins_) {
    return solveBins(Y);
  }
  return plan_ ? solvePlanned(Y, false) : solveAlone(Y);
}

Solution Problem::solveBins(const std::vector<float>& Y) const {
  Solution result;
  result.F.resize(G_.size());
  const std::vector<float> d = bins_->rowsOf(Y);
  const brd::ProblemKernel<float> kernel(bins_->rows(), static_cast<int>(columns_),
                                         bins_->kernel() + firstColumn_ * d.size());
  entry::invertReduced(kernel, true, d.data(), result.F.data() + firstColumn_, result.status);
  return result;
}

Solution Problem::solvePlanned(const std::vector<float>& Y, bool withFit) const {
  Solution result;
  result.F.resize(G_.size());
  result.FIT.resize(withFit ? Y.size() : 0);
  float* const F = result.F.data() + firstColumn_;
  float* const FIT = withFit ? result.FIT.data() : nullptr;
  if (arrays_) {
    arrays_->solver.invert(Y.data(), F, FIT, result.status);
  } else {
    plan_->driver.invert(Y.data(), F, FIT, result.status);
  }
  return result;
}

Solution Problem::solveAlone(const std::vector<float>& Y) const {
  const auto nf = static_cast<std::int32_t>(Y.size());
  const auto ng = static_cast<std::int32_t>(columns_);
  Solution result;
  result.F.resize(G_.size());
  result.FIT.resize(Y.size());
  std::vector<float> W(Y.size());
  // Not by the exports: memory that is refused inside them ends the process.
  const entry::Inversion job{nf,
                             ng,
                             kernel_.matrix()->data() + firstColumn_ * Y.size(),
                             T_.data(),
                             Y.data(),
                             W.data(),
                             G_.data() + firstColumn_,
                             result.F.data() + firstColumn_,
                             result.FIT.data()};
  if (compressed_) {
    entry::invertCompressed(entry::variantC5, job, result.status);
  } else {
    entry::invert(job, result.status);
  }
  for (std::size_t i = 0; i < W.size(); ++i) {
    if (W[i] > 1.0F) {
      result.rejected.push_back(i);
    }
  }
  return result;
}

ReducedProblem Problem::reduced(const std::vector<std::size_t>& rejected) const {
  if (bins_) {
    const std::vector<float> d = bins_->rowsOf(Y_);
    const float* const first = bins_->kernel() + firstColumn_ * d.size();
    const auto rows = static_cast<std::int32_t>(d.size());
    return {rows,
            static_cast<std::int32_t>(columns_),
            {first, first + columns_ * d.size()},
            {d.begin(), d.end()},
            rows};
  }
  std::vector<float> W(Y_.size(), 1.0F);
  for (const std::size_t i : rejected) {
    W[i] = entry::outlierScale;
  }
  return reductionOf(Y_, W, static_cast<std::int32_t>(columns_));
}

std::vector<double> Problem::reducedData(const std::vector<float>& data) const {
  if (bins_) {
    const std::vector<float> d = bins_->rowsOf(data);
    return {d.begin(), d.end()};
  }
  // The bins follow from the times alone: with one column of the kernel they are the same.
  return reductionOf(data, std::vector<float>(data.size(), 1.0F), 1).d;
}

ReducedProblem Problem::reductionOf(const std::vector<float>& Y, std::vector<float> W,
                                    std::int32_t ng) const {
  const auto nf = static_cast<std::int32_t>(Y.size());
  const entry::Inversion job{
      nf, ng, kernel_.matrix()->data() + firstColumn_ * Y.size(), T_.data(), Y.data(), W.data()};
  const reduce::Reduction reduction =
      compressed_ ? entry::compressedReduction(entry::variantC5, job) : entry::plainReduction(job);
  reduce::WorkArrays arrays;
  const reduce::ReducedProblem reduced = reduce::reduceContiguously(reduction, arrays);
  const std::ptrdiff_t rows{reduced.rows};
  return {reduced.rows,
          ng,
          {reduced.K, reduced.K + rows * ng},
          {reduced.d, reduced.d + rows},
          reduced.rows};
}

}  // namespace vorin::toolkit
