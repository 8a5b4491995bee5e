// Notation: a is reduced to U B V' with B upper bidiagonal; w holds its diagonal and
// rv1 its superdiagonal, rv1[i] standing above w[i], so that rv1[0] is 0.
#include "toolbox/svdcmp.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "toolbox/array_helpers.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/nrerror.hpp"

namespace vorin {
namespace {

constexpr int mostPasses = 30;

template <class Real>
struct Twin;
template <>
struct Twin<float> {
  static constexpr std::string_view sizes = "svdcmp_sp";
  static constexpr std::string_view noConvergence = "svdcmp_sp: no convergence in svdcmp";
  static constexpr auto outerProduct = outer_product_sp;
  static constexpr auto hypotenuse = scaled_hypot_sp;
};
template <>
struct Twin<double> {
  static constexpr std::string_view sizes = "svdcmp_dp";
  static constexpr std::string_view noConvergence = "svdcmp_dp: no convergence in svdcmp";
  static constexpr auto outerProduct = outer_product_dp;
  static constexpr auto hypotenuse = scaled_hypot_dp;
};

template <class Real>
Real dot(VectorView<const Real> x, VectorView<const Real> y) {
  Real sum = 0;
  for (std::ptrdiff_t k = 0; k < x.n; ++k) {
    sum += x[k] * y[k];
  }
  return sum;
}

template <class Real>
void fill(VectorView<Real> x, Real value) {
  for (std::ptrdiff_t k = 0; k < x.n; ++k) {
    x[k] = value;
  }
}

template <class Real>
void scaleBy(VectorView<Real> x, Real factor) {
  for (std::ptrdiff_t k = 0; k < x.n; ++k) {
    x[k] *= factor;
  }
}

/// The rows and columns from (i, j) on.
template <class Real>
MatrixView<Real> corner(MatrixView<Real> m, std::ptrdiff_t i, std::ptrdiff_t j) {
  return {m.base + i * m.rowStride + j * m.colStride, m.rows - i, m.cols - j, m.rowStride,
          m.colStride};
}

template <class Real>
MatrixView<Real> transposed(MatrixView<Real> m) {
  return {m.base, m.cols, m.rows, m.colStride, m.rowStride};
}

// A plane rotation that turns (f, h) into (length, 0). Of two zeros it is the identity.
template <class Real>
struct Rotation {
  Real c = 1;
  Real s = 0;
  Real length = 0;

  Rotation(Real f, Real h) : length(Twin<Real>::hypotenuse(f, h)) {
    if (length != Real(0)) {
      c = f / length;
      s = h / length;
    }
  }

  void apply(VectorView<Real> x, VectorView<Real> y) const {
    for (std::ptrdiff_t k = 0; k < x.n; ++k) {
      const Real before = x[k];
      x[k] = c * before + s * y[k];
      y[k] = c * y[k] - s * before;
    }
  }
};

template <class Real>
class GolubReinsch {
 public:
  GolubReinsch(MatrixView<Real> a, VectorView<Real> w, MatrixView<Real> v)
      : a_(a),
        w_(w),
        v_(v),
        m_(a.rows),
        n_(a.cols),
        rv1_(size(n_)),
        products_(size(std::max(m_, n_))),
        update_(size(std::max(m_, n_) * n_)) {}

  void run() {
    bidiagonalise();
    accumulateRight();
    accumulateLeft();
    for (std::ptrdiff_t i = 0; i < n_; ++i) {
      norm_ = std::max(norm_, std::abs(w_[i]) + std::abs(rv1(i)));
    }
    for (std::ptrdiff_t k = n_ - 1; k >= 0; --k) {
      diagonalise(k);
    }
  }

 private:
  static std::size_t size(std::ptrdiff_t n) { return static_cast<std::size_t>(n); }
  Real& rv1(std::ptrdiff_t i) { return rv1_[static_cast<std::size_t>(i)]; }

  // target += u p', p being the first elements of products_, one a column.
  void addOuterProduct(VectorView<const Real> u, MatrixView<Real> target) {
    const MatrixView<Real> update = denseColumns(update_.data(), target.rows, target.cols);
    Twin<Real>::outerProduct(u, {products_.data(), target.cols, 1}, update);
    for (std::ptrdiff_t j = 0; j < target.cols; ++j) {
      for (std::ptrdiff_t i = 0; i < target.rows; ++i) {
        target(i, j) += update(i, j);
      }
    }
  }

