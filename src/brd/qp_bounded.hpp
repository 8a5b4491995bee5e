// Minimisation of 1/2 x'Qx + g'x over x >= 0, the problem of the third route of a solve.
#pragma once

#include "brd/qp_cholesky.hpp"
#include "brd/qp_solver.hpp"
#include "toolbox/indexed_vector.hpp"

namespace vorin::brd {

/// An active-set method on the conditions of the minimum: with y = Qx + g,
///   x >= 0, y >= 0, and for every element x = 0 or y = 0.
/// The elements with y = 0 are free. Blocks of elements change between
/// free and bound as long as the number of violated conditions falls (block principal pivoting:
/// Portugal, Judice and Vicente, Math. Comp. 63, 1994, 625-643); where it does not, or where a
/// block has no Cholesky factor, elements become free one by one, with a step back to
/// the boundary when others turn negative (Lawson and Hanson, Solving Least Squares
/// Problems, 1974, chapter 23), which lowers the objective at every step.
class BoundedMinimum {
 public:
  /// Borrows Q (n x n) and g (n); `storage` (n x n) takes the factors.
  BoundedMinimum(int n, const double* Q, const double* g, double* storage);

  /// `free` (n, in and out): elements to begin with as free, none where it is empty; those that are
  /// free at the end. The minimum is unique, so that the start decides the way and not the result;
  /// a start that leads nowhere is given up for none.
  QpStatus solve(IndexedVector<char>& free);

  /// The same from no free element.
  QpStatus solve();

  const IndexedVector<double>& x() const { return x_; }         ///< exactly 0 at the bound
  const IndexedVector<double>& gradient() const { return y_; }  ///< Qx + g

 private:
  bool exchangeBlocks(IndexedVector<char> isFree);
  bool minimiseOver(const IndexedVector<char>& isFree);
  void freeOneByOne();
  void settle();
  bool tryToFree(int i);
  int nextToFree() const;
  bool stepToMinimum();
  void bindDegenerate();

  bool findFreeMinimum();
  void takeFreeMinimum();
  void updateGradient();
  bool violated(int i) const;
  QpStatus checkConditions() const;

  int n_;
  const double* Q_;
  const double* g_;
  BlockFactor factor_;
  IndexedVector<double> x_;
  IndexedVector<double> y_;
  IndexedVector<double> size_;   // |g| + |Q| |x|: the terms that y is the sum of
  IndexedVector<double> z_;      // the minimum over the free elements, in the order of the factor
  IndexedVector<char> refused_;  // bound elements that can't be freed beside the present ones
  bool singular_ = false;        // a block had no factor
};

}  // namespace vorin::brd
