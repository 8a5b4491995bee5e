// What the data decide of an inversion: the noise, the first samples that lie off every curve,
// the range of the grid that holds signal, the weight, and whether the kernel describes them.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "toolkit/inverting/finding.hpp"
#include "toolkit/inverting/nonnegative.hpp"
#include "toolkit/inverting/problem.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

/// What choose() works on.
struct ChoiceInput {
  const Problem& problem;           ///< the samples that are not outliers, not compressed
  const std::vector<double>& time;  ///< of the samples of `problem`
  const std::vector<double>& grid;
  Kernel kernel = Kernel::t2;
  bool offsetKnown = false;       ///< an offset or an efficiency has been fitted: none is sought
  std::optional<double> noise{};  ///< in the unit of problem.data()
  bool weightWanted = true;       ///< else `weight` of the choice is 0 and costs nothing
};

struct Choice {
  std::vector<std::size_t> spoiled;   ///< first samples that lie off every curve, to be left out
  std::vector<std::size_t> offCurve;  ///< early samples that do behind a good first one, kept
  ColumnRange support;                ///< of the grid; the distribution is 0 elsewhere
  double noise = 0.0;          ///< what the weight was chosen by, in the unit of problem.data()
  double residualNoise = 0.0;  ///< of the closest non-negative fit, corrected for its freedom
  double residualError = 0.0;  ///< the same with all outliers, which residualNoise leaves out
  double noiseSpread = 0.0;    ///< relative standard deviation of residualNoise
  double weight = 0.0;
  double closest = 0.0;  ///< root mean square of the closest fit over the reduced rows
  int solves = 0;        ///< penalised fits that were made
  Finding finding;
};

/// Chooses with the library's keys as they stand (bins). The rule and its sources
/// are in docs/mathematics.md:
///
/// 1. First samples of an echo train (at most five of 50 or more) whose omission lowers the
///    closest fit's sum of squares by more than 16 noise variances each are left out, unless
///    the first of all is none of them and the fit follows none of them by fast signal.
/// 2. The noise is that of the closest non-negative fit f0, |Y - K f0|^2 / (n - p) with p
///    positive elements (Meyer and Woodroofe, Ann. Stat. 28, 1083, 2000), unless it is given.
/// 3. The support begins at the first time, below it only where that lowers the sum of squares
///    or the penalised functional by more than chance; it is the narrowest range outside which no
///    signal is significant (a likelihood ratio of 6), widened by half its width and by 0.3 decades
///    at least, less the peaks apart at its ends that are not significant at the weight chosen.
/// 4. The weight is between two. At one the sum of squares has risen above the closest by one
///    noise variance for each degree of freedom left (compare Provencher, Comput. Phys. Commun.
///    27, 213, 1982). The other is a quarter of that of the largest evidence (MacKay, Neural
///    Comput. 4, 415, 1992).
///    The fewer positive elements f0 has, the more counts the second: 3 and less it
///    alone, 7 and more the first alone, in between a geometric mean.
///
/// Nothing where too few samples are left to tell a noise by and none is given.
std::optional<Choice> choose(const ChoiceInput& input);

/// A constant beside the distribution, in the unit of problem.data(): the offset of the closest
/// non-negative fit with one (its sign free).
double closestOffset(const ChoiceInput& input);

/// The efficiency e of the inversion pulse, 1 - (1 + e) exp(-t/T), by the closest fit: with
/// c the constant beside the total F of 1 - 2 exp(-t/T), e = (F - c) / (F + c).
double closestEfficiency(const ChoiceInput& input);

}  // namespace vorin::toolkit
