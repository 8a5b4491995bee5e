#include "toolkit/inverting/problem.hpp"

#include <vorin.h>

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <utility>

#include "entry/compressed_driver.hpp"
#include "entry/compressed_settings.hpp"
#include "entry/driver.hpp"
#include "entry/driver_plan.hpp"
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

}  // namespace

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
      K_(settings.matrix ? settings.matrix
                         : std::make_shared<const std::vector<float>>(
                               kernelMatrix(settings.kernel, decay.time, settings.grid))),
      T_(pruningAbscissae(decay.time)),
      amplitude_(decay.amplitude),
      Y_(toSingle(decay.amplitude, scale_)),
      G_(toSingle(settings.grid)),
      columns_(G_.size()) {}

Problem Problem::withAmplitudes(const std::vector<double>& amplitude) const {
  Problem result = *this;
  result.scale_ = largestMagnitude(amplitude);
  result.amplitude_ = amplitude;
  result.Y_ = toSingle(amplitude, result.scale_);
  return result;
}

Problem Problem::within(std::size_t first, std::size_t last) const {
  Problem result = *this;
  result.firstColumn_ = first;
  result.columns_ = last - first + 1;
  result.plan_.reset();
  return result;
}

Problem Problem::without(const std::vector<std::size_t>& left) const {
  Problem result = *this;
  if (left.empty()) {
    return result;
  }
  const std::size_t rows = Y_.size();
  result.plan_.reset();
  result.K_ = std::make_shared<const std::vector<float>>(withoutRows(*K_, rows, left));
  result.T_ = withoutRows(T_, rows, left);
  result.amplitude_ = withoutRows(amplitude_, rows, left);
  result.scale_ = largestMagnitude(result.amplitude_);  // an outlier may have been the largest
  result.Y_ = toSingle(result.amplitude_, result.scale_);
  return result;
}

std::vector<double> Problem::fitOf(const std::vector<double>& F) const {
  std::vector<double> fit(Y_.size());
  for (std::size_t column = 0; column < F.size(); ++column) {
    if (F[column] == 0.0) {
      continue;
    }
    for (std::size_t i = 0; i < fit.size(); ++i) {
      fit[i] += static_cast<double>((*K_)[column * fit.size() + i]) * F[column];
    }
  }
  return fit;
}

Problem Problem::planned() const {
  Problem result = *this;
  if (!compressed_ && !plan_) {
    result.plan_ =
        std::make_shared<const PlannedKernel>(K_, T_, firstColumn_ * Y_.size(), columns_);
  }
  return result;
}

Solution Problem::solve(const std::vector<float>& Y) const {
  return plan_ ? solvePlanned(Y, true) : solveAlone(Y);
}

Solution Problem::solveWithoutFit(const std::vector<float>& Y) const {
  return plan_ ? solvePlanned(Y, false) : solveAlone(Y);
}

Solution Problem::solvePlanned(const std::vector<float>& Y, bool withFit) const {
  Solution result;
  result.F.resize(G_.size());
  result.FIT.resize(withFit ? Y.size() : 0);
  plan_->driver.invert(Y.data(), result.F.data() + firstColumn_,
                       withFit ? result.FIT.data() : nullptr, result.status);
  return result;
}

Solution Problem::solveAlone(const std::vector<float>& Y) const {
  const auto nf = static_cast<std::int32_t>(Y.size());
  const auto ng = static_cast<std::int32_t>(columns_);
  Solution result;
  result.F.resize(G_.size());
  result.FIT.resize(Y.size());
  std::vector<float> W(Y.size());
  const auto driver = compressed_ ? &VorinyC5_s : &Voriny_s;
  driver(nf, ng, &nf, &ng, K_->data() + firstColumn_ * Y.size(), T_.data(), Y.data(), W.data(),
         G_.data() + firstColumn_, result.F.data() + firstColumn_, result.FIT.data(),
         &result.status);
  for (std::size_t i = 0; i < W.size(); ++i) {
    if (W[i] > 1.0F) {
      result.rejected.push_back(i);
    }
  }
  return result;
}

ReducedProblem Problem::reduced(const std::vector<std::size_t>& rejected) const {
  std::vector<float> W(Y_.size(), 1.0F);
  for (const std::size_t i : rejected) {
    W[i] = entry::outlierScale;
  }
  return reductionOf(Y_, W, static_cast<std::int32_t>(columns_));
}

std::vector<double> Problem::reducedData(const std::vector<float>& data) const {
  // The bins follow from the times alone: with one column of the kernel they are the same.
  return reductionOf(data, std::vector<float>(data.size(), 1.0F), 1).d;
}

ReducedProblem Problem::reductionOf(const std::vector<float>& Y, std::vector<float> W,
                                    std::int32_t ng) const {
  const auto nf = static_cast<std::int32_t>(Y.size());
  const entry::Inversion job{nf,        ng,       K_->data() + firstColumn_ * Y.size(),
                             T_.data(), Y.data(), W.data()};
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
