// A plane rotation that turns a vector of two onto the first axis.
#pragma once

namespace vorin {

/// c, s and sig with c a + s b = sig = sqrt(a^2 + b^2) and c b - s a = 0, formed
/// by way of the larger of |a| and |b| (C. L. Lawson and R. J. Hanson, Solving Least
/// Squares Problems, Prentice-Hall 1974, algorithm G1). For a = b = 0: c = 0, s = 1,
/// and sig is left alone.
void givens_dp(double a, double b, double& c, double& s, double& sig);

}  // namespace vorin
