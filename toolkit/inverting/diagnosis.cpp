#include "toolkit/inverting/diagnosis.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "toolkit/model/noise.hpp"

namespace vorin::toolkit {

namespace {

/// By how many variances of its residual, which has `left` degrees of freedom, an alternative
/// must fit better: the squared quantile of Student's t for a chance of 1 in 10000 (Abramowitz
/// and Stegun, Handbook of Mathematical Functions, 26.7.5), 15 for many, 36 for ten.
double clearlyBetterBy(double left) {
  constexpr double z = 3.8906;  // of the normal distribution
  const double first = (z * z * z + z) / 4.0;
  const double second = (5.0 * std::pow(z, 5.0) + 16.0 * z * z * z + 3.0 * z) / 96.0;
  const double t = z + first / left + second / (left * left);
  return t * t;
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

/// True for a grid so wide-spaced that what it leaves of a curve may look like anything small.
bool isCoarse(const std::vector<double>& grid) {
  constexpr double wideSpacing = 0.15;  // decades
  return grid.size() < 2 || std::log10(grid.back() / grid.front()) >
                                wideSpacing * static_cast<double>(grid.size() - 1);
}

/// Something else that the data may be, and how well it fits.
struct Alternative {
  Finding finding;
  ClosestFit fit;
};

class Alternatives {
 public:
  Alternatives(const ChoiceInput& input, const ChoiceRows& rows, ColumnRange range)
      : input_(input),
        rows_(rows),
        whole_(rows.problem()),
        range_(range),
        own_(closestFit(columnsOf(whole_, range))) {}

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
    if (!input_.offsetKnown && !isCoarse(input_.grid) && clearlyBetter(constant.fit) &&
        constant.fit.rss < limit) {
      return constant.finding;
    }
    return found == nullptr ? withConstantForFast() : *found;
  }

  const ClosestFit& own() const { return own_; }

 private:
  static constexpr double farBetter = 0.5;

  bool clearlyBetter(const ClosestFit& fit) const {
    const double left = static_cast<double>(whole_.observed) - fit.positive;
    constexpr double roundingLevel = 1e-12;  // squared, of data of magnitude 1
    return left >= 2.0 &&
           own_.rss - fit.rss > clearlyBetterBy(left) * std::max(fit.rss / left, roundingLevel);
  }

  void addOtherSign() {
    ReducedProblem other = columnsOf(whole_, range_);
    for (double& value : other.d) {
      value = -value;
    }
    list_.push_back({{FindingKind::negative}, closestFit(other)});
  }

  void addOtherKernels() {
    if (input_.kernel == Kernel::matrix || input_.kernel == Kernel::diffusion ||
        input_.kernel == Kernel::t2Epg) {
      return;
    }
    for (const Kernel kernel : {Kernel::t2, Kernel::t1Saturation, Kernel::t1Inversion}) {
      if (kernel != input_.kernel) {
        const ReducedProblem other =
            otherKernel(columnsOf(whole_, range_), rows_.ones(), input_.kernel, kernel);
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
      other.d = rows_.rowsOf(flipped);
      list_.push_back({{FindingKind::magnitude, Kernel::t2, 0.0, count}, closestFit(other)});
    }
  }

  /// An incomplete inversion leaves a constant above 0 beside the curve of a complete one.
  Finding findingOf(const ConstantFit& fit) const {
    constexpr double tinyOffset = 0.001;  // of the largest amplitude: it shifts nothing
    if (std::fabs(fit.offset) < tinyOffset) {
      return {};
    }
    const double efficiency = (fit.total - fit.offset) / (fit.total + fit.offset);
    if (input_.kernel == Kernel::t1Inversion && fit.offset > 0.0 && efficiency > 0.0) {
      return {FindingKind::efficiency, Kernel::t2, efficiency};
    }
    return {FindingKind::offset, Kernel::t2, fit.offset};
  }

  Alternative withConstant() {
    const ConstantFit fit = fitWithConstant(rows_, range_, true);
    return {findingOf(fit), fit.fit};
  }

  /// Signal of a recovery that is back before the first samples looks as a constant does. Where
  /// the fit holds some there, apart from all other signal, and a constant does as well, the data
  /// can't say which it is.
  Finding withConstantForFast() {
    constexpr double leastShare = 0.015;
    constexpr double fastRatio = 2.0;   // times the first sample
    constexpr double apartRatio = 5.0;  // times it
    constexpr double significantGain = 3.0;
    constexpr double asWellGain = 2.0;
    const bool recovery =
        input_.kernel == Kernel::t1Saturation || input_.kernel == Kernel::t1Inversion;
    if (!recovery || input_.offsetKnown) {
      return {};
    }
    const double first = input_.time[0] > 0.0 ? input_.time[0] : input_.time.at(1);
    double fast = 0.0;
    double between = 0.0;
    ColumnRange slower = range_;
    for (std::size_t k = 0; k < own_.f.size(); ++k) {
      const double at = input_.grid[range_.first + k];
      fast += at < fastRatio * first ? own_.f[k] : 0.0;
      between += at >= fastRatio * first && at < apartRatio * first ? own_.f[k] : 0.0;
      slower.first += at < fastRatio * first && slower.first < slower.last ? 1 : 0;
    }
    const double total = std::accumulate(own_.f.begin(), own_.f.end(), 0.0);
    if (fast < leastShare * total || between > 0.5 * fast) {
      return {};
    }
    const double left = std::max(1.0, static_cast<double>(whole_.observed) - own_.positive);
    const double without = closestFit(columnsOf(whole_, slower)).rss;
    const ConstantFit fit = fitWithConstant(rows_, slower, false);
    const double variance = own_.rss / left;
    if (without - own_.rss < significantGain * variance ||
        fit.fit.rss > own_.rss + asWellGain * variance) {
      return {};
    }
    return findingOf(fit);
  }

  const ChoiceInput& input_;
  const ChoiceRows& rows_;
  const ReducedProblem& whole_;
  ColumnRange range_;
  ClosestFit own_;
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

ConstantFit fitWithConstant(const ChoiceRows& rows, ColumnRange range, bool eitherSign) {
  const auto fitOfSign = [&](double sign) {
    ReducedProblem problem = columnsOf(rows.problem(), range);
    appendColumn(problem, rows.ones(), sign);
    ConstantFit result;
    result.fit = closestFit(problem);
    result.offset = sign * result.fit.f.back();
    result.total = std::accumulate(result.fit.f.begin(), result.fit.f.end() - 1, 0.0);
    return result;
  };
  ConstantFit above = fitOfSign(1.0);
  if (!eitherSign || above.offset > 0.0) {
    return above;
  }
  ConstantFit below = fitOfSign(-1.0);
  return below.fit.rss < above.fit.rss ? below : above;
}

Finding diagnose(const ChoiceInput& input, const ChoiceRows& rows, ColumnRange range,
                 const Choice& choice) {
  Alternatives alternatives(input, rows, range);
  const Finding found = alternatives.best();
  if (found.kind != FindingKind::none) {
    return found;
  }
  constexpr double leastCorrelation = 6.0;
  constexpr double farAbove = 1.5;          // of the noise by differences
  constexpr double gridLevel = 1e-3;        // what the spacing of a grid leaves of a line
  constexpr double significantGain = 12.0;  // noise variances
  double all = 0.0;
  for (const double value : rows.problem().d) {
    all += value * value;
  }
  if (all - alternatives.own().rss <
      significantGain * choice.residualNoise * choice.residualNoise) {
    return {FindingKind::empty};
  }
  const ClosestFit& own = alternatives.own();
  std::vector<double> amplitude(input.problem.data().begin(), input.problem.data().end());
  const std::optional<double> differences = differenceNoise({input.time, amplitude});
  const double error = choice.residualError;
  if (differences && !isCoarse(input.grid) &&
      neighbourCorrelation(rows.residual(own.f, range.first)) > leastCorrelation &&
      error > farAbove * *differences && error > gridLevel) {
    return {FindingKind::structure};
  }
  return {};
}

}  // namespace vorin::toolkit
