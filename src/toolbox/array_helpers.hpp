// Small array helpers that the toolbox shares: exchange, arithmetic sequence,
// outer product, and the hypotenuse that neither overflows nor underflows.
#pragma once

#include <cstdint>

#include "toolbox/views.hpp"

namespace vorin {

/// Exchanges a and b.
void swap_i(std::int32_t& a, std::int32_t& b);

/// out[0] = first, out[k + 1] = out[k] + increment, for the first n elements (no
/// more than out has). n below 1 writes nothing. Up to 16 elements are filled one
/// after the other, longer ones by doubling the filled part; in integers, which
/// wrap around, both ways give the same values.
void arith_seq_i(VectorView<std::int32_t> out, std::int32_t first, std::int32_t increment,
                 std::int32_t n);

/// out(i, j) = a[i] * b[j]; out has the extents of a and b.
void outer_product_sp(VectorView<const float> a, VectorView<const float> b, MatrixView<float> out);
void outer_product_dp(VectorView<const double> a, VectorView<const double> b,
                      MatrixView<double> out);

/// sqrt(a^2 + b^2) by way of the larger of |a| and |b|, so that no square overflows.
float scaled_hypot_sp(float a, float b);
double scaled_hypot_dp(double a, double b);

}  // namespace vorin
