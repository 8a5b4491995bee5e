#include "brd/active_normal_equations.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/lapack.hpp"
#include "toolbox/views.hpp"

namespace vorin::brd {
namespace {

// Of a few elements, where a call would take longer than the copy.
void copyFew(const double* source, int count, double* target) {
  constexpr int chunk = 4;
  int i = 0;
  for (; i + chunk <= count; i += chunk) {
    std::memcpy(target + i, source + i, chunk * sizeof(double));
  }
  for (; i < count; ++i) {
    target[i] = source[i];
  }
}

double clipped(double value) {
  return value <= 0.0 ? 0.0 : value;
}

}  // namespace

ActiveNormalEquations::ActiveNormalEquations(int m, int n, const double* K, const double* gram)
    : m_(m), n_(n), K_(K), gram_(gram), gradient_(length(n)) {}

void ActiveNormalEquations::select(const std::vector<int>& active, double weight) {
  active_ = active;
  weight_ = weight;
  factored_ = false;
  z_.resize(active.size());
  secondZ_.resize(active.size());
  // Active columns form a few ranges of neighbours.
  ranges_.clear();
  int offset = 0;
  for (const int i : active) {
    if (ranges_.empty() || i != ranges_.back().first + ranges_.back().length) {
      ranges_.push_back({i, offset, 0});
    }
    ++ranges_.back().length;
    ++offset;
  }
}

// The lower triangle of K_A'K_A + w I.
void ActiveNormalEquations::gatherBlock() {
  const ColumnMajorView<const double> KtK{gram_, n_};
  const ColumnMajorView<double> block{factors_.data(), ld_};
  for (std::size_t r = 0; r < ranges_.size(); ++r) {
    const ColumnRange own = ranges_[r];
    for (int k = 0; k < own.length; ++k) {
      const double* source = KtK.column(own.first + k);
      double* target = block.column(own.offset + k);
      copyFew(source + own.first + k, own.length - k, target + own.offset + k);
      for (std::size_t next = r + 1; next < ranges_.size(); ++next) {
        const ColumnRange range = ranges_[next];
        copyFew(source + range.first, range.length, target + range.offset);
      }
      target[own.offset + k] += weight_;
    }
  }
}

// The block is positive definite by at least w, far above the rounding of its elements wherever
// the weight is in range. LU takes over where a factor shows otherwise.
void ActiveNormalEquations::factor() {
  if (factored_) {
    return;
  }
  constexpr int padding = kernels::rowPadding<double>;
  const int count = static_cast<int>(active_.size());
  ld_ = (count + padding - 1) / padding * padding;
  factors_.resize(area(ld_, count));
  diagonal_.resize(active_.size());
  gatherBlock();
  kernels::table<double>().cholesky(count, ld_, factors_.data(), diagonal_.data());
  byCholesky_ =
      std::all_of(diagonal_.begin(), diagonal_.end(), [](double pivot) { return pivot > 0.0; });
  if (!byCholesky_) {
    gatherBlock();
    const ColumnMajorView<double> block{factors_.data(), ld_};
    for (int j = 0; j < count; ++j) {
      for (int i = 0; i < j; ++i) {
        block(i, j) = block(j, i);
      }
    }
    pivots_.resize(active_.size());
    getrf(count, factors_.data(), ld_, pivots_.data());
  }
  factored_ = true;
}

void ActiveNormalEquations::solveFactored(double* z) {
  factor();
  const int count = static_cast<int>(active_.size());
  if (byCholesky_) {
    kernels::table<double>().choleskySolve(count, ld_, factors_.data(), z);
  } else {
    getrs(count, factors_.data(), ld_, pivots_.data(), z);
  }
}

void ActiveNormalEquations::dualFrom(const double* right, const double* z, double* x) {
  const int count = static_cast<int>(active_.size());
  kernels::table<double>().combineColumns(m_, count, active_.data(), K_, z, x);
  for (int j = 0; j < m_; ++j) {
    x[j] = (right[j] - x[j]) / weight_;
  }
}

void ActiveNormalEquations::solveData(const double* d, const double* projected, double* c) {
  std::transform(active_.begin(), active_.end(), z_.begin(),
                 [projected](int i) { return projected[i]; });
  solveFactored(z_.data());
  dualFrom(d, z_.data(), c);
}

void ActiveNormalEquations::distribution(const double* projected, double* f) {
  const int count = static_cast<int>(active_.size());
  if (count < n_) {
    kernels::table<double>().combineColumns(n_, count, active_.data(), gram_, z_.data(),
                                            gradient_.data());
    for (int i = 0; i < n_; ++i) {
      f[i] = clipped((projected[i] - gradient_[length(i)]) / weight_);
    }
  }
  for (std::size_t k = 0; k < active_.size(); ++k) {
    f[active_[k]] = clipped(z_[k]);
  }
}

void ActiveNormalEquations::solveDual(const double* c, double* x) {
  // K_A'c is z.
  secondZ_ = z_;
  solveFactored(secondZ_.data());
  dualFrom(c, secondZ_.data(), x);
}

void ActiveNormalEquations::solve(const double* right, const double* projected, double* x) {
  std::transform(active_.begin(), active_.end(), secondZ_.begin(),
                 [projected](int i) { return projected[i]; });
  solveFactored(secondZ_.data());
  dualFrom(right, secondZ_.data(), x);
}

}  // namespace vorin::brd