  // The reflection 1 + u u' / h that turns the first column of `part` into (g, 0, ..),
  // applied to the other columns; the first one keeps u. Returns g. Scaled by the sum
  // of absolute values, so that no square overflows; 0 leaves all as it is.
  Real reflect(MatrixView<Real> part) {
    const VectorView<Real> u = part.column(0);
    Real scale = 0;
    for (std::ptrdiff_t k = 0; k < u.n; ++k) {
      scale += std::abs(u[k]);
    }
    if (scale == Real(0)) {
      return 0;
    }
    for (std::ptrdiff_t k = 0; k < u.n; ++k) {
      u[k] /= scale;
    }
    const Real square = dot<Real>(u, u);
    const Real f = u[0];
    const Real g = -std::copysign(std::sqrt(square), f);
    const Real h = f * g - square;
    u[0] = f - g;
    const MatrixView<Real> rest = corner(part, 0, 1);
    for (std::ptrdiff_t j = 0; j < rest.cols; ++j) {
      products_[size(j)] = dot<Real>(u, rest.column(j)) / h;
    }
    addOuterProduct(u, rest);
    scaleBy(u, scale);
    return scale * g;
  }

  // Columns and rows alternately. A row is reflected as a column of the transpose of
  // what lies right of the diagonal; the rows above are finished and stay out of it.
  void bidiagonalise() {
    for (std::ptrdiff_t i = 0; i < n_; ++i) {
      w_[i] = i < m_ ? reflect(corner(a_, i, i)) : Real(0);
      if (i + 1 < n_) {
        rv1(i + 1) = i < m_ ? reflect(transposed(corner(a_, i, i + 1))) : Real(0);
      }
    }
  }

  // V, from the row reflections that a keeps right of its diagonal. With u from a and
  // g = rv1[i + 1], h = g u[0]; dividing twice avoids an underflow of h.
  void accumulateRight() {
    for (std::ptrdiff_t i = n_ - 1; i >= 0; --i) {
      const std::ptrdiff_t l = i + 1;
      const MatrixView<Real> done = corner(v_, l, l);
      const VectorView<Real> below = v_.column(i).section(l, n_ - l);
      if (l < n_ && rv1(l) != Real(0)) {
        const VectorView<Real> u = a_.row(i).section(l, n_ - l);
        for (std::ptrdiff_t k = 0; k < u.n; ++k) {
          below[k] = (u[k] / u[0]) / rv1(l);
        }
        for (std::ptrdiff_t j = 0; j < done.cols; ++j) {
          products_[size(j)] = dot<Real>(u, done.column(j));
        }
        addOuterProduct(below, done);
      }
      fill(below, Real(0));
      fill(v_.row(i).section(l, n_ - l), Real(0));
      v_(i, i) = 1;
    }
  }

  // U, over the column reflections that a keeps on and below its diagonal.
  void accumulateLeft() {
    for (std::ptrdiff_t i = std::min(m_, n_) - 1; i >= 0; --i) {
      const std::ptrdiff_t l = i + 1;
      fill(a_.row(i).section(l, n_ - l), Real(0));
      const VectorView<Real> u = a_.column(i).section(i, m_ - i);
      if (w_[i] != Real(0)) {
        for (std::ptrdiff_t j = l; j < n_; ++j) {
          const Real product = dot<Real>(u.section(1, u.n - 1), a_.column(j).section(l, m_ - l));
          products_[size(j - l)] = (product / u[0]) / w_[i];
        }
        addOuterProduct(u, corner(a_, i, l));
        scaleBy(u, Real(1) / w_[i]);
      } else {
        fill(u, Real(0));
      }
      u[0] += 1;
    }
  }

  // The only tolerance there is.
  bool negligible(Real x) const { return std::abs(x) + norm_ == norm_; }

  // The first row of the block of B that ends at k and falls apart nowhere. When it
  // follows a diagonal element of 0, its own superdiagonal element is cancelled.
  std::ptrdiff_t splitAbove(std::ptrdiff_t k) {
    for (std::ptrdiff_t l = k; l > 0; --l) {
      if (negligible(rv1(l))) {
        return l;
      }
      if (negligible(w_[l - 1])) {
        cancel(l, k);
        return l;
      }
    }
    return 0;  // rv1[0] is 0
  }

