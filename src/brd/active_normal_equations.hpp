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
// size of K'K; `weightIsInRange` says where enough are left. Single precision has none to spare,
// so that this class exists in double precision only.
//
// For the data, c = (d - K_A z) / w gives K'c without another product with K:
//     (K'c)_i = z_i where i is active,   (K'd - K'K_A z)_i / w elsewhere.
#pragma once

#include <cstdint>
#include <vector>

#include "toolbox/aligned.hpp"

namespace vorin::brd {

class ActiveNormalEquations {
 public:
  /// Borrows K (m x n, column-major) and K'K (n x n).
  ActiveNormalEquations(int m, int n, const double* K, const double* gram);

  /// Takes K_A'K_A + w I for `active`, the numbers of the active columns, rising. Its factors are
  /// formed when a solve needs them.
  void select(const std::vector<int>& active, double weight);

  /// c (m, out) = the solution for the data d (m), given K'd (n), the same at every call.
  void solveData(const double* d, const double* projected, double* c);

  /// f (n, out) = max(0, K'c) for the c of the last solveData; a NaN stays a NaN.
  void distribution(const double* projected, double* f);

  /// x (m) = the solution for the c that the last solveData found with this selection.
  void solveDual(const double* c, double* x);

  /// x (m) = the solution for any `right` (m), given K' right (n).
  void solve(const double* right, const double* projected, double* x);

 private:
  struct ColumnRange {
    int first;   // column of K
    int offset;  // number of active columns before it
    int length;
  };

  void factor();
  void gatherBlock();
  void solveFactored(double* z);
  void dualFrom(const double* right, const double* z, double* x);

  int m_;
  int n_;
  const double* K_;
  const double* gram_;

  std::vector<int> active_;
  double weight_ = 0;
  std::vector<ColumnRange> ranges_;  // of neighbouring active columns
  int ld_ = 0;
  bool factored_ = false;
  bool byCholesky_ = true;
  AlignedVector<double> factors_;
  std::vector<double> diagonal_;  // of the Cholesky factor before its roots are taken
  std::vector<std::int32_t> pivots_;
  std::vector<double> z_;           // of the last solveData
  std::vector<double> secondZ_;     // of other solves
  AlignedVector<double> gradient_;  // n: K'K_A z
};

}  // namespace vorin::brd
