// The system of one pass solved on its smaller side.
//
// With A the active columns of K (those with f > 0), the m-by-m system of a pass has
// the solution
//     (K_A K_A' + w I)^-1 r = (r - K_A z) / w,   (K_A'K_A + w I) z = K_A' r,
// so that only as many rows and columns are factored as there are active elements, and
// K'K is formed once for all solves of a problem. The two sides are the same in exact
// arithmetic (the push-through identity: Henderson and Searle, SIAM Rev. 23, 53, 1981).
// In floating point the difference r - K_A z loses digits as w falls below the size of
// K'K; `serves` says where enough are left.
#pragma once

#include <cstdint>
#include <type_traits>
#include <vector>

#include "toolbox/aligned.hpp"

namespace vorin::brd {

template <class Real>
class SmallerSide {
 public:
  /// Single precision has no digits to spare for the difference.
  static constexpr bool everServes = std::is_same_v<Real, double>;

  /// Borrows K (m x n by columns) and forms K'K of it, or of its copy by rows, whose rows
  /// are padded with zeros to kernels::rowPadding. `plain`: by the loops that state it.
  SmallerSide(int m, int n, const Real* K, const Real* kernelByRows, bool plain);

  /// K'K, n x n.
  const Real* gram() const { return gram_.data(); }

  /// True where this side is smaller than the m-by-m one and loses nothing that shows: for
  /// weights from 1e-6 to 1e10 times the mean squared column norm.
  bool serves(int activeCount, Real weight) const;

  /// Factors K_A'K_A + w I for `active`, the numbers of the active columns.
  void factor(const std::vector<int>& active, Real weight);

  /// x (m) = the solution for `right` (m), given K' right (n).
  void solve(const std::vector<int>& active, Real weight, const Real* right, const Real* projected,
             Real* x);

 private:
  int m_;
  int n_;
  const Real* K_;
  AlignedVector<Real> gram_;
  Real meanSquare_ = 0;  // mean squared column norm
  AlignedVector<Real> factors_;
  std::vector<std::int32_t> pivots_;
  std::vector<Real> z_;
  struct Run {
    int first;
    int length;
  };
  std::vector<Run> runs_;  // of active columns
};

}  // namespace vorin::brd
