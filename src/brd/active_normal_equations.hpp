// The normal equations on the active set: the m-by-m system of one pass, solved with as
// many unknowns as there are active columns.
//
// With A the active columns of K (those with f > 0), the m-by-m system of a pass has
// the solution
//     (K_A K_A' + w I)^-1 r = (r - K_A z) / w,   (K_A'K_A + w I) z = K_A' r,
// so that only as many rows and columns are factored as there are active elements, and
// K'K is formed once for all solves of a problem. The two forms are equal in exact
// arithmetic by the Woodbury or push-through identity (Henderson and Searle, SIAM Rev. 23,
// 53, 1981). In floating point the difference r - K_A z loses digits as w falls below the
// size of K'K; `applies` says where enough are left. Single precision has none to spare,
// so that this class exists in double precision only.
#pragma once

#include <cstdint>
#include <vector>

#include "toolbox/aligned.hpp"

namespace vorin::brd {

class ActiveNormalEquations {
 public:
  /// Borrows K (m x n, column-major) and forms K'K from its row-major copy, whose rows
  /// are padded with zeros to kernels::rowPadding.
  ActiveNormalEquations(int m, int n, const double* K, const double* kernelByRows);

  /// K'K, n x n.
  const double* gram() const { return gram_.data(); }

  /// True for weights from 1e-6 to 1e10 times the mean squared column norm, where status,
  /// number of passes and result equal those of the m-by-m system.
  bool applies(double weight) const;

  /// A bound of the relative error of `solve`: the rounding of a double times the condition
  /// number of K'K + w I, which is at most 1 + trace(K'K) / w.
  double relativeRounding(double weight) const;

  /// Factors K_A'K_A + w I for `active`, the numbers of the active columns, rising.
  void factor(const std::vector<int>& active, double weight);

  /// x (m) = the solution for `right` (m), given K' right (n), with the last factors.
  void solve(const double* right, const double* projected, double* x);

 private:
  struct ColumnRange {
    int first;
    int length;
  };

  int m_;
  int n_;
  const double* K_;
  AlignedVector<double> gram_;
  double meanSquare_ = 0;  // mean squared column norm

  std::vector<int> active_;
  double weight_ = 0;
  std::vector<ColumnRange> ranges_;  // of neighbouring active columns
  AlignedVector<double> factors_;
  std::vector<std::int32_t> pivots_;
  std::vector<double> z_;
};

}  // namespace vorin::brd
