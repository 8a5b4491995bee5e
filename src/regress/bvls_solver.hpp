// The body of BVLS, once for both precisions.
//
// The unknowns are split in two. Set P holds the coefficients that are solved
// for: their columns form an upper triangle in the leading rows of A. Set Z holds
// the rest, each at a value of its own (a bound, or zero), whose share A(:, j) x(j)
// has been taken off B. INDEX lists P first, then the candidates of Z, then those
// coefficients of Z that their bounds fix. With indices from 0, one number says
// where P ends: nsetp_ is the size of P, the row of the next pivot, and the
// position of the first candidate in INDEX.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "regress/bvls.hpp"
#include "regress/bvls_transforms.hpp"
#include "toolbox/scaled_norm.hpp"
#include "toolbox/triangle_solve.hpp"
#include "toolbox/views.hpp"

namespace vorin::regress {

/// One solve. Argument names are those of BVLS_sp.
template <class Real>
class BvlsSolver {
 public:
  BvlsSolver(MatrixView<Real> A, VectorView<Real> B, MatrixView<const Real> BND, VectorView<Real> X,
             VectorView<Real> W, VectorView<std::int32_t> INDEX)
      : A_(A), B_(B), BND_(BND), X_(X), W_(W), INDEX_(INDEX), m_(A.rows), n_(A.cols) {}

  /// Runs the method to its end and returns the status.
  std::int32_t run(Real& rnorm, std::int32_t& nsetp, std::int32_t itmax) {
    std::int32_t ierr = checkSizes();
    if (ierr != bvlsSolved) {
      return ierr;
    }
    prepare(itmax);
    if (!placeInsideBounds()) {
      return bvlsNanBound;
    }
    ierr = iterate();
    nsetp = static_cast<std::int32_t>(nsetp_);
    if (ierr == bvlsSolved) {
      rnorm = close();
    }
    for (std::ptrdiff_t i = 0; i < n_; ++i) {
      INDEX_[i] += 1;  // column numbers leave counted from 1
    }
    return ierr;
  }

 private:
  static constexpr Real machineEpsilon = std::numeric_limits<Real>::epsilon();
  static constexpr Real noBound = std::numeric_limits<Real>::max();
  static constexpr std::ptrdiff_t none = -1;
  enum Bound : std::ptrdiff_t { atLower = 0, atUpper = 1 };

  Real lower(std::ptrdiff_t j) const { return BND_(atLower, j); }
  Real upper(std::ptrdiff_t j) const { return BND_(atUpper, j); }

  std::int32_t checkSizes() const {
    if (m_ < 1 || n_ < 1) {
      return bvlsEmpty;
    }
    const bool longEnough = X_.n >= n_ && B_.n >= m_ && BND_.rows == 2 && BND_.cols >= n_ &&
                            W_.n >= n_ && INDEX_.n >= n_;
    return longEnough ? bvlsSolved : bvlsShortArray;
  }

  void prepare(std::int32_t itmax) {
    // Required: a request below 3n becomes 20n, not 3n; hosts pass 0 to ask for
    // the generous limit.
    limit_ = itmax >= std::int64_t{3} * n_ ? std::int64_t{itmax} : std::int64_t{20} * n_;
    iterations_ = 0;
    nsetp_ = 0;
    freeEnd_ = n_;
    Z_.assign(static_cast<std::size_t>(m_), Real(0));
    reflection_.reserve(m_);
    for (std::ptrdiff_t i = 0; i < n_; ++i) {
      INDEX_[i] = static_cast<std::int32_t>(i);
    }
  }

  /// Gives every coefficient the value in its bounds nearest to zero, sets the
  /// fixed ones aside, and takes the share of each off B. False for a NaN bound.
  bool placeInsideBounds() {
    std::ptrdiff_t i = 0;
    while (i < freeEnd_) {
      const std::ptrdiff_t j = INDEX_[i];
      const bool noLower = lower(j) <= -noBound;
      const bool noUpper = upper(j) >= noBound;
      bool fixed = false;
      if (noLower && noUpper) {
        X_[j] = Real(0);
      } else if (noLower) {
        X_[j] = std::min(Real(0), upper(j));
      } else if (noUpper) {
        X_[j] = std::max(Real(0), lower(j));
      } else {
        const Real range = upper(j) - lower(j);
        if (range > Real(0)) {
          X_[j] = std::max(lower(j), std::min(upper(j), Real(0)));
        } else if (range <= Real(0)) {
          fixed = true;
          fix(i);
        } else {
          return false;
        }
      }
      subtractShare(j, m_);
      if (!fixed) {
        ++i;
      }
    }
    return true;
  }

