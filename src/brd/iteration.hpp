// The Butler-Reeds-Dawson iteration at one weight, in its two precisions.
//
// J. P. Butler, J. A. Reeds and S. V. Dawson, "Estimating solutions of first kind
// integral equations with nonnegative constraints and optimal smoothing", SIAM
// J. Numer. Anal. 18 (1981) 381-397. At the minimum of
//     1/2 |K f - d|^2 + w/2 |f|^2   over f >= 0
// f = max(0, K' c) with (K H K' + w I) c = d; each pass solves that system for the
// mask H of the current f and takes the step whole.
#pragma once

#include "brd/solution.hpp"
#include "brd/system.hpp"

namespace vorin::brd {

/// Single precision. Starts from c (m, in and out) alone; f (n) is written.
Solution<float> vrBRD_w_s(System<float>& system, float* f, float* c, float weight);

/// Double precision. Starts from f (n, in and out) clipped at 0; c (m, in and out)
/// is only compared with in the first pass. A failure that is discarded may leave any f, c and
/// residual. A success that is deferred may leave any c, and in f the mask of the distribution (1
/// or 0), where its Solution says so; rss and its slope are then good to some 5e-8 of w times the
/// slope. completeSolve() makes the distribution of it.
Solution<double> vrBRD_w_d(System<double>& system, double* f, double* c, double weight,
                           Reads reads = {});

/// Replaces the mask f (n) that a solve at `weight` has left by its distribution, and returns its
/// residual sum of squares: both as a solve that is not deferred returns them. Nothing is logged.
double completeSolve(System<double>& system, double* f, double weight);

}  // namespace vorin::brd
