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

#include <vector>

#include "brd/rank_factor.hpp"
#include "toolbox/aligned.hpp"

namespace vorin::brd {

class PassPrediction {
 public:
  /// Borrows the factor and b (paddedColumns of it, zeros in the padding).
  PassPrediction(const RankFactor& factor, const double* b);

  /// Predicts the passes of a solve at `weight` from the mask of f (n), whose elements are 0 or
  /// above, but the last two of
  /// `mostPasses`. Masks that come back in turn are taken to go on so.
  /// False where not one pass is settled. The step of the first pass is left to takeFirstStep().
  bool run(double weight, double tolerance, int mostPasses, const double* f);

  /// K'c of the first pass over its active columns, and these.
  const std::vector<double>& firstValues() const { return firstValues_; }
  const std::vector<int>& firstActive() const { return firstActive_; }

  /// Takes the squared step of the dual vector in the first pass, and gives the mask (1 or 0) of
  /// the first pass that is left to the solve in f. False, with f as it was, where the solve could
  /// end with its first pass.
  bool takeFirstStep(double step, double tolerance, double* f);

  /// The squared steps of the dual vector in the passes up to and including that one.
  const std::vector<double>& steps() const { return steps_; }

 private:
  void begin(const double* f);
  void change(int count, const int* columns, double sign);
  void solvePass(double weight);
  double squaredStep(double weight) const;
  bool takeMask();
  void keepFirstValues(double weight);
  int earlierTurn() const;
  void repeatTurns(int turn, int last);

  const RankFactor& factor_;
  const double* b_;
  std::vector<char> masks_;        ///< of the passes so far, one after the other
  std::vector<char> mask_;         ///< of the present pass
  std::vector<char> earlierMask_;  ///< of the pass before
  std::vector<int> active_;
  std::vector<int> entering_;
  std::vector<int> leaving_;
  AlignedVector<double> block_;    ///< R_A R_A', lower triangle
  AlignedVector<double> factors_;  ///< of that with the weight
  std::vector<double> pivots_;
  std::vector<double> right_;  ///< b_A
  AlignedVector<double> y_;
  AlignedVector<double> earlierY_;
  AlignedVector<double> values_;  ///< w K'c
  std::vector<double> steps_;
  std::vector<double> firstValues_;
  std::vector<int> firstActive_;
};

}  // namespace vorin::brd
