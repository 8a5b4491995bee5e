// The hot loops of the library and the choice of instruction set for them.
//
// Every kernel vectorises across independent outputs and keeps each output's sum
// in its plain left-to-right order, with no fused multiply-add. The result
// therefore has the same bits at every instruction-set level and equals the
// plain loop beside each declaration.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorin::kernels {

/// Instruction-set levels, lowest first.
enum class Level { baseline, avx2, avx512 };

/// The highest level that this CPU runs.
Level highestLevel();

/// The level in use; the highest one until useLevel says otherwise.
Level currentLevel();

/// Test hook: uses `level`, or the highest possible one when the CPU lacks it.
void useLevel(Level level);

/// Rows of a packed panel: a cache line of one tile column, the same at every
/// level so that one packing serves all.
template <class Real>
inline constexpr int panelRows = 64 / static_cast<int>(sizeof(Real));

/// Values by which a row of a row-major array is padded to whole vectors.
template <class Real>
inline constexpr int rowPadding = 64 / static_cast<int>(sizeof(Real));

/// Rows begin .. end - 1 of a matrix and the factor of each.
template <class Real>
struct Run {
  int begin;
  int end;
  Real share;
};

template <class Real>
struct Table {
  /// G (m x m, column-major) = A A' for A of m rows and `columns` columns, packed in
  /// panels: row r of column i is at
  ///   packed[(r / panelRows * columns + i) * panelRows + r % panelRows],
  /// rows past m being zero. Plain form, for every r and s:
  ///   sum = 0; for (i = 0 .. columns-1) sum += A(r, i) * A(s, i); G(r, s) = sum;
  void (*gram)(int m, int columns, const Real* packed, Real* G);

  /// The same for elements that single precision can hold, whose products are exact in double:
  /// faster there, with the same bits.
  void (*gramOfSingles)(int m, int columns, const Real* packed, Real* G);

  /// out[i] = sum over j of a[j * stride + i] * x[j], for i below `stride`, which
  /// is a multiple of rowPadding. Plain form, for every i:
  ///   sum = 0; for (j = 0 .. rows-1) sum += a[j * stride + i] * x[j]; out[i] = sum;
  void (*combineRows)(int rows, int stride, const Real* a, const Real* x, Real* out);

  /// out[j] = sum over k of K[columns[k] * m + j] * x[k], for j below m: chosen columns of
  /// an m-row column-major matrix. Plain form, for every j:
  ///   sum = 0; for (k = 0 .. count-1) sum += K[columns[k] * m + j] * x[k]; out[j] = sum;
  void (*combineColumns)(int m, int count, const int* columns, const Real* K, const Real* x,
                         Real* out);

  /// out(r, j) = sum over the rows i of run r of share * in(i, j), for `columns` columns j of
  /// column-major matrices with leading dimensions ldIn and ldOut. Plain form, for every r and j:
  ///   sum = 0; for (i = begin .. end-1) sum += share * in(i, j); out(r, j) = sum;
  void (*sumRuns)(int runs, const Run<Real>* run, int columns, const Real* in, int ldIn, Real* out,
                  int ldOut);

  /// Adds chosen columns of Q (n rows, column-major) to y (n), and what they add in size to
  /// `size` (n). Plain form, for every i:
  ///   for (k = 0 .. count-1) { term = Q[columns[k] * n + i] * x[k];
  ///                            y[i] += term; size[i] += |term|; }
  void (*addColumns)(int n, int count, const int* columns, const Real* Q, const Real* x, Real* y,
                     Real* size);

  /// The Cholesky factor of a symmetric matrix given by its lower triangle (n x n,
  /// column-major, leading dimension ld >= n), in place. What is above the diagonal and what is
  /// behind row n of a column is not read and is changed. pivots (n): the diagonal before its roots
  /// are taken; where one isn't positive the factor is none from there on. Plain form, for j = 0 ..
  /// n-1:
  ///   for (i = j .. n-1) for (k = 0 .. j-1) L(i, j) -= L(i, k) * L(j, k);
  ///   pivots[j] = L(j, j);  L(j, j) = sqrt(L(j, j));
  ///   for (i = j+1 .. n-1) L(i, j) /= L(j, j);
  void (*cholesky)(int n, int ld, Real* L, Real* pivots);