  void cancel(std::ptrdiff_t l, std::ptrdiff_t k) {
    Real c = 0;
    Real s = 1;
    for (std::ptrdiff_t i = l; i <= k; ++i) {
      const Real f = s * rv1(i);
      rv1(i) *= c;
      if (negligible(f)) {
        return;
      }
      const Rotation<Real> rotation(w_[i], -f);
      w_[i] = rotation.length;
      c = rotation.c;
      s = rotation.s;
      rotation.apply(a_.column(l - 1), a_.column(i));
    }
  }

  void diagonalise(std::ptrdiff_t k) {
    for (int pass = 1; pass <= mostPasses; ++pass) {
      const std::ptrdiff_t l = splitAbove(k);
      if (l == k) {
        if (w_[k] < Real(0)) {
          w_[k] = -w_[k];
          scaleBy(v_.column(k), Real(-1));
        }
        return;
      }
      if (pass == mostPasses) {
        // Required: the record does not end the work; this pass is done, and then the
        // next value's turn comes. Callers learn of it from the log alone.
        nrerror(Twin<Real>::noConvergence);
      }
      qrPass(l, k, shifted(l, k));
    }
  }

  // First element of the first column of B'B - (the eigenvalue of its last 2-by-2
  // minor that lies nearer to its corner), over w[l].
  Real shifted(std::ptrdiff_t l, std::ptrdiff_t k) {
    const Real x = w_[l];
    const Real y = w_[k - 1];
    const Real z = w_[k];
    const Real g = rv1(k - 1);
    const Real h = rv1(k);
    const Real f = ((y - z) * (y + z) + (g - h) * (g + h)) / (Real(2) * h * y);
    const Real root = std::copysign(Twin<Real>::hypotenuse(f, Real(1)), f);
    return ((x - z) * (x + z) + h * (y / (f + root) - h)) / x;
  }

  // One implicit QR step on rows l to k: the rotation that the shift asks for makes an
  // element below the diagonal, and pairs of rotations chase it out at the bottom.
  void qrPass(std::ptrdiff_t l, std::ptrdiff_t k, Real f) {
    Real x = w_[l];
    Real c = 1;
    Real s = 1;
    for (std::ptrdiff_t j = l; j < k; ++j) {
      const std::ptrdiff_t i = j + 1;
      const Real bulge = s * rv1(i);
      const Real g = c * rv1(i);
      const Rotation<Real> right(f, bulge);
      rv1(j) = right.length;
      f = right.c * x + right.s * g;
      const Real next = right.c * g - right.s * x;
      const Real below = right.s * w_[i];
      const Real y = right.c * w_[i];
      right.apply(v_.column(j), v_.column(i));
      const Rotation<Real> left(f, below);
      w_[j] = left.length;
      f = left.c * next + left.s * y;
      x = left.c * y - left.s * next;
      left.apply(a_.column(j), a_.column(i));
      c = left.c;
      s = left.s;
    }
    rv1(l) = 0;
    rv1(k) = f;
    w_[k] = x;
  }

  MatrixView<Real> a_;
  VectorView<Real> w_;
  MatrixView<Real> v_;
  std::ptrdiff_t m_;
  std::ptrdiff_t n_;
  std::vector<Real> rv1_;
  std::vector<Real> products_;
  std::vector<Real> update_;
  Real norm_ = 0;  // the largest |w| + |rv1|
};

template <class Real>
void decompose(MatrixView<Real> a, VectorView<Real> w, MatrixView<Real> v) {
  const std::int32_t n = assert_eq(extent32(a.cols), extent32(v.rows), extent32(v.cols),
                                   extent32(w.n), Twin<Real>::sizes);
  if (n > 0) {
    GolubReinsch<Real>(a, w, v).run();
  }
}

}  // namespace

void svdcmp_sp(MatrixView<float> a, VectorView<float> w, MatrixView<float> v) {
  decompose(a, w, v);
}

void svdcmp_dp(MatrixView<double> a, VectorView<double> w, MatrixView<double> v) {
  decompose(a, w, v);
}

}  // namespace vorin
