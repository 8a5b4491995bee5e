// Least squares by a truncated singular value decomposition (Hansen, BIT 27, 534, 1987). No
// routine of the library calls it; it belongs to the toolbox.
#pragma once

namespace vorin {

/// The x of least norm that minimises |A x - b| over the directions that are kept: those
/// of the nmax largest singular values, without the ones below rthr times the largest.
///   m, n  rows and columns of A
///   A     m by n, column-major, contiguous
///   b     m
///   x     out, n: 0 when nothing is kept, so with nmax below 1 or rthr above 1
///   rthr  0 or below drops no value by its ratio; a value equal to the bound is kept
///   nmax  most directions to keep
/// There is no report: a decomposition that fails gives an x to match.
void VorinSolveSVD_s(int m, int n, const float* A, const float* b, float* x, float rthr, int nmax);

}  // namespace vorin