  /// Replaces b (n) by the solution of L L' x = b, with the factor that `cholesky` left. Plain
  /// form:
  ///   for (k = 0 .. n-1) { b[k] /= L(k, k); for (i = k+1 .. n-1) b[i] -= L(i, k) * b[k]; }
  ///   for (k = n-1 .. 0) { for (i = n-1 .. k+1) b[k] -= L(i, k) * b[i]; b[k] /= L(k, k); }
  void (*choleskySolve)(int n, int ld, const Real* L, Real* b);

  /// Adds the outer products of chosen columns of A (n rows, column-major, n a multiple of
  /// rowPadding) to the lower triangle of S (n x n). What is above the diagonal is changed.
  /// Plain form, for every i >= j:
  ///   for (k = 0 .. count-1) S(i, j) += A(i, columns[k]) * (factor * A(j, columns[k]));
  void (*addOuterProducts)(int n, int count, const int* columns, const Real* A, Real factor,
                           Real* S);

  /// Solves (S + shift I) x = right for a symmetric positive definite system, S (n x n) by its
  /// lower triangle, column-major; what is above the diagonal may be any finite number. False, and
  /// nothing done, for other n than rowPadding times 1 to 4 (1 and 2 in single precision). x may be
  /// right. Plain form, with S' = S + shift I and z = right, for k = 0 .. n-1:
  ///   p = 1 / S'(k, k);  for (i > k) { L(i, k) = S'(i, k) * p;  z[i] -= L(i, k) * z[k]; }
  ///   for (j > k) for (i >= j) S'(i, j) -= S'(i, k) * L(j, k);   x[k] = z[k] * p;
  /// and for k = n-1 .. 0, with g the least multiple of 4 above k and t_r the sum over the rising
  /// i >= g with i % 4 = r of L(i, k) * x[i]:
  ///   x[k] -= (t_0 + t_1) + (t_2 + t_3);   for (i = g-1 .. k+1) x[k] -= L(i, k) * x[i];
  bool (*solveShifted)(int n, const Real* S, Real shift, const Real* right, Real* x);

  /// out = A'x for A (rows x panelRows * panels) whose row j of panel k is at
  ///   packed[(k * rows + j) * panelRows], as gram takes A' . Plain form, for every i of panel k:
  ///   sum = 0; for (j = 0 .. rows-1) sum += packed[(k * rows + j) * panelRows + i] * x[j];
  ///   out[k * panelRows + i] = sum;
  void (*combinePanels)(int rows, int panels, const Real* packed, const Real* x, Real* out);

  /// out[j * ldOut + i] = in[i * ldIn + j] for j below `rows` and i below `columns`, a multiple of
  /// 4; the second from single precision.
  void (*transpose)(int rows, int columns, const Real* in, std::ptrdiff_t ldIn, Real* out,
                    std::ptrdiff_t ldOut);
  void (*transposeSingles)(int rows, int columns, const float* in, std::ptrdiff_t ldIn, Real* out,
                           std::ptrdiff_t ldOut);

  /// values[i] = b[i] - values[i] for i below n, and bit i % 64 of positive[i / 64] tells whether
  /// that is above 0; the bits from n on are 0. A NaN is not above.
  void (*subtractAndSign)(int n, const Real* b, Real* values, std::uint64_t* positive);

  /// Adds to tile k, for k below `panels`, the product of panel k with panel 0 transposed: panels
  /// as gram takes them, of elements that single precision can hold, and tiles of panelRows x
  /// panelRows, column-major, one after the other. Plain form, for every r and s of tile k:
  ///   sum = 0; for (i = 0 .. columns-1) sum += panel_k(r, i) * panel_0(s, i);  tile_k(r, s) +=
  ///   sum;
  void (*addPanelProducts)(int panels, int columns, const Real* packed, Real* tiles);
};

/// The kernels at the level in use.
template <class Real>
const Table<Real>& table();

}  // namespace vorin::kernels
