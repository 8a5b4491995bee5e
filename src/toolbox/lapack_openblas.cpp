// Calls of LAPACK by its Fortran symbols: every argument by address, character
// arguments with a hidden length at the end.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "toolbox/blas_buffers.hpp"
#include "toolbox/convert.hpp"
#include "toolbox/lapack.hpp"

extern "C" {
void sgetrf_(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info);
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void sgetrs_(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda,
             const int* ipiv, float* b, const int* ldb, int* info, std::size_t transLength);
void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info, std::size_t transLength);
void sgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, float* a,
             const int* lda, float* s, float* u, const int* ldu, float* vt, const int* ldvt,
             float* work, const int* lwork, int* info, std::size_t jobuLength,
             std::size_t jobvtLength);
void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a,
             const int* lda, double* s, double* u, const int* ldu, double* vt, const int* ldvt,
             double* work, const int* lwork, int* info, std::size_t jobuLength,
             std::size_t jobvtLength);
}

namespace vorin {
namespace {

// LAPACK's own error handler ends the process on a leading dimension below
// max(1, n), so neither an empty system nor such a dimension may reach it.
template <class Real, class Getrf>
void factor(Getrf routine, int n, Real* a, int lda, int* pivots) {
  if (n < 1) {
    return;
  }
  requireBlasBuffer();
  lda = std::max(lda, n);
  int info = 0;
  routine(&n, &n, a, &lda, pivots, &info);
}

template <class Real, class Getrs>
void solve(Getrs routine, int n, const Real* lu, int lda, const int* pivots, Real* b) {
  if (n < 1) {
    return;
  }
  requireBlasBuffer();
  lda = std::max(lda, n);
  const int one = 1;
  int info = 0;
  routine("N", &n, &one, lu, &lda, pivots, b, &n, &info, 1);
}

}  // namespace

void getrf(int n, float* a, int lda, int* pivots) {
  factor(sgetrf_, n, a, lda, pivots);
}
void getrf(int n, double* a, int lda, int* pivots) {
  factor(dgetrf_, n, a, lda, pivots);
}

void getrs(int n, const float* lu, int lda, const int* pivots, float* b) {
  solve(sgetrs_, n, lu, lda, pivots, b);
}
void getrs(int n, const double* lu, int lda, const int* pivots, double* b) {
  solve(dgetrs_, n, lu, lda, pivots, b);
}

void gesvd(int m, int n, float* a, int lda, float* s, float* vt, int ldvt) {
  if (m < 1 || n < 1) {
    return;
  }
  requireBlasBuffer();
  lda = std::max(lda, m);
  ldvt = std::max(ldvt, n);
  const int one = 1;  // U goes to a: the matrix for U is not referenced
  int info = 0;
  const auto call = [&](float* work, int workLength) {
    sgesvd_("O", "A", &m, &n, a, &lda, s, nullptr, &one, vt, &ldvt, work, &workLength, &info, 1, 1);
  };
  float best = 0.0f;
  call(&best, -1);
  // The best length comes back as a float, rounded; the least one is a formula.
  const int least = std::max(3 * std::min(m, n) + std::max(m, n), 5 * std::min(m, n));
  std::vector<float> work(static_cast<std::size_t>(std::max(truncateToInt(best), least)));
  call(work.data(), static_cast<int>(work.size()));
}

bool gesvdShort(int m, int n, double* a, double* s, double* u, double* vt) {
  if (m < 1 || n < 1) {
    return true;
  }
  requireBlasBuffer();
  const int k = std::min(m, n);
  int info = 0;
  const auto call = [&](double* work, int workLength) {
    dgesvd_(u == nullptr ? "N" : "S", "S", &m, &n, a, &m, s, u, &m, vt, &k, work, &workLength,
            &info, 1, 1);
  };
  double best = 0.0;
  call(&best, -1);
  std::vector<double> work(static_cast<std::size_t>(best));
  call(work.data(), static_cast<int>(work.size()));
  return info == 0;
}

}  // namespace vorin
