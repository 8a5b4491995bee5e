// LAPACK's routines by Eigen (Guennebaud, Jacob et al., eigen.tuxfamily.org), for builds without
// OpenBLAS.
//
// The same bits come out on every platform that computes by IEEE 754 and on every CPU: Eigen's own
// vector code, which fuses multiply-adds on some, is off, and the sizes of the blocks that it works
// in are set here, not asked from the CPU.
#define EIGEN_DONT_VECTORIZE
#define EIGEN_MPL2_ONLY
#include <Eigen/QR>
#include <Eigen/SVD>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "toolbox/lapack.hpp"

namespace vorin {
namespace {

using Matrix = Eigen::MatrixXd;
using SingleMatrix =
    Eigen::Map<Eigen::MatrixXf, Eigen::Unaligned, Eigen::OuterStride<>>;  // leading dimension

/// Eigen takes the sizes of its blocks, and with them the order of its sums, from those of the
/// caches.
void fixBlockSizes() {
  [[maybe_unused]] static const bool once = [] {
    constexpr std::ptrdiff_t kibibyte = 1024;
    Eigen::setCpuCacheSizes(32 * kibibyte, 512 * kibibyte, 4096 * kibibyte);
    return true;
  }();
}

/// Column k of L, from row `from` on, times u, off `column`.
template <class Real>
void subtract(int from, int n, const Real* __restrict L, Real u, Real* __restrict column) {
  for (int i = from; i < n; ++i) {
    column[i] -= L[i] * u;
  }
}

/// What columns k .. k + 3 of L take away from `column`. Each element loses its products in the
/// order of k, as if the columns came one by one.
template <class Real>
void subtractFour(int k, int n, const Real* lu, std::ptrdiff_t step, Real* __restrict column) {
  const Real* __restrict L0 = lu + k * step;
  const Real* __restrict L1 = L0 + step;
  const Real* __restrict L2 = L1 + step;
  const Real* __restrict L3 = L2 + step;
  subtract(k + 1, k + 4, L0, column[k], column);
  subtract(k + 2, k + 4, L1, column[k + 1], column);
  subtract(k + 3, k + 4, L2, column[k + 2], column);
  const Real u0 = column[k];
  const Real u1 = column[k + 1];
  const Real u2 = column[k + 2];
  const Real u3 = column[k + 3];
  for (int i = k + 4; i < n; ++i) {
    column[i] = (((column[i] - L0[i] * u0) - L1[i] * u1) - L2[i] * u2) - L3[i] * u3;
  }
}

// The left-looking form (Golub and Van Loan, Matrix Computations, 4th ed., section 3.4.4): column
// j takes the exchanges and the columns before it, then gives its pivot. Eigen's own factorisation
// keeps a permutation, where GETRF's callers have the list of exchanges, and loses its speed
// without vector code; these loops are vectorised by the compiler.
template <class Real>
void factor(int n, Real* a, int lda, int* pivots) {
  const std::ptrdiff_t step = std::max(lda, n);
  for (int j = 0; j < n; ++j) {
    Real* const column = a + j * step;
    for (int k = 0; k < j; ++k) {
      std::swap(column[k], column[pivots[k] - 1]);
    }
    int k = 0;
    for (; k + 4 <= j; k += 4) {
      subtractFour(k, n, a, step, column);
    }
    for (; k < j; ++k) {
      subtract(k + 1, n, a + k * step, column[k], column);
    }
    int pivot = j;
    for (int i = j + 1; i < n; ++i) {
      if (std::abs(column[i]) > std::abs(column[pivot])) {
        pivot = i;
      }
    }
    pivots[j] = pivot + 1;
    for (int i = 0; i <= j && pivot != j; ++i) {
      std::swap(a[i * step + j], a[i * step + pivot]);
    }
    for (int i = j + 1; i < n && column[j] != Real(0); ++i) {
      column[i] /= column[j];
    }
  }
}

// A pivot of 0 is divided by, also where the element is 0: the NaN tells a caller that the system
// is singular, and Eigen's own solve skips such elements.
template <class Real>
void solve(int n, const Real* lu, int lda, const int* pivots, Real* b) {
  const std::ptrdiff_t step = std::max(lda, n);
  for (int k = 0; k < n; ++k) {
    std::swap(b[k], b[pivots[k] - 1]);
  }
  for (int k = 0; k < n; ++k) {
    subtract(k + 1, n, lu + k * step, b[k], b);
  }
  for (int k = n - 1; k >= 0; --k) {
    const Real* const column = lu + k * step;
    b[k] /= column[k];
    subtract(0, k, column, b[k], b);
  }
}

/// U (m by k; empty without it), s (k) and V (n by k, or n by n in full), in double.
struct Factors {
  Matrix U;
  Eigen::VectorXd s;
  Matrix V;
  bool converged = true;
};

/// A sign that is settled by rounding would be another one on each platform. LAPACK's first
/// reflection turns a column of positive elements to a negative one, so that the vectors of the
/// largest value have a negative sum there; the same is made the rule for every pair of vectors.
/// Where the elements of a row of V' add up to nothing but rounding, the largest one decides.
void settleSigns(Factors& factors) {
  for (Eigen::Index k = 0; k < factors.V.cols(); ++k) {
    auto row = factors.V.col(k);
    Eigen::Index largest = 0;
    row.cwiseAbs().maxCoeff(&largest);
    const double sum = row.sum();
    constexpr double rounding = 1e-9;
    const double deciding = std::abs(sum) > rounding ? sum : row[largest];
    if (deciding > 0.0) {
      row = -row;
      if (k < factors.U.cols()) {
        factors.U.col(k) = -factors.U.col(k);
      }
    }
  }
}

Factors decompose(const Matrix& a, bool withU, bool fullV) {
  fixBlockSizes();
  const unsigned options = (withU ? unsigned{Eigen::ComputeThinU} : 0U) |
                           unsigned{fullV ? Eigen::ComputeFullV : Eigen::ComputeThinV};
  Factors factors;
  // A tall matrix has the values and V of its triangular factor (Chan, ACM Trans. Math. Softw. 8,
  // 72, 1982), at a fraction of the work.
  const bool tall = a.rows() > a.cols() + a.cols() / 2;
  Eigen::HouseholderQR<Matrix> orthogonal;
  if (tall) {
    orthogonal.compute(a);
  }
  const Eigen::BDCSVD<Matrix> svd(
      tall ? Matrix(orthogonal.matrixQR().topRows(a.cols()).triangularView<Eigen::Upper>()) : a,
      options);
  factors.converged = svd.info() == Eigen::Success;
  factors.s = svd.singularValues();
  factors.V = svd.matrixV();
  if (withU && tall) {
    factors.U = Matrix::Zero(a.rows(), a.cols());
    factors.U.topRows(a.cols()) = svd.matrixU();
    factors.U.applyOnTheLeft(orthogonal.householderQ());
  } else if (withU) {
    factors.U = svd.matrixU();
  }
  settleSigns(factors);
  return factors;
}

}  // namespace

void getrf(int n, float* a, int lda, int* pivots) {
  factor(n, a, lda, pivots);
}
void getrf(int n, double* a, int lda, int* pivots) {
  factor(n, a, lda, pivots);
}

void getrs(int n, const float* lu, int lda, const int* pivots, float* b) {
  solve(n, lu, lda, pivots, b);
}
void getrs(int n, const double* lu, int lda, const int* pivots, double* b) {
  solve(n, lu, lda, pivots, b);
}

// In double and rounded at the end: Eigen's decompositions in single are off by 1e-6 of the
// largest value, where LAPACK's keep 1e-7, and compression cuts at ratios of 1e-6.
void gesvd(int m, int n, float* a, int lda, float* s, float* vt, int ldvt) {
  if (m < 1 || n < 1) {
    return;
  }
  SingleMatrix matrix(a, m, n, Eigen::OuterStride<>(std::max(lda, m)));
  const Factors factors = decompose(matrix.cast<double>(), true, true);
  const Eigen::Index k = std::min(m, n);
  matrix.leftCols(k) = factors.U.cast<float>();
  Eigen::Map<Eigen::VectorXf>(s, k) = factors.s.cast<float>();
  SingleMatrix(vt, n, n, Eigen::OuterStride<>(std::max(ldvt, n))) =
      factors.V.transpose().cast<float>();
}

bool gesvdShort(int m, int n, double* a, double* s, double* u, double* vt) {
  if (m < 1 || n < 1) {
    return true;
  }
  const Factors factors = decompose(Eigen::Map<const Matrix>(a, m, n), u != nullptr, false);
  if (!factors.converged) {
    return false;
  }
  const Eigen::Index k = std::min(m, n);
  Eigen::Map<Eigen::VectorXd>(s, k) = factors.s;
  Eigen::Map<Matrix>(vt, k, n) = factors.V.transpose();
  if (u != nullptr) {
    Eigen::Map<Matrix>(u, m, k) = factors.U;
  }
  return true;
}

}  // namespace vorin
