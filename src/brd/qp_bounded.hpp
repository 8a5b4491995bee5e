// Minimisation of 1/2 x'Qx + g'x over x >= 0: what the third route of a solve asks for.
#pragma once

#include <vector>

#include "brd/qp_cholesky.hpp"
#include "brd/qp_solver.hpp"

namespace vorin::brd {

/// An active-set method on the conditions of the minimum: with y = Qx + g,
///   x >= 0, y >= 0, and for every element x = 0 or y = 0.
/// The elements with y = 0 are free. Blocks of elements change sides as long as that
/// makes the number of violated conditions fall (block principal pivoting: Portugal,
/// Judice and Vicente, Math. Comp. 63, 1994, 625-643); where it does not, or where a
/// block has no Cholesky factor, elements become free one by one, with a step back to
/// the boundary when others turn negative (Lawson and Hanson, Solving Least Squares
/// Problems, 1974, chapter 23), which lowers the objective at every step.
class BoundedMinimum {
 public:
  /// Borrows Q (n x n) and g (n); `storage` (n x n) takes the factors.
  BoundedMinimum(int n, const double* Q, const double* g, double* storage);

  QpStatus solve();

  const std::vector<double>& x() const { return x_; }         ///< exactly 0 at the bound
  const std::vector<double>& gradient() const { return y_; }  ///< Qx + g

 private:
  bool exchangeBlocks();
  void freeOneByOne();
  bool free(int i);
  int nextToFree() const;
  bool stepToMinimum();
  void bindDegenerate();

  bool findFreeMinimum();
  void takeFreeMinimum();
  void updateGradient();
  bool violated(int i) const;
  QpStatus judge() const;

  int n_;
  const double* Q_;
  const double* g_;
  BlockFactor factor_;
  std::vector<double> x_;
  std::vector<double> y_;
  std::vector<double> size_;   // |g| + |Q| |x|: the terms that y is the sum of
  std::vector<double> z_;      // the minimum over the free elements, in the factor's order
  std::vector<char> refused_;  // bound elements that can't be freed beside the present ones
  bool singular_ = false;      // a block had no factor
};

}  // namespace vorin::brd
