// NNLS, the body once for both precisions.
//
// Set P holds the columns with positive coefficients; they form an upper triangle
// in the leading rows of A. Set Z holds the others, whose coefficients are zero.
// index lists P first, then Z. With indices from 0, one number says where P ends:
// nsetp_ is the size of P, the row of the next pivot (npp1), and the position of
// the first element of Z in index.
#include "brd/nnls.hpp"

#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

#include "brd/nnls_transforms.hpp"
#include "params/log.hpp"
#include "toolbox/givens.hpp"
#include "toolbox/triangle_solve.hpp"

namespace vorin::brd {
namespace {

/// What differs between the twins: the module tag of the log line, and the
/// precision of the factor 0.01 of the independence test.
template <class Real>
struct NnlsTwin;
template <>
struct NnlsTwin<float> {
  static constexpr std::string_view module = "NNLS_s";
  static constexpr float factor = 0.01f;
};
template <>
struct NnlsTwin<double> {
  static constexpr std::string_view module = "NNLS_d";
  static constexpr double factor = 0.01;
};

/// One solve. Argument names are those of NNLS_s.
template <class Real>
class NnlsSolver {
 public:
  NnlsSolver(MatrixView<Real> A, VectorView<Real> b, VectorView<Real> x, VectorView<Real> w,
             VectorView<std::int32_t> index)
      : A_(A), b_(b), x_(x), w_(w), index_(index), m_(A.rows), n_(A.cols) {}

  std::int32_t run(Real& rnorm) {
    if (m_ < 1 || n_ < 1) {
      return nnlsEmpty;
    }
    prepare();
    const bool solved = iterate();
    if (!solved) {
      params::VorinLogLine(NnlsTwin<Real>::module, "E", "NNLS quitting on iteration count");
      params::flushLog();  // a fit that a host calls by itself closes no log
    }
    rnorm = finish();
    return solved ? nnlsSolved : nnlsIterationLimit;
  }

 private:
  static constexpr std::ptrdiff_t none = -1;

  void prepare() {
    zz_.assign(static_cast<std::size_t>(m_), Real(0));
    nsetp_ = 0;
    iterations_ = 0;
    for (std::ptrdiff_t j = 0; j < n_; ++j) {
      x_[j] = Real(0);
      index_[j] = static_cast<std::int32_t>(j);
    }
  }

  /// The main loop; false when the limit is exceeded. Every pass counts at least one
  /// solve, so it ends whatever the numbers are.
  bool iterate() {
    while (nsetp_ < n_ && nsetp_ < m_) {
      computeDual();
      const std::ptrdiff_t position = chooseColumn();
      if (position == none) {
        return true;
      }
      acceptColumn(position);
      solveTriangle();
      if (!makeFeasible()) {
        return false;
      }
    }
    return true;
  }

  /// w(j) = A(:, j)'b over the rows that P has not used, for j in Z.
  void computeDual() {
    for (std::ptrdiff_t position = nsetp_; position < n_; ++position) {
      const std::ptrdiff_t j = index_[position];
      Real sum = 0;
      for (std::ptrdiff_t l = nsetp_; l < m_; ++l) {
        sum += A_(l, j) * b_[l];
      }
      w_[j] = sum;
    }
  }

  /// The position in index of the column to accept, or none when no dual value is
  /// positive. A refused column gets w = 0 and does not count as an iteration, so at
  /// most n columns are tried.
  std::ptrdiff_t chooseColumn() {
    for (;;) {
      const std::ptrdiff_t position = largestDual();
      if (position == none || tryColumn(index_[position])) {
        return position;
      }
      w_[index_[position]] = Real(0);
    }
  }

  /// The first in the order of index among equals.
  std::ptrdiff_t largestDual() const {
    Real largest = 0;
    std::ptrdiff_t found = none;
    for (std::ptrdiff_t position = nsetp_; position < n_; ++position) {
      const Real value = w_[index_[position]];
      if (value > largest) {
        largest = value;
        found = position;
      }
    }
    return found;
  }

  /// Transforms column j into the next of the triangle. On true zz_ holds the
  /// transformed b; on false the column is as it was.
  bool tryColumn(std::ptrdiff_t j) {
    const Real saved = A_(nsetp_, j);
    H12(H12Mode::buildAndApply, nsetp_, nsetp_ + 1, m_, A_.column(j), up_, MatrixView<Real>{});
    // Required: the norm of the column's leading part does not enter, as it does in
    // the published test. A column nearly dependent on P is let in, and the fits of
    // ill-conditioned kernels depend on it.
    if (std::abs(A_(nsetp_, j)) * NnlsTwin<Real>::factor > Real(0)) {
      copyRightHandSide();
      H12(H12Mode::apply, nsetp_, nsetp_ + 1, m_, A_.column(j), up_,
          denseColumns(zz_.data(), m_, 1));
      if (zzAt(nsetp_) / A_(nsetp_, j) > Real(0)) {
        return true;
      }
    }
    A_(nsetp_, j) = saved;
    return false;
  }

  void copyRightHandSide() {
    for (std::ptrdiff_t l = 0; l < m_; ++l) {
      zzAt(l) = b_[l];
    }
  }

