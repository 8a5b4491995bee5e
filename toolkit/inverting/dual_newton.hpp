// The non-negative distribution at one weight, by Newton's method on the dual problem. What it
// needs of the kernel is an operator of few rows.
#pragma once

#include <vector>

namespace vorin::toolkit {

/// A matrix A of rows() x cells(), which need not exist as one.
class DualOperator {
 public:
  virtual ~DualOperator() = default;
  virtual int rows() const = 0;
  virtual int cells() const = 0;

  /// F = A' c.
  virtual void transposeTimes(const double* c, double* F) const = 0;
  /// y = A F. Cells of 0 cost nothing.
  virtual void times(const double* F, double* y) const = 0;
  /// G (rows x rows, column-major, its lower triangle) = A H A' where H picks the cells above 0
  /// of F. What stands above the diagonal is undefined.
  virtual void gram(const double* F, double* G) const = 0;
};

/// The state of the dual iteration, kept from weight to weight.
struct DualState {
  std::vector<double> c;  ///< a multiplier a row; A' c, cut at 0, is the distribution
  std::vector<double> F;  ///< the distribution (cells), scaled like the columns of A
  double squares = 0.0;   ///< |A F - d|^2
  double gap = 0.0;       ///< duality gap over the primal value
  int steps = 0;          ///< Newton steps, summed over all calls
};

/// Relative duality gaps: of a distribution that is a result, and of one on the way to another
/// weight, whose sum of squares alone matters.
inline constexpr double optimalGap = 1e-11;
inline constexpr double searchGap = 1e-6;

/// Minimises 1/2 |A F - d|^2 + w/2 |F|^2 over F >= 0 from the multipliers of `state`, and leaves
/// the minimiser there. `w` is above 0.
///
/// The dual (Butler, Reeds and Dawson, SIAM J. Numer. Anal. 18, 381, 1981) is the unconstrained
/// minimum of the convex function
///   chi(c) = 1/2 |max(0, A' c)|^2 + w/2 |c|^2 - c' d,
/// whose gradient is g = A F + w c - d with F = max(0, A' c), and whose Hessian is A H A' + w I
/// with H the cells above 0. A step solves with the Cholesky factor of the Hessian and is halved
/// until chi falls enough (Armijo's rule; Nocedal and Wright, Numerical Optimization, 2nd ed.,
/// 2006, section 3.1): undamped, the iteration cycles at the small weights of good data.
///
/// With the multipliers w c the dual value is -w chi, and primal less dual value is exactly
/// |g|^2 / 2. The iteration ends when this gap is below `tolerance` of the primal value, or, for
/// fits so close that rounding does not allow that, when |g| is below 1e-12 of |d|. Returns
/// false when neither is reached within 200 steps or no step lowers chi.
bool solveDual(const DualOperator& A, const std::vector<double>& d, double w, double tolerance,
               DualState& state);

}  // namespace vorin::toolkit
