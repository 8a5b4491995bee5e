// The inversion of one problem by the library's own search, as invert() and the plan of many decays
// share it.
#pragma once

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/problem.hpp"

namespace vorin::toolkit {

/// The library's search for the weight, or its solve at a given one, on `problem`, which is that of
/// all samples of `decay`. Works on the thread's instance, whose keys it sets. Throws NoNoise where
/// the search has no noise to aim at.
Inversion invertClassic(const Decay& decay, const Problem& problem,
                        const InversionSettings& settings);

}  // namespace vorin::toolkit
