#include "brd/qp_cholesky.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "toolbox/kernels/kernels.hpp"

namespace vorin::brd {
namespace {

// A pivot is the squared distance of a column from the span of those before it. Below
// the rounding error of the diagonal element it has no correct digit. The comparison is
// false for a NaN and for infinities.
bool usablePivot(double pivot, double diagonal) {
  return pivot > std::numeric_limits<double>::epsilon() * diagonal;
}

}  // namespace

BlockFactor::BlockFactor(int n, const double* Q, double* storage)
    : n_(n), Q_(Q), storage_(storage), row_(static_cast<std::size_t>(n)) {
  indices_.reserve(static_cast<std::size_t>(n));
}

bool BlockFactor::assign(const IndexedVector<int>& indices) {
  indices_ = indices;
  const int p = size();
  // Neighbours in the list mostly are neighbours in Q and are copied together.
  int end = 0;
  for (int begin = 0; begin < p; begin = end) {
    const int first = indices_[begin];
    for (end = begin + 1; end < p && indices_[end] == first + end - begin; ++end) {
    }
    for (int k = 0; k < end; ++k) {
      const double* source = Q_ + std::ptrdiff_t{indices_[k]} * n_ + first;
      const int from = std::max(begin, k);
      std::copy(source + (from - begin), source + (end - begin), column(k) + from);
    }
  }
  kernels::table<double>().cholesky(p, n_, storage_, row_.data());
  for (int k = 0; k < p; ++k) {
    const int index = indices_[k];
    if (!usablePivot(row_[k], entry(index, index))) {
      indices_.clear();
      return false;
    }
  }
  return true;
}

bool BlockFactor::append(int index) {
  const int p = size();
  double* row = row_.data();
  for (int k = 0; k < p; ++k) {
    row[k] = entry(indices_[k], index);
  }
  solveLower(row);
  double pivot = entry(index, index);
  for (int k = 0; k < p; ++k) {
    pivot -= row[k] * row[k];
  }
  if (!usablePivot(pivot, entry(index, index))) {
    return false;
  }
  for (int k = 0; k < p; ++k) {
    column(k)[p] = row[k];
  }
  column(p)[p] = std::sqrt(pivot);
  indices_.push_back(index);
  return true;
}

void BlockFactor::remove(int position) {
  const int p = size();
  // Without its row, column k reaches one row above the diagonal for k > position.
  for (int k = 0; k < p; ++k) {
    double* values = column(k);
    const int from = k > position ? k : position + 1;
    std::copy(values + from, values + p, values + from - 1);
  }
  // A rotation of each pair of columns makes the element above the diagonal zero; the last
  // column becomes zero and is dropped.
  for (int k = position; k + 1 < p; ++k) {
    double* left = column(k);
    double* right = column(k + 1);
    const double radius = std::hypot(left[k], right[k]);
    const double c = left[k] / radius;
    const double s = right[k] / radius;
    for (int i = k; i + 1 < p; ++i) {
      const double a = left[i];
      const double b = right[i];
      left[i] = c * a + s * b;
      right[i] = c * b - s * a;
    }
  }
  indices_.erase(indices_.begin() + position);
}

void BlockFactor::solveLower(double* b) const {
  const int p = size();
  for (int k = 0; k < p; ++k) {
    const double* values = column(k);
    b[k] /= values[k];
    for (int i = k + 1; i < p; ++i) {
      b[i] -= values[i] * b[k];
    }
  }
}

void BlockFactor::solveUpper(double* b) const {
  const int p = size();
  for (int k = p - 1; k >= 0; --k) {
    const double* values = column(k);
    double sum = b[k];
    for (int i = k + 1; i < p; ++i) {
      sum -= values[i] * b[i];
    }
    b[k] = sum / values[k];
  }
}

void BlockFactor::solve(double* b) const {
  kernels::table<double>().choleskySolve(size(), n_, storage_, b);
}

}  // namespace vorin::brd
