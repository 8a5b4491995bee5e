// The labels of logarithmic axes.
#pragma once

#include <vector>

namespace vorin::toolkit {

/// Round values along a logarithmic axis from `from` to `to`, both above 0: a decade apart, or with
/// fewer than four of these in it 1, 2, 5, then more digits, or evenly spaced. Of two that are
/// nearer to each other than `gap`, a part of the length of the axis, the later one is left out,
/// so that their labels don't collide.
std::vector<double> logTics(double from, double to, double gap);

}  // namespace vorin::toolkit