  /// Moves the coefficient at position i of INDEX behind the candidates, for good.
  void fix(std::ptrdiff_t i) {
    const std::ptrdiff_t j = INDEX_[i];
    --freeEnd_;
    std::swap(INDEX_[i], INDEX_[freeEnd_]);
    X_[j] = lower(j);
    W_[j] = Real(0);
  }

  /// B(0 .. rows - 1) -= X(j) A(0 .. rows - 1, j), unless X(j) is zero.
  void subtractShare(std::ptrdiff_t j, std::ptrdiff_t rows) {
    const Real x = X_[j];
    if (x != Real(0)) {
      for (std::ptrdiff_t i = 0; i < rows; ++i) {
        B_[i] -= x * A_(i, j);
      }
    }
  }

  /// The main loop. Every pass counts at least one solve, so the limit ends it
  /// whatever the numbers are.
  std::int32_t iterate() {
    while (nsetp_ < freeEnd_ && nsetp_ < m_) {
      const std::ptrdiff_t position = select();
      if (position == none) {
        break;
      }
      bringIn(position);
      solveTriangle();
      const bool withinLimit = countSolve() && makeFeasible();
      for (std::ptrdiff_t ip = 0; ip < nsetp_; ++ip) {
        X_[INDEX_[ip]] = zAt(ip);
      }
      if (!withinLimit) {
        return bvlsIterationLimit;
      }
    }
    return bvlsSolved;
  }

  bool countSolve() {
    ++iterations_;
    return iterations_ <= limit_;
  }

  /// The position in INDEX of the coefficient to bring in, or none. Required: the
  /// first acceptable candidate is taken, not the one with the largest dual value;
  /// the order decides which of several solutions of a deficient problem is found.
  std::ptrdiff_t select() {
    for (std::ptrdiff_t position = nsetp_; position < freeEnd_; ++position) {
      const std::ptrdiff_t j = INDEX_[position];
      const bool canFall = X_[j] > lower(j);
      const bool canRise = X_[j] < upper(j);
      const bool free = canFall && canRise;
      if (!free) {
        W_[j] = dual(j);
        const bool mayMove = (W_[j] < Real(0) && canFall) || (W_[j] > Real(0) && canRise);
        if (!mayMove) {
          continue;
        }
      }
      if (testColumn(j, free)) {
        return position;
      }
    }
    return none;
  }

  /// A(:, j)'B over the rows that P has not used.
  Real dual(std::ptrdiff_t j) const {
    Real sum = 0;
    for (std::ptrdiff_t i = nsetp_; i < m_; ++i) {
      sum += A_(i, j) * B_[i];
    }
    return sum;
  }

  /// Builds the reflection that makes column j the next triangular one and asks
  /// whether j may enter: its column must be independent of those of P, and a
  /// coefficient at a bound must move away from it. If so, Z holds the transformed
  /// right-hand side, and the reflection is kept for bringIn; if not, the column is
  /// as it was.
  bool testColumn(std::ptrdiff_t j, bool free) {
    const Real saved = A_(nsetp_, j);
    const Real pivot = reflection_.build(A_.column(j), nsetp_);
    const Real leadingNorm = scaledNorm(A_.column(j).section(0, nsetp_));
    bool found = false;
    // Written so that a zero column (0 > 0) and a NaN are refused.
    if (std::abs(pivot) > machineEpsilon * leadingNorm) {
      for (std::ptrdiff_t i = 0; i < m_; ++i) {
        zAt(i) = B_[i];
      }
      reflection_.apply(VectorView<Real>{Z_.data(), m_, 1});
      const Real x = X_[j];
      if (x != Real(0)) {
        for (std::ptrdiff_t i = 0; i <= nsetp_; ++i) {
          zAt(i) += A_(i, j) * x;
        }
      }
      const Real target = zAt(nsetp_) / pivot;
      found = free || (W_[j] < Real(0) && target < x) || (W_[j] > Real(0) && target > x);
    }
    if (!found) {
      A_(nsetp_, j) = saved;
      W_[j] = Real(0);
    }
    return found;
  }

  /// Moves the candidate at `position` of INDEX to the end of P.
  void bringIn(std::ptrdiff_t position) {
    const std::ptrdiff_t j = INDEX_[position];
    for (std::ptrdiff_t i = 0; i < m_; ++i) {
      B_[i] = zAt(i);
    }
    INDEX_[position] = INDEX_[nsetp_];
    INDEX_[nsetp_] = static_cast<std::int32_t>(j);
    ++nsetp_;
    for (std::ptrdiff_t k = nsetp_; k < freeEnd_; ++k) {
      reflection_.apply(A_.column(INDEX_[k]));
    }
    for (std::ptrdiff_t i = nsetp_; i < m_; ++i) {
      A_(i, j) = Real(0);
    }
    W_[j] = Real(0);
  }

