// Calls of LAPACK by its Fortran symbols: every argument by address, character
// arguments with a hidden length at the end.
#include "toolbox/lapack.hpp"

#include <algorithm>
#include <cstddef>

extern "C" {
void sgetrf_(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info);
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void sgetrs_(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda,
             const int* ipiv, float* b, const int* ldb, int* info, std::size_t transLength);
void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info, std::size_t transLength);
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
  lda = std::max(lda, n);
  int info = 0;
  routine(&n, &n, a, &lda, pivots, &info);
}

template <class Real, class Getrs>
void solve(Getrs routine, int n, const Real* lu, int lda, const int* pivots, Real* b) {
  if (n < 1) {
    return;
  }
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

}  // namespace vorin
