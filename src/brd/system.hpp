// The linear algebra of one pass of the Butler-Reeds-Dawson iteration, with the
// work arrays that all solves of one problem share.
//
// Notation: K kernel (m x n), d data (m), f distribution (n), c dual vector (m),
// w weight, H the diagonal 0/1 matrix of the columns with f > 0, G = K H K'.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "brd/active_normal_equations.hpp"
#include "brd/kernel_forms.hpp"
#include "brd/pass_prediction.hpp"
#include "brd/solution.hpp"
#include "toolbox/aligned.hpp"

namespace vorin::brd {

template <class Real>
class System {
 public:
  /// Borrows K (m x n, column-major) and d (m). Sizes below 1 count as empty.
  System(int m, int n, const Real* K, const Real* d);

  /// Shares the kernel with other systems and borrows d (m).
  System(std::shared_ptr<const KernelForms<Real>> kernel, const Real* d);

  /// Converts d from the caller's precision into a copy of its own.
  template <class Other>
  static System converted(std::shared_ptr<const KernelForms<Real>> kernel, const Other* d);

  /// Takes other data (m), borrowed or converted as at construction; what depends on the kernel
  /// alone and the arrays stay. Solves then have the bits of a new system.
  template <class Other>
  void takeData(const Other* d);

  int m() const { return m_; }
  int n() const { return n_; }
  const Real* K() const { return K_; }
  const Real* d() const { return d_; }

  /// K'K (n x n), formed at the first use of the kernel; null in single precision, which never
  /// solves by it.
  const Real* gram();

  /// K'd (n), formed at the first call and then kept.
  const Real* projectedData();

  /// f = max(0, K' c), element by element; a NaN stays a NaN.
  void distributionFromDual(const Real* c, Real* f);

  /// Factors G + w I for the mask of `f`, or selects the normal equations on the active set in
  /// its place. Columns with f = 0 are left out: their terms are zeros, so that the sum has
  /// the same bits without them. The factors of the last call are kept when mask and
  /// weight are the same; returns true then.
  bool factor(const Real* f, Real weight);

  /// True where `factor` would find the mask of `f` and the weight of its last call.
  bool sameMask(const Real* f, Real weight) const;

  /// Factors K diag(mask) K' + w I for any diagonal `mask` (n), all columns included.
  void factorMask(const Real* mask, Real weight);

  /// c = (G + w I)^-1 d, with the last `factor` or `factorMask`.
  void solveData(Real* c);

  /// f = max(0, K' c) for the c of the last `solveData`; a NaN stays a NaN.
  void distributionOfData(const Real* c, Real* f);

  /// x = (G + w I)^-1 c. `isMaskOfC`: c is that of the last `solveData`, with the same factors.
  void solveDual(const Real* c, bool isMaskOfC, Real* x);

  /// False when the system was not factored by LU and the slope of `solution`, found with it,
  /// is not above its rounding error: then only LU factors of the m-by-m system give the sign
  /// that they have.
  bool slopeIsCertain(const Solution<Real>& solution) const;

  /// Factors G + w I by LU for the mask and weight of the last `factor`. A following `factor`
  /// begins anew.
  void factorByLu();

  /// True where a Scout can tell how a solve at `weight` ends.
  bool allowsScout(Real weight) const;

  /// While it lives, systems that would be factored by LU are factored by Cholesky where that
  /// succeeds. Only masks may be taken from their solutions.
  class Scout {
   public:
    explicit Scout(System& system) : system_(system) { system_.scouts_ = true; }
    ~Scout() {
      system_.scouts_ = false;
      system_.factored_ = false;
    }
    Scout(const Scout&) = delete;
    Scout& operator=(const Scout&) = delete;

   private:
    System& system_;
  };

  /// The passes of a solve at `weight` from f and c that are settled without their systems, given
  /// its tolerance and its limit of passes; null where none is. What they leave to the solve is as
  /// PassPrediction::run() says, and c (m) is only compared with. Unless `stepsAreRead` the first
  /// step may be any number above the tolerance.
  const PassPrediction* predictPasses(Real* f, const Real* c, Real weight, Real tolerance,
                                      int mostPasses, bool stepsAreRead = true);

  /// rss and its slope for a solve at `weight` whose passes predictPasses() has told to the end,
  /// where they are certain to nearly the digits of single precision; none elsewhere.
  std::optional<Solution<Real>> predictedSolution(Real weight);

  /// Two work vectors of m elements for the iteration.
  Real* newDual() { return newDual_.data(); }
  Real* secondSolution() { return secondSolution_.data(); }

 private:
  // Single precision has no digits to spare for other forms than the m-by-m system by LU.
  static constexpr bool hasOtherForms = std::is_same_v<Real, double>;

  enum class Form {
    lu,              // G_ has the LU factors of the m-by-m system
    cholesky,        // G_ has its Cholesky factor
    normalEquations  // the system is normalEquations_'s
  };

  bool canSquare(Real weight) const;
  void storeMask(const Real* f, Real weight);
  bool selectNormalEquations();
  bool factorByCholesky();
  void packActive();
  void formActiveColumns();
  void formAllColumns();
  void addWeight();
  void factorGByLu();
  void solve(const Real* right, Real* x);
  void project(const Real* x, Real* out) const;
  Real firstStep(const Real* c, Real weight);
  Real squaredData();

  std::shared_ptr<const KernelForms<Real>> kernel_;
  int m_;
  int n_;
  std::vector<Real> ownData_;
  const Real* K_;
  const Real* d_;
  AlignedVector<Real> product_;      // paddedColumns(): K' c
  std::vector<Real> projectedData_;  // paddedColumns(): K' d, empty until the first use

  // The system that is factored.
  std::vector<Real> mask_;   // 1, 0, or a NaN of f
  std::vector<int> active_;  // the columns whose mask is not 0
  Real weight_ = 0;
  bool factored_ = false;
  bool scouts_ = false;
  Form form_ = Form::lu;
  std::optional<ActiveNormalEquations> normalEquations_;
  std::optional<PassPrediction> prediction_;
  bool predictsOtherData_ = false;   ///< prediction_ still has the data before
  std::optional<Real> squaredData_;  // |d|^2
  AlignedVector<Real> packed_;       // the active columns in panels of rows, for the gram kernel
  AlignedVector<Real> G_;            // m x m; its factors after `factor`
  AlignedVector<Real> allColumnG_;   // G with all columns active, empty until the first use
  std::vector<std::int32_t> pivots_;
  std::vector<Real> newDual_;
  std::vector<Real> secondSolution_;
};

template <class Real>
template <class Other>
void System<Real>::takeData(const Other* d) {
  if constexpr (std::is_same_v<Other, Real>) {
    d_ = d;
  } else {
    std::transform(d, d + ownData_.size(), ownData_.begin(),
                   [](Other value) { return static_cast<Real>(value); });
  }
  projectedData_.clear();
  squaredData_.reset();
  factored_ = false;
  predictsOtherData_ = true;
}

/// rss and its derivative for the dual vector c (m, in and out) of a solve, with the system
/// that is factored. c is formed anew where the m-by-m system is needed for the sign of the
/// slope, provided `isMaskOfC`: the factored mask is the one that c was found with.
template <class Real>
Solution<Real> residualAndSlope(System<Real>& system, bool isMaskOfC, Real* c, Real weight,
                                std::int32_t status);

}  // namespace vorin::brd
