// Sums of squares over kernels, in single precision and in stated order.
#pragma once

namespace vorin {

/// The mean squared column norm of K (m x n, column-major): the natural size of a
/// regularisation weight for that kernel. Each column is summed from its first
/// row to its last, and the columns' sums are added from the first to the last;
/// the driver's reference and the search's estimate must have the same bits, so
/// both come from here. Not a number for n = 0.
float meanSquaredColumnNorm(int m, int n, const float* K);

}  // namespace vorin
