// The product of a kernel with a distribution, as every driver forms it.
#pragma once

namespace vorin {

/// fit = K f for K (m x n, column-major), in single precision: fit starts at zero and
/// takes column after column, f[j] times column j, from the first to the last.
void formFit(int m, int n, const float* K, const float* f, float* fit);

}  // namespace vorin