  void solveTriangle() { vorin::solveTriangle<Real>(A_, INDEX_, nsetp_, Z_.data()); }

  /// Where the way from X to Z first meets a bound.
  struct Hit {
    Real alpha = 2;  ///< share of the way; 2: no bound is in the way
    std::ptrdiff_t position = none;
    Bound bound = atLower;
  };

  Hit firstHit() {
    Hit hit;
    for (std::ptrdiff_t ip = 0; ip < nsetp_; ++ip) {
      const std::ptrdiff_t l = INDEX_[ip];
      Bound bound;
      if (zAt(ip) <= lower(l)) {
        bound = atLower;
      } else if (zAt(ip) >= upper(l)) {
        bound = atUpper;
      } else {
        continue;
      }
      const Real alpha = (BND_(bound, l) - X_[l]) / (zAt(ip) - X_[l]);
      // The strict comparison keeps the first of equals, and it drops the 0/0 of a
      // coefficient that is at its bound and stays there.
      if (alpha < hit.alpha) {
        hit = {alpha, ip, bound};
      }
    }
    return hit;
  }

  /// Steps from X towards Z until every coefficient of P is strictly inside its
  /// bounds; coefficients that meet one go to Z. False when the limit is exceeded.
  /// It ends: a pass leaves, or shrinks P and counts a solve.
  bool makeFeasible() {
    for (;;) {
      const Hit hit = firstHit();
      if (hit.position == none) {
        return true;
      }
      for (std::ptrdiff_t ip = 0; ip < nsetp_; ++ip) {
        const std::ptrdiff_t l = INDEX_[ip];
        X_[l] += hit.alpha * (zAt(ip) - X_[l]);
      }
      moveOut(hit.position, hit.bound);
      if (nsetp_ == 0) {
        return true;
      }
      moveOutAllAtBounds();
      for (std::ptrdiff_t i = 0; i < m_; ++i) {
        zAt(i) = B_[i];
      }
      solveTriangle();
      if (!countSolve()) {
        return false;
      }
    }
  }

  /// Rounding may have put further coefficients of P at or beyond a bound: moves
  /// them out too, starting over after each.
  void moveOutAllAtBounds() {
    std::ptrdiff_t position = 0;
    while (position < nsetp_) {
      const std::ptrdiff_t j = INDEX_[position];
      if (X_[j] <= lower(j)) {
        moveOut(position, atLower);
        position = 0;
      } else if (X_[j] >= upper(j)) {
        moveOut(position, atUpper);
        position = 0;
      } else {
        ++position;
      }
    }
  }

  /// Moves the coefficient at `position` of P to `bound` and into Z, and restores
  /// the triangle of the columns behind it.
  void moveOut(std::ptrdiff_t position, Bound bound) {
    const std::ptrdiff_t leaving = INDEX_[position];
    X_[leaving] = BND_(bound, leaving);
    subtractShare(leaving, position + 1);
    for (std::ptrdiff_t k = position + 1; k < nsetp_; ++k) {
      INDEX_[k - 1] = INDEX_[k];
      rotateRows(A_, B_, k, INDEX_[k]);
    }
    --nsetp_;
    INDEX_[nsetp_] = static_cast<std::int32_t>(leaving);
  }

  /// The closing act of a solved problem: returns the norm of the residual. With
  /// no row left beside P there is no residual, and the dual vector is zero.
  Real close() {
    if (nsetp_ < m_) {
      return scaledNorm(B_.section(nsetp_, m_ - nsetp_));
    }
    for (std::ptrdiff_t j = 0; j < n_; ++j) {
      W_[j] = Real(0);
    }
    return Real(0);
  }

  Real& zAt(std::ptrdiff_t i) { return Z_[static_cast<std::size_t>(i)]; }

  MatrixView<Real> A_;
  VectorView<Real> B_;
  MatrixView<const Real> BND_;
  VectorView<Real> X_;
  VectorView<Real> W_;
  VectorView<std::int32_t> INDEX_;
  std::ptrdiff_t m_;
  std::ptrdiff_t n_;

  std::vector<Real> Z_;               ///< work copy of B; its head is the solve on P
  std::ptrdiff_t nsetp_ = 0;          ///< size of P (see the head of this file)
  std::ptrdiff_t freeEnd_ = 0;        ///< where the candidates end in INDEX
  std::int64_t iterations_ = 0;       ///< solves so far
  std::int64_t limit_ = 0;            ///< solves allowed
  PivotReflection<Real> reflection_;  ///< that of the last test
};

}  // namespace vorin::regress
