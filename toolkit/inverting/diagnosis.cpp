#include "toolkit/inverting/diagnosis.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "toolkit/model/noise.hpp"

namespace vorin::toolkit {

namespace {

/// By how many variances of its residual an alternative must fit better.
constexpr double clearlyBetterRatio = 30.0;

/// `data` reduced as those of the input are, without the first `spoiled` rows.
std::vector<double> reducedLike(const ChoiceInput& input, const std::vector<float>& data,
                                std::size_t spoiled) {
  std::vector<double> d = input.problem.withData(data).reduced().d;
  d.erase(d.begin(), d.begin() + static_cast<std::ptrdiff_t>(spoiled));
  return d;
}

void appendColumn(ReducedProblem& problem, const std::vector<double>& column, double factor) {
  for (double value : column) {
    problem.K.push_back(factor * value);
  }
  ++problem.columns;
}

/// The kernel `to` made of `from`, both linear in exp(-t/T): with E that and 1 the constant.
ReducedProblem otherKernel(const ReducedProblem& problem, const std::vector<double>& ones,
                           Kernel from, Kernel to) {
  // kernel = a + b E
  const auto constant = [](Kernel kernel) { return kernel == Kernel::t2 ? 0.0 : 1.0; };
  const auto slope = [](Kernel kernel) {
    return kernel == Kernel::t2 ? 1.0 : kernel == Kernel::t1Saturation ? -1.0 : -2.0;
  };
  const double factor = slope(to) / slope(from);
  const double shift = constant(to) - factor * constant(from);
  ReducedProblem result = problem;
  const std::size_t rows = ones.size();
  for (std::size_t at = 0; at < result.K.size(); ++at) {
    result.K[at] = factor * result.K[at] + shift * ones[at % rows];
  }
  return result;
}

/// Something else that the data may be, and how well it fits.
struct Alternative {
  Finding finding;
  ClosestFit fit;
};

class Alternatives {
 public:
  Alternatives(const ChoiceInput& input, const ReducedProblem& whole, ColumnRange range,
               std::size_t spoiled)
      : input_(input),
        whole_(whole),
        range_(range),
        spoiled_(spoiled),
        own_(closestFit(columnsOf(whole, range))) {}

  /// The best of all that are clearly better, or none.
  Finding best() {
    addOtherSign();
    addOtherKernels();
    addMagnitude();
    const Finding* found = nullptr;
    double rss = own_.rss;
    for (const Alternative& each : list_) {
      if (clearlyBetter(each.fit) && each.fit.rss < farBetter * own_.rss && each.fit.rss < rss) {
        found = &each.finding;
        rss = each.fit.rss;
      }
    }
    const Alternative constant = withConstant();
    // A constant and a wrong kernel can make up for each other: it must be far better then.
    const double limit = found == nullptr ? own_.rss : farBetter * rss;
    if (!input_.offsetKnown && clearlyBetter(constant.fit) && constant.fit.rss < limit) {
      return constant.finding;
    }
    return found == nullptr ? Finding{} : *found;
  }

  const ClosestFit& own() const { return own_; }

 private:
  static constexpr double farBetter = 0.5;

  bool clearlyBetter(const ClosestFit& fit) const {
    const double left = static_cast<double>(whole_.rows) - fit.positive;
    constexpr double roundingLevel = 1e-12;  // squared, of data of magnitude 1
    return left >= 2.0 &&
           own_.rss - fit.rss > clearlyBetterRatio * std::max(fit.rss / left, roundingLevel);
  }

  void addOtherSign() {
    ReducedProblem other = columnsOf(whole_, range_);
    for (double& value : other.d) {
      value = -value;
    }
    list_.push_back({{FindingKind::negative}, closestFit(other)});
  }

  void addOtherKernels() {
    if (input_.kernel == Kernel::matrix || input_.kernel == Kernel::diffusion) {
      return;
    }
    for (const Kernel kernel : {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion}) {
      if (kernel != input_.kernel) {
        const ReducedProblem other =
            otherKernel(columnsOf(whole_, range_), ones(), input_.kernel, kernel);
        list_.push_back({{FindingKind::otherKernel, kernel}, closestFit(other)});
      }
    }
  }

