// Where a solve may square the condition of the kernel.
#pragma once

#include <limits>

namespace vorin::brd {

/// True for weights from 1e-6 to 1e10 times the mean squared column norm of K. There forms that
/// square the condition of the kernel give the status, the number of passes and the result of the
/// m-by-m system factored by LU; nearer to either end of the range of a double more digits are lost
/// than a solve can spare.
inline bool weightIsInRange(double weight, double meanSquare) {
  constexpr double leastShare = 1e-6;
  constexpr double largestShare = 1e10;
  return weight > 0.0 && weight >= leastShare * meanSquare && weight <= largestShare * meanSquare;
}

/// True for weights down to a twentieth of the least of that range: there the columns of the next
/// pass can be told in squared forms, but not its numbers to the last digits.
inline bool weightAllowsPrediction(double weight, double meanSquare) {
  constexpr double reach = 20.0;
  return weightIsInRange(weight, meanSquare) || weightIsInRange(reach * weight, meanSquare);
}

/// True for lower weights, down to 1e-9 times the mean squared column norm, at which Cholesky's
/// factors of the m-by-m matrix tell the columns of the next pass as well as those by LU: their
/// errors are of one size (Higham, Accuracy and Stability of Numerical Algorithms, 2nd ed., 2002,
/// section 10.1).
inline bool weightAllowsScout(double weight, double meanSquare) {
  constexpr double reach = 1000.0;
  return !weightAllowsPrediction(weight, meanSquare) && weightIsInRange(reach * weight, meanSquare);
}

/// A bound of the relative error of a solve with K_A'K_A + w I or K_A K_A' + w I: the rounding of a
/// double times the condition number, which is at most 1 + trace(K'K) / w.
inline double relativeRounding(double weight, double trace) {
  constexpr double operations = 4.0;  // that round: sums, factors, solve and difference
  return operations * std::numeric_limits<double>::epsilon() * (1.0 + trace / weight);
}

}  // namespace vorin::brd
