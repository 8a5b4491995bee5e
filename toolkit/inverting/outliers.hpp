// Samples that lie off the curve of the others, told by fits without a penalty.
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/inverting/problem.hpp"

namespace vorin::toolkit {

/// The samples that lie off a non-negative fit of the others by `threshold` standard deviations of
/// the noise or more, numbered as in Problem::data(), rising. The noise is that of the residual's
/// median magnitude, of which outliers don't make much (Hampel, J. Am. Stat. Assoc. 69, 383,
/// 1974). A large outlier pulls the fit off its neighbours, so a round tells only those that are at
/// least half as far off as the farthest, and goes on without them until it finds none. Data that
/// are computed, and show rounding alone, have none.
std::vector<std::size_t> outliers(const Problem& problem, double threshold);

}  // namespace vorin::toolkit