  /// Moves the column at `position` of index, which tryColumn has transformed, to the
  /// end of P.
  void acceptColumn(std::ptrdiff_t position) {
    const std::ptrdiff_t j = index_[position];
    for (std::ptrdiff_t l = 0; l < m_; ++l) {
      b_[l] = zzAt(l);
    }
    index_[position] = index_[nsetp_];
    index_[nsetp_] = static_cast<std::int32_t>(j);
    const std::ptrdiff_t pivot = nsetp_;
    ++nsetp_;
    for (std::ptrdiff_t k = nsetp_; k < n_; ++k) {
      const VectorView<Real> column = A_.column(index_[k]);
      H12(H12Mode::apply, pivot, nsetp_, m_, A_.column(j), up_,
          MatrixView<Real>{column.base, m_, 1, column.stride, 0});
    }
    for (std::ptrdiff_t l = nsetp_; l < m_; ++l) {
      A_(l, j) = Real(0);
    }
    w_[j] = Real(0);
  }

  void solveTriangle() { vorin::solveTriangle<Real>(A_, index_, nsetp_, zz_.data()); }

  /// The secondary loop: steps from x towards zz until all of P is positive. False
  /// when the limit is exceeded. Each pass counts one solve.
  bool makeFeasible() {
    for (;;) {
      ++iterations_;
      if (iterations_ > std::int64_t{3} * n_) {
        return false;
      }
      Real alpha = 2;  // 2 says that nothing is in the way
      const std::ptrdiff_t blocking = firstBlocking(alpha);
      if (blocking == none) {
        for (std::ptrdiff_t ip = 0; ip < nsetp_; ++ip) {
          x_[index_[ip]] = zzAt(ip);
        }
        return true;
      }
      for (std::ptrdiff_t ip = 0; ip < nsetp_; ++ip) {
        const std::ptrdiff_t l = index_[ip];
        x_[l] += alpha * (zzAt(ip) - x_[l]);
      }
      moveOut(blocking);
      moveOutAllNotPositive();
      copyRightHandSide();
      solveTriangle();
    }
  }

  /// The position in P of the coefficient that reaches zero first on the way from x
  /// to zz, the first of equals, and the share `alpha` of the way; or none.
  std::ptrdiff_t firstBlocking(Real& alpha) {
    std::ptrdiff_t found = none;
    for (std::ptrdiff_t ip = 0; ip < nsetp_; ++ip) {
      const Real x = x_[index_[ip]];
      if (zzAt(ip) <= Real(0)) {
        const Real share = x / (x - zzAt(ip));
        if (share < alpha) {
          alpha = share;
          found = ip;
        }
      }
    }
    return found;
  }

  /// Rounding may have brought further coefficients of P to zero or below: moves them
  /// out too, starting over after each.
  void moveOutAllNotPositive() {
    std::ptrdiff_t position = 0;
    while (position < nsetp_) {
      if (x_[index_[position]] <= Real(0)) {
        moveOut(position);
        position = 0;
      } else {
        ++position;
      }
    }
  }

  /// Moves the coefficient at `position` of P to zero and into Z, and restores the
  /// triangle of the columns behind it.
  void moveOut(std::ptrdiff_t position) {
    const std::int32_t leaving = index_[position];
    x_[leaving] = Real(0);
    for (std::ptrdiff_t k = position + 1; k < nsetp_; ++k) {
      const std::int32_t column = index_[k];
      index_[k - 1] = column;
      rotateRows(k, column);
    }
    --nsetp_;
    index_[nsetp_] = leaving;
  }

  /// Turns rows k-1 and k of A and b so that A(k, column) becomes zero.
  void rotateRows(std::ptrdiff_t k, std::ptrdiff_t column) {
    Real cterm = 0;
    Real sterm = 0;
    givens(A_(k - 1, column), A_(k, column), cterm, sterm, A_(k - 1, column));
    A_(k, column) = Real(0);
    for (std::ptrdiff_t l = 0; l < n_; ++l) {
      if (l != column) {
        rotate(cterm, sterm, A_(k - 1, l), A_(k, l));
      }
    }
    rotate(cterm, sterm, b_[k - 1], b_[k]);
  }

  /// Returns the norm of the residual and converts `index` to column numbers from 1.
  Real finish() {
    Real sum = 0;
    for (std::ptrdiff_t l = nsetp_; l < m_; ++l) {
      sum += b_[l] * b_[l];
    }
    if (nsetp_ >= m_) {
      for (std::ptrdiff_t j = 0; j < n_; ++j) {
        w_[j] = Real(0);
      }
    }
    for (std::ptrdiff_t j = 0; j < n_; ++j) {
      index_[j] += 1;  // column numbers leave counted from 1
    }
    return std::sqrt(sum);
  }

  Real& zzAt(std::ptrdiff_t l) { return zz_[static_cast<std::size_t>(l)]; }

  MatrixView<Real> A_;
  VectorView<Real> b_;
  VectorView<Real> x_;
  VectorView<Real> w_;
  VectorView<std::int32_t> index_;
  std::ptrdiff_t m_;
  std::ptrdiff_t n_;
  std::vector<Real> zz_;         ///< work copy of b; its head is the solve on P
  Real up_ = 0;                  ///< of the last transformation that H12 built
  std::ptrdiff_t nsetp_ = 0;     ///< size of P (see the head of this file)
  std::int64_t iterations_ = 0;  ///< solves on P so far
};

}  // namespace

void NNLS_s(MatrixView<float> A, VectorView<float> b, VectorView<float> x, float& rnorm,
            VectorView<float> w, VectorView<std::int32_t> index, std::int32_t& mode) {
  mode = NnlsSolver<float>(A, b, x, w, index).run(rnorm);
}

void NNLS_d(MatrixView<double> A, VectorView<double> b, VectorView<double> x, double& rnorm,
            VectorView<double> w, VectorView<std::int32_t> index, std::int32_t& mode) {
  mode = NnlsSolver<double>(A, b, x, w, index).run(rnorm);
}

}  // namespace vorin::brd
