// The passes of a double-precision solve up to the one whose mask repeats, in few unknowns.
//
// A pass decides by the signs of K'c alone which columns the next one has; only the last pass's
// numbers are returned. With R'R = K'K, R of few rows (brd/rank_factor.hpp), A the active columns
// and b = K'd, that vector is
//     K'c = (b - R'y) / w,   (R_A R_A' + w I) y = R_A b_A
// by the Woodbury identity (Henderson and Searle, SIAM Rev. 23, 53, 1981), a system of as many
// unknowns as R has rows. From pass to pass R_A R_A' changes by the columns that enter or leave.
// With the columns Q of K = Q R the step between two passes is c' - c = Q (y - y') / w.
//
// The solve then goes on, with the arithmetic of its own, from the first pass that these numbers
// do not settle. What R leaves out of K'K shifts K'c by about 1e-13 of it times the ratio of the
// squared column norm to the weight: only a sign that hangs on that could differ from the solve's
// own, and cost or save it a pass.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "brd/rank_factor.hpp"
#include "toolbox/aligned.hpp"

namespace vorin::brd {

class PassPrediction {
 public:
  /// Borrows the factor and b (paddedColumns of it, zeros in the padding).
  PassPrediction(const RankFactor& factor, const double* b);

  /// Takes another b, and predicts then as a new object does.
  void takeData(const double* b);

  /// Predicts the passes of a solve at `weight` from the mask of f (n), whose elements are 0 or
  /// above, but the last two of
  /// `mostPasses`. Masks that come back in turn are taken to go on so.
  /// False where not one pass is settled. The step of the first pass is left to takeFirstStep().
  bool run(double weight, double tolerance, int mostPasses, const double* f);

  struct FirstPass {
    std::vector<int> active;     ///< its columns, rising
    std::vector<double> values;  ///< K'c of these
  };
  FirstPass firstPass() const;

  /// A bound from below of the squared step of the dual vector in the first pass, from a vector of
  /// that norm: the new one has |c| >= |(K'c)_i| / |K_i|.
  double leastFirstStep(double norm) const;

  /// Takes the squared step of the dual vector in the first pass, and gives the mask (1 or 0) of
  /// the first pass that is left to the solve in f. False, with f as it was, where the solve could
  /// end with its first pass.
  bool takeFirstStep(double step, double tolerance, double* f);

  /// The residual sum of squares of the last pass and its derivative in the weight, and bounds of
  /// their errors.
  struct Residual {
    double rss;
    double slope;
    double error;       ///< of rss
    double slopeError;  ///< of the slope
  };

  /// Where the last run ended with a mask that repeats, so that a solve ends with the next pass:
  /// what that has for a residual. `squaredData` is |d|^2. None elsewhere.
  std::optional<Residual> residual(double squaredData);

  /// The squared steps of the dual vector in the passes up to and including that one.
  const std::vector<double>& steps() const { return steps_; }

 private:
  using Mask = std::vector<std::uint64_t>;  ///< a bit for each column, zeros behind them

  void begin(const double* f);
  void projectData();
  void solvePass();
  void solveBlock(const double* right, double* x);
  void bringBlock();
  void addToBlock(double sign);
  double squaredStep() const;
  bool takeMask();
  int earlierTurn() const;
  void repeatTurns(int turn, int last);

  const RankFactor& factor_;
  const double* b_;
  double weight_ = 0;
  bool repeats_ = false;  ///< the last run ended with a mask that repeats
  Mask masks_;            ///< of the passes so far, one after the other
  Mask mask_;             ///< of the present pass
  Mask earlierMask_;      ///< of the pass before
  Mask nextMask_;         ///< of the positive values
  std::vector<int> columns_;
  std::vector<double> chosen_;  ///< of each of them a factor
  AlignedVector<double> y_;
  AlignedVector<double> earlierY_;
  AlignedVector<double> values_;  ///< w K'c
  std::vector<double> firstValues_;
  std::vector<double> steps_;

  Mask blockMask_;  ///< the columns A that block_ has; empty where it has none of a mask
  AlignedVector<double> block_;     ///< R_A R_A', lower triangle
  AlignedVector<double> right_;     ///< R_A b_A
  AlignedVector<double> allRight_;  ///< R b
  AlignedVector<double> factors_;   ///< of that with the weight
  std::vector<double> pivots_;
  AlignedVector<double> work_;
};

}  // namespace vorin::brd
