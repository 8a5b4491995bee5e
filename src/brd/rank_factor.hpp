// K'K as R'R with few rows: a smooth kernel has some twenty directions above the rounding of its
// elements, whatever the number of its columns.
//
// R is the Cholesky factor of K'K with diagonal pivoting (Higham, Accuracy and Stability of
// Numerical Algorithms, 2nd ed., 2002, section 10.3), ended where what is left of every column is
// next to nothing.
#pragma once

#include "toolbox/aligned.hpp"

namespace vorin::brd {

struct RankFactor {
  int rank = 0;    ///< rows of R; 0 where there is no factor
  int padded = 0;  ///< the same padded to kernels::rowPadding
  int columns = 0;
  int paddedColumns = 0;
  double largest = 0.0;             ///< the largest squared column norm of K
  double left = 0.0;                ///< trace of K'K - R'R, a bound of its norm
  AlignedVector<double> byColumns;  ///< R, padded x columns, column-major, zeros in the padding
  AlignedVector<double> byRows;     ///< R, padded x paddedColumns, row-major, zeros in the padding
  AlignedVector<double> square;     ///< R R', the lower triangle of padded x padded
};

/// The factor of K'K (n x n, contiguous). None where it has so many rows that work with it costs as
/// much as with K'K itself, and where a number is not finite.
RankFactor rankFactorOf(int n, const double* KtK);

}  // namespace vorin::brd