  /// An inversion recovery whose first samples have lost their sign: up to the least or to one
  /// beside it.
  void addMagnitude() {
    if (input_.kernel != Kernel::t1Inversion) {
      return;
    }
    const std::vector<float>& data = input_.problem.data();
    const auto least = static_cast<std::size_t>(
        std::min_element(data.begin(), data.end(),
                         [](float a, float b) { return std::fabs(a) < std::fabs(b); }) -
        data.begin());
    for (std::size_t count = least > 0 ? least - 1 : 0; count <= least + 2; ++count) {
      if (count == 0 || count >= data.size()) {
        continue;
      }
      std::vector<float> flipped = data;
      std::transform(flipped.begin(), flipped.begin() + static_cast<std::ptrdiff_t>(count),
                     flipped.begin(), [](float value) { return -value; });
      ReducedProblem other = columnsOf(whole_, range_);
      other.d = reducedLike(input_, flipped, spoiled_);
      list_.push_back({{FindingKind::magnitude, Kernel::t2, 0.0, count}, closestFit(other)});
    }
  }

  Alternative withConstant() {
    // An incomplete inversion leaves a constant above 0 beside the curve of a complete one.
    const bool inversion = input_.kernel == Kernel::t1Inversion;
    const ConstantFit fit = fitWithConstant(input_, whole_, range_, spoiled_, true);
    const double efficiency = (fit.total - fit.offset) / (fit.total + fit.offset);
    if (inversion && fit.offset > 0.0 && efficiency > 0.0) {
      return {{FindingKind::efficiency, Kernel::t2, efficiency}, fit.fit};
    }
    return {{FindingKind::offset, Kernel::t2, fit.offset}, fit.fit};
  }

  const std::vector<double>& ones() {
    if (ones_.empty()) {
      ones_ = reducedLike(input_, std::vector<float>(input_.problem.data().size(), 1.0F), spoiled_);
    }
    return ones_;
  }

  const ChoiceInput& input_;
  const ReducedProblem& whole_;
  ColumnRange range_;
  std::size_t spoiled_;
  ClosestFit own_;
  std::vector<double> ones_;
  std::vector<Alternative> list_;
};

/// How far the residual is from changing at random from row to row, in standard deviations.
double neighbourCorrelation(const std::vector<double>& residual) {
  double squares = 0.0;
  double steps = 0.0;
  for (std::size_t i = 0; i < residual.size(); ++i) {
    squares += residual[i] * residual[i];
    if (i > 0) {
      steps += (residual[i] - residual[i - 1]) * (residual[i] - residual[i - 1]);
    }
  }
  return squares > 0.0
             ? (1.0 - 0.5 * steps / squares) * std::sqrt(static_cast<double>(residual.size()))
             : 0.0;
}

}  // namespace

ConstantFit fitWithConstant(const ChoiceInput& input, const ReducedProblem& reduced,
                            ColumnRange range, std::size_t spoiled, bool eitherSign) {
  ReducedProblem problem = columnsOf(reduced, range);
  const std::vector<double> ones =
      reducedLike(input, std::vector<float>(input.problem.data().size(), 1.0F), spoiled);
  appendColumn(problem, ones, 1.0);
  if (eitherSign) {
    appendColumn(problem, ones, -1.0);
  }
  ConstantFit result;
  result.fit = closestFit(problem);
  const std::vector<double>& f = result.fit.f;
  result.offset = f[range.count()] - (eitherSign ? f[range.count() + 1] : 0.0);
  result.total =
      std::accumulate(f.begin(), f.begin() + static_cast<std::ptrdiff_t>(range.count()), 0.0);
  return result;
}

Finding diagnose(const ChoiceInput& input, const ReducedProblem& reduced, ColumnRange range,
                 std::size_t spoiled, double residualNoise) {
  if (input.compressed) {
    return {};
  }
  Alternatives alternatives(input, reduced, range, spoiled);
  const Finding found = alternatives.best();
  if (found.kind != FindingKind::none) {
    return found;
  }
  constexpr double leastCorrelation = 6.0;
  constexpr double farAbove = 1.5;  // of the noise by differences
  const ClosestFit& own = alternatives.own();
  std::vector<double> amplitude(input.problem.data().begin(), input.problem.data().end());
  const std::optional<double> differences = differenceNoise({input.time, amplitude});
  if (differences && neighbourCorrelation(own.residual) > leastCorrelation &&
      residualNoise > farAbove * *differences) {
    return {FindingKind::structure};
  }
  return {};
}

}  // namespace vorin::toolkit
