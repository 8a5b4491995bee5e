// The third route of a solve: a direct solver minimises the problem as one quadratic
// program, and the system of the iteration then gives c, rss and its slope for that f. It needs no
// starting point, reads no key, writes no CITE and no log line.
//
// Notation: K kernel (m x n), d data (m), f distribution (n), c dual vector (m), w weight,
//   Q = K'K + w I,  g = -K'd:   minimise 1/2 f'Qf + g'f over f >= 0.
#pragma once

#include <cstdint>
#include <vector>

#include "brd/solution.hpp"
#include "brd/system.hpp"
#include "toolbox/indexed_vector.hpp"

namespace vorin::brd {

/// What the solves of one problem share on this route: the system with its K'K and K'd,
/// the work arrays, and the free elements of the last minimum, from which the next one starts.
/// The start does not show in the result, which comes from the factors of the elements that are
/// free at the minimum, in their own order: repeated solves have the bits of solves on new objects.
class QuadraticProgram {
 public:
  /// Borrows the system of the problem.
  explicit QuadraticProgram(System<double>& system);

  System<double>& system() const { return *system_; }

  /// f (n, out) = the minimiser at `weight`, as nk0000 gives it for Q, g and the constraints
  /// f >= 0, which need no matrix here; returns its status.
  std::int32_t minimise(double weight, double* f);

 private:
  System<double>* system_;
  std::vector<double> minusKtd_;
  std::vector<double> Q_;
  std::vector<double> factors_;
  IndexedVector<char> free_;
};

/// A = I (n x n).
void vrEye_d(int n, double* A);

/// One solve. f (n, out), c (m, out); their contents on entry are not read. The status is nk0000's.
Solution<double> vrBRD_qp_d(QuadraticProgram& program, double* f, double* c, double weight);

/// The steps after the quadratic program: clears small elements of f
/// (n, in and out) and gives c (m, out), rss and slope for it, whatever the `status` of
/// the program was.
Solution<double> finishQuadraticProgram(System<double>& system, double* f, double* c, double weight,
                                        std::int32_t status);

}  // namespace vorin::brd
