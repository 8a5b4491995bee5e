#include "toolkit/inverting/choice.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

#include "toolkit/inverting/choice_rows.hpp"
#include "toolkit/inverting/diagnosis.hpp"
#include "toolkit/model/noise.hpp"

namespace vorin::toolkit {

namespace {

/// A signal outside a range counts as real when it lowers the sum of squares by so many noise
/// variances: 0.7 % of normal noise does so at one end (a mixture of chi-squared of no and of
/// one degree of freedom; Chernoff, Ann. Math. Stat. 25, 573, 1954).
constexpr double significantRange = 6.0;
/// The same for signal that is faster than the first sample, which a first sample off the curve
/// can pretend.
constexpr double significantFast = 12.0;
/// The same for a first sample that is left out.
constexpr double significantSpoiled = 16.0;
constexpr std::size_t mostSpoiled = 5;
constexpr std::size_t fewestForSpoiled = 50;
/// The support is wider than the narrowest range by this part of its width at either end.
constexpr double wideningStep = 0.5;
constexpr double leastWidening = 0.3;  // decades
constexpr std::size_t fewestColumns = 10;
/// Below this a noise is the rounding of single precision.
constexpr double noNoise = 1e-6;

/// The columns of times at the first sample and above; of a diffusion, which is the faster the
/// larger it is, those of 1 / b and below.
/// The samples before the one of number `start` apart.
ColumnRange sampledRange(const ChoiceInput& input, std::size_t start = 0) {
  ColumnRange range{0, input.grid.size() - 1};
  if (input.kernel == Kernel::matrix) {
    return range;
  }
  constexpr double roundingLevel = 1e-6;
  const double first = input.time[start] > 0.0 ? input.time[start] : input.time.at(1);
  if (input.kernel == Kernel::diffusion) {
    while (range.last > 0 && input.grid[range.last] > (1.0 + roundingLevel) / first) {
      --range.last;
    }
  } else {
    while (range.first < range.last && input.grid[range.first] < (1.0 - roundingLevel) * first) {
      ++range.first;
    }
  }
  // A grid that a user has put elsewhere is taken as it is.
  return range.count() < fewestColumns ? ColumnRange{0, input.grid.size() - 1} : range;
}

double rssWithin(const ReducedProblem& problem, ColumnRange range) {
  return closestFit(columnsOf(problem, range)).rss;
}

/// Without the samples of `left`, which are rows of their own.
ColumnRange rangeWithout(const ChoiceInput& input, const std::vector<std::size_t>& left) {
  std::size_t first = 0;
  while (first < left.size() && left[first] == first) {
    ++first;
  }
  // What is faster than the first sample that stays would follow the next one that is off.
  return sampledRange(input, first);
}

/// True when the fit of all samples holds next to no signal that is about as fast as the sample
/// of number `last`.
bool noneAsFast(const ChoiceInput& input, const ReducedProblem& reduced, ColumnRange range,
                std::size_t last) {
  constexpr double fastRatio = 2.0;
  constexpr double noneLevel = 0.01;
  const ClosestFit fit = closestFit(columnsOf(reduced, range));
  double fast = 0.0;
  double total = 0.0;
  for (std::size_t k = 0; k < fit.f.size(); ++k) {
    fast += input.grid[range.first + k] < fastRatio * input.time[last] ? fit.f[k] : 0.0;
    total += fit.f[k];
  }
  return fast < noneLevel * total;
}

/// Of the first few samples, those without which the sum of squares, with so many noise
/// variances for each that is left out, is the least.
struct Spoiled {
  std::vector<std::size_t> left;
  double cost = 0.0;
};

/// The samples that lie off every curve, `best`, and the best of the choices with the first.
void findSpoiled(const ChoiceInput& input, const ReducedProblem& reduced,
                 const std::vector<std::size_t>& all, double each, Spoiled& best,
                 Spoiled& withFirst) {
  for (unsigned choice = 1; choice < 1U << all.size(); ++choice) {
    std::vector<std::size_t> left;
    std::copy_if(all.begin(), all.end(), std::back_inserter(left),
                 [&](std::size_t row) { return (choice >> row & 1U) != 0; });
    const double cost = rssWithin(withoutRows(reduced, left), rangeWithout(input, left)) +
                        each * static_cast<double>(left.size());
    if (cost < best.cost) {
      best = {left, cost};
    }
    if (left.front() == 0 && cost < withFirst.cost) {
      withFirst = {left, cost};
    }
  }
}

/// Sets the first samples that lie off every curve.
void setSpoiled(Choice& choice, const ChoiceInput& input, const ChoiceRows& rows, double noise) {
  const std::size_t samples = input.problem.data().size();
  if (input.kernel != Kernel::t2 || samples < fewestForSpoiled) {
    return;
  }
  const ReducedProblem& reduced = rows.problem();
  const std::size_t most = rows.singleRows();
  const double each = significantSpoiled * noise * noise;
  std::vector<std::size_t> all(most);
  std::iota(all.begin(), all.end(), std::size_t{0});
  const ColumnRange sampled = sampledRange(input);
  const double whole = rssWithin(reduced, sampled);
  if (whole - rssWithin(withoutRows(reduced, all), sampled) <= each) {
    return;  // nor can fewer left out gain more
  }
  Spoiled best{{}, whole};
  Spoiled withFirst{{}, whole};
  findSpoiled(input, reduced, all, each, best, withFirst);
  // Imperfect refocusing throws early echoes off to either side in turn. Where the fit follows
  // none of them by fast signal, they tell more together than those that happen to fit.
  if (!best.left.empty() && best.left.front() != 0 &&
      noneAsFast(input, reduced, sampled, best.left.back())) {
    choice.offCurve = best.left;
  } else {
    choice.spoiled = withFirst.left;
  }
}

/// `sampled`, or the whole grid where the data ask for faster signal: at all samples, and at
/// those behind the first alone.
ColumnRange rangeWithFast(const ChoiceInput& input, const ReducedProblem& reduced,
                          ColumnRange sampled, double variance) {
  const ColumnRange whole{0, input.grid.size() - 1};
  if (sampled == whole || input.kernel == Kernel::t1Inversion || reduced.observed < 4) {
    return sampled;
  }
  const auto gain = [&](const ReducedProblem& problem) {
    return rssWithin(problem, sampled) - rssWithin(problem, whole);
  };
  const bool asked = gain(reduced) > significantFast * variance &&
                     gain(withoutRows(reduced, {0})) > significantRange * variance;
  return asked ? whole : sampled;
}

/// The narrowest part of `range` outside which no signal is significant, widened.
ColumnRange supportOf(const ChoiceInput& input, const ReducedProblem& reduced, ColumnRange range,
                      double variance) {
  const double limit = rssWithin(reduced, range) + significantRange * variance;
  // The sum of squares rises as columns are taken away: halving finds the last that is enough.
  std::size_t low = range.first;
  for (std::size_t high = range.last - 1; low < high;) {
    const std::size_t middle = (low + high + 1) / 2;
    if (rssWithin(reduced, {middle, range.last}) <= limit) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  std::size_t top = range.last;
  for (std::size_t bottom = range.first + 1; bottom < top;) {
    const std::size_t middle = (bottom + top) / 2;
    if (rssWithin(reduced, {range.first, middle}) <= limit) {
      top = middle;
    } else {
      bottom = middle + 1;
    }
  }
  const double from = std::log10(input.grid[std::min(low, top)]);
  const double to = std::log10(input.grid[std::max(low, top)]);
  const double widening = std::max(leastWidening, wideningStep * (to - from));
  ColumnRange support = range;
  while (support.count() > fewestColumns &&
         std::log10(input.grid[support.first]) < from - widening) {
    ++support.first;
  }
  while (support.count() > fewestColumns && std::log10(input.grid[support.last]) > to + widening) {
    --support.last;
  }
  return support;
}

/// The largest weight at which the sum of squares has risen by no more than one variance for
/// each degree of freedom.
double weightByRise(const std::vector<PenalisedFit>& fits, double closest, double variance) {
  const auto excess = [&](const PenalisedFit& fit) {
    return fit.rss - closest - fit.freedom * variance;
  };
  for (std::size_t i = 0; i < fits.size(); ++i) {
    if (excess(fits[i]) > 0.0) {
      continue;
    }
    if (i == 0) {
      return fits[0].weight;
    }
    const double above = excess(fits[i - 1]);
    const double share = above / (above - excess(fits[i]));
    return fits[i - 1].weight * std::pow(fits[i].weight / fits[i - 1].weight, share);
  }
  return fits.back().weight;
}

/// The weight of the largest evidence.
double weightByEvidence(const std::vector<PenalisedFit>& fits, double variance) {
  std::vector<double> cost;
  cost.reserve(fits.size());
  for (const PenalisedFit& fit : fits) {
    cost.push_back((fit.rss + fit.weight * fit.norm) / variance + fit.logDeterminant);
  }
  const auto best =
      static_cast<std::size_t>(std::min_element(cost.begin(), cost.end()) - cost.begin());
  if (best == 0 || best + 1 == cost.size()) {
    return fits[best].weight;
  }
  // The vertex of the parabola through the three.
  const double bend = cost[best - 1] - 2.0 * cost[best] + cost[best + 1];
  const double shift =
      bend > 0.0 ? std::clamp(0.5 * (cost[best - 1] - cost[best + 1]) / bend, -0.5, 0.5) : 0.0;
  return fits[best].weight * std::pow(fits[best + 1].weight / fits[best].weight, shift);
}

void chooseWeight(Choice& choice, const ReducedProblem& problem, double variance) {
  constexpr int fitCount = 45;
  constexpr double highest = 1e2;  // of the largest squared column norm
  constexpr double lowest = 1e-9;
  // The evidence takes each time of the support for as likely as any other: of a line it makes a
  // distribution smoother than it is.
  constexpr double evidenceShare = 0.25;
  constexpr int fewPositive = 3;
  constexpr int manyPositive = 7;
  const ClosestFit closest = closestFit(problem);
  PenalisedFits solver(problem);
  const double scale = solver.largestColumn();
  std::vector<PenalisedFit> fits;
  fits.reserve(fitCount);
  for (int i = 0; i < fitCount; ++i) {
    const double step = static_cast<double>(i) / (fitCount - 1);
    fits.push_back(solver.at(scale * highest * std::pow(lowest / highest, step)));
  }
  const double byEvidence = weightByEvidence(fits, variance);
  const double byRise = weightByRise(fits, closest.rss, variance);
  const double share = std::clamp(
      static_cast<double>(manyPositive - closest.positive) / (manyPositive - fewPositive), 0.0,
      1.0);
  choice.weight = std::pow(evidenceShare * byEvidence, share) * std::pow(byRise, 1.0 - share);
  choice.closest = std::sqrt(closest.rss / static_cast<double>(problem.observed));
  choice.solves = fitCount;
}

/// Takes the grid's part beyond the sampled range into the support where that lowers the penalised
/// functional, which is -2 times the logarithm of the posterior, by more than chance: signal of a
/// smooth distribution that goes on there.
void extendSupport(Choice& choice, const ChoiceInput& input, const ReducedProblem& reduced,
                   ColumnRange sampled, double variance) {
  ColumnRange wider = choice.support;
  if (input.kernel == Kernel::diffusion && wider.last == sampled.last) {
    wider.last = input.grid.size() - 1;
  } else if ((input.kernel == Kernel::t2 || input.kernel == Kernel::t1Saturation) &&
             wider.first == sampled.first) {
    wider.first = 0;
  }
  if (wider == choice.support) {
    return;
  }
  const auto cost = [&](ColumnRange range) {
    return PenalisedFits(columnsOf(reduced, range)).functionalAt(choice.weight);
  };
  if (cost(choice.support) - cost(wider) > significantRange * variance) {
    choice.support = wider;
    chooseWeight(choice, columnsOf(reduced, wider), variance);
  }
}

/// The peak that lies apart from all others at one end of a distribution.
struct EndPeak {
  double amplitude = 0.0;   ///< 0 where there is none
  std::size_t columns = 0;  ///< from the end on, up to its last one
  std::size_t gap = 0;      ///< columns of 0 behind it
};

/// That at the lower end, or at the upper one.
EndPeak endPeakOf(const std::vector<double>& f, bool lower) {
  const std::size_t size = f.size();
  const auto at = [&](std::size_t k) { return f[lower ? k : size - 1 - k]; };
  EndPeak peak;
  std::size_t k = 0;
  while (k < size && !(at(k) > 0.0)) {
    ++k;
  }
  for (; k < size && at(k) > 0.0; ++k) {
    peak.amplitude += at(k);
  }
  peak.columns = k;
  while (k < size && !(at(k) > 0.0)) {
    ++k;
  }
  peak.gap = k - peak.columns;
  return k < size ? peak : EndPeak{};  // else it is the only one
}

/// The sum of `count` elements from one end on.
double sumAtEnd(const std::vector<double>& f, bool lower, std::size_t count) {
  const auto steps = static_cast<std::ptrdiff_t>(std::min(count, f.size()));
  return lower ? std::accumulate(f.begin(), f.begin() + steps, 0.0)
               : std::accumulate(f.end() - steps, f.end(), 0.0);
}

/// Takes peaks at the ends of the support away that lower the penalised functional by no more
/// than chance: what noise makes of times beside the signal. One that comes back much larger at
/// the new end is signal.
void dropEndPeaks(Choice& choice, const ReducedProblem& reduced, double variance) {
  constexpr double muchLarger = 2.0;
  std::vector<double> f;
  double cost = PenalisedFits(columnsOf(reduced, choice.support)).functionalAt(choice.weight, &f);
  for (const bool lower : {true, false}) {
    while (true) {
      const EndPeak peak = endPeakOf(f, lower);
      const std::size_t cut = peak.columns + peak.gap / 2;
      if (!(peak.amplitude > 0.0) || choice.support.count() < fewestColumns + cut) {
        break;
      }
      const ColumnRange narrower =
          lower ? ColumnRange{choice.support.first + cut, choice.support.last}
                : ColumnRange{choice.support.first, choice.support.last - cut};
      std::vector<double> without;
      const double costWithout =
          PenalisedFits(columnsOf(reduced, narrower)).functionalAt(choice.weight, &without);
      if (sumAtEnd(without, lower, peak.columns) > muchLarger * peak.amplitude ||
          costWithout - cost > significantRange * variance) {
        break;
      }
      choice.support = narrower;
      f = std::move(without);
      cost = costWithout;
    }
  }
}

/// Distribution on the whole grid from one within `range`.
std::vector<double> padded(const std::vector<double>& f, ColumnRange range, std::size_t size) {
  std::vector<double> result(size, 0.0);
  std::copy(f.begin(), f.end(), result.begin() + static_cast<std::ptrdiff_t>(range.first));
  return result;
}

/// The noise by the residual of the closest fit over all samples but those left out.
void addResidualNoise(Choice& choice, const ChoiceInput& input, const ReducedProblem& reduced,
                      ColumnRange range) {
  const ClosestFit closest = closestFit(columnsOf(reduced, range));
  const std::vector<double> fit = input.problem.fitOf(padded(closest.f, range, input.grid.size()));
  const std::vector<float>& data = input.problem.data();
  std::vector<double> residual;
  for (std::size_t i = 0; i < data.size(); ++i) {
    if (!std::binary_search(choice.spoiled.begin(), choice.spoiled.end(), i)) {
      residual.push_back(static_cast<double>(data[i]) - fit[i]);
    }
  }
  const double left = static_cast<double>(residual.size()) - closest.positive;
  if (left < 3.0) {
    return;
  }
  const auto count = static_cast<double>(residual.size());
  choice.residualNoise = residualDeviation(residual) * std::sqrt(count / left);
  const double squares =
      std::inner_product(residual.begin(), residual.end(), residual.begin(), 0.0);
  choice.residualError = std::sqrt(squares / left);
  choice.noiseSpread = 1.0 / std::sqrt(2.0 * left);
}

void findGivenNoise(Choice& choice, const ChoiceInput& input) {
  constexpr double farAbove = 5.0;
  constexpr double farBelow = 0.5;
  if (!input.noise || !(choice.residualNoise > 0.0) || choice.finding.kind != FindingKind::none) {
    return;
  }
  const double ratio = *input.noise / choice.residualNoise;
  if (ratio > farAbove && choice.residualNoise > noNoise) {
    choice.finding = {FindingKind::noiseTooLarge, Kernel::t2, ratio, 0};
  } else if (ratio < farBelow) {
    choice.finding = {FindingKind::noiseTooSmall, Kernel::t2, 1.0 / ratio, 0};
  }
}

}  // namespace

std::optional<Choice> choose(const ChoiceInput& input) {
  Choice choice;
  ChoiceRows rows(input.problem, mostSpoiled);
  ColumnRange sampled = sampledRange(input);
  addResidualNoise(choice, input, rows.problem(), sampled);
  if (!input.noise && !(choice.residualNoise > noNoise)) {
    return std::nullopt;
  }
  setSpoiled(choice, input, rows, input.noise.value_or(choice.residualNoise));
  if (!choice.spoiled.empty()) {
    sampled = rangeWithout(input, choice.spoiled);
    rows.leaveOut(choice.spoiled);
    addResidualNoise(choice, input, rows.problem(), sampled);
  }
  const double before = input.noise.value_or(choice.residualNoise);
  const ColumnRange range = !choice.spoiled.empty()
                                ? sampled
                                : rangeWithFast(input, rows.problem(), sampled, before * before);
  if (!(range == sampled)) {
    addResidualNoise(choice, input, rows.problem(), range);
  }
  choice.noise = input.noise.value_or(choice.residualNoise);
  if (!(choice.noise > noNoise)) {
    choice.noise = noNoise;
  }
  const double variance = choice.noise * choice.noise;
  choice.support =
      input.kernel == Kernel::matrix ? range : supportOf(input, rows.problem(), range, variance);
  if (input.weightWanted) {
    chooseWeight(choice, columnsOf(rows.problem(), choice.support), variance);
    if (choice.spoiled.empty()) {
      extendSupport(choice, input, rows.problem(), range, variance);
    }
    if (input.kernel != Kernel::matrix) {
      dropEndPeaks(choice, rows.problem(), variance);
    }
  }
  choice.finding = diagnose(input, rows, range, choice);
  findGivenNoise(choice, input);
  return choice;
}

double closestOffset(const ChoiceInput& input) {
  // A time far beyond the last sample is a constant as far as the samples tell.
  constexpr double shareOfLastTime = 0.5;
  ColumnRange range = sampledRange(input);
  const double last = shareOfLastTime * input.time.back();
  if (input.kernel == Kernel::diffusion) {
    while (range.count() > fewestColumns && input.grid[range.first] * last < 1.0) {
      ++range.first;
    }
  } else if (input.kernel != Kernel::matrix) {
    while (range.count() > fewestColumns && input.grid[range.last] > last) {
      --range.last;
    }
  }
  return fitWithConstant(ChoiceRows(input.problem, 0), range, true).offset;
}

double closestEfficiency(const ChoiceInput& input) {
  const ConstantFit fit = fitWithConstant(ChoiceRows(input.problem, 0), sampledRange(input), false);
  return (fit.total - fit.offset) / (fit.total + fit.offset);
}

}  // namespace vorin::toolkit
