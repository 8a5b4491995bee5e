#include "brd/shifted_lanczos.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// Kernels of decays take 15 to 25 vectors. Where these do not suffice a factorisation is cheaper.
constexpr int mostVectors = 39;
constexpr int rowStride = 40;
static_assert(rowStride > mostVectors && rowStride % kernels::rowPadding<double> == 0);

double dot(int n, const double* a, const double* b) {
  return std::inner_product(a, a + n, b, 0.0);
}

}  // namespace

ShiftedLanczos::ShiftedLanczos(int n, const double* A, const double* b)
    : n_(n),
      A_(A),
      norm_(std::sqrt(dot(n, b, b))),
      columns_(length(std::max(n, rowStride))),
      diagonal_(length(mostVectors)),
      offDiagonal_(length(mostVectors)),
      V_(area(n, rowStride)),
      rowsOfV_(area(n, rowStride)),
      work_(length(n)),
      overlap_(length(rowStride)) {
  std::iota(columns_.begin(), columns_.end(), 0);
  std::fill(rowsOfV_.begin(), rowsOfV_.end(), 0.0);
  appendVector(b, norm_);
}

void ShiftedLanczos::appendVector(const double* vector, double scale) {
  double* column = V_.data() + area(n_, count_);
  double* row = rowsOfV_.data() + count_;
  for (std::ptrdiff_t i = 0; i < n_; ++i) {
    column[i] = vector[i] / scale;
    row[i * rowStride] = column[i];
  }
}

// One more row of T and the vector after it. The new vector is made orthogonal to all before it,
// not to the last two alone, which rounding would undo after a few steps.
bool ShiftedLanczos::extend() {
  if (count_ == mostVectors) {
    return false;
  }
  const auto& kernel = kernels::table<double>();
  const double* last = V_.data() + area(n_, count_);
  kernel.combineColumns(n_, n_, columns_.data(), A_, last, work_.data());
  diagonal_[count_] = dot(n_, last, work_.data());
  for (int repeat = 0; repeat < 2; ++repeat) {
    kernel.combineRows(n_, rowStride, rowsOfV_.data(), work_.data(), overlap_.data());
    for (int k = 0; k <= count_; ++k) {
      const double share = overlap_[length(k)];
      const double* earlier = V_.data() + area(n_, k);
      double* rest = work_.data();
      for (std::ptrdiff_t i = 0; i < n_; ++i) {
        rest[i] -= share * earlier[i];
      }
    }
  }
  const double size = std::sqrt(dot(n_, work_.data(), work_.data()));
  offDiagonal_[count_] = size;
  ++count_;
  appendVector(work_.data(), size > 0.0 ? size : 1.0);
  return true;
}

// T + s I = L D L' is extended with T, and with it p = L^-1 |b| e1; the residual of the first k
// vectors is offDiagonal(k) |p(k) / D(k)|.
bool ShiftedLanczos::solve(double shift, double* z) {
  if (!(norm_ > 0.0) || !(shift > refused_)) {
    return false;
  }
  const double tolerance = std::numeric_limits<double>::epsilon() * norm_;
  IndexedVector<double> D(length(mostVectors));
  IndexedVector<double> y(length(mostVectors));
  double p = norm_;
  int k = 0;
  for (;; ++k) {
    if (k == count_ && !extend()) {
      refused_ = shift;
      return false;
    }
    D[k] = diagonal_[k] + shift;
    if (k > 0) {
      const double factor = offDiagonal_[k - 1] / D[k - 1];
      D[k] -= factor * offDiagonal_[k - 1];
      p *= -factor;
    }
    y[k] = p / D[k];
    if (std::abs(offDiagonal_[k] * y[k]) <= tolerance) {
      break;
    }
  }
  for (int i = k - 1; i >= 0; --i) {
    y[i] -= offDiagonal_[i] / D[i] * y[i + 1];
  }
  kernels::table<double>().combineColumns(n_, k + 1, columns_.data(), V_.data(), y.data(), z);
  return std::all_of(z, z + n_, [](double value) { return std::isfinite(value); });
}

}  // namespace vorin::brd
