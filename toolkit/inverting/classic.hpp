// The inversion of one problem by the library's own search, as invert() and the plan of many decays
// share it, and its parts.
#pragma once

#include <optional>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/problem.hpp"

namespace vorin::toolkit {

/// The noise of the data as this side knows it, and where from. The library's own
/// estimators tell theirs after the solve.
struct KnownNoise {
  std::optional<double> value;  ///< in the unit of the data
  NoiseOrigin origin = NoiseOrigin::none;
};

/// That of `problem`, which is made of `decay`.
KnownNoise knownNoise(const Decay& decay, const Problem& problem,
                      const InversionSettings& settings);

/// Whether an inversion has its fit and the error of that.
enum class Fit {
  formed,
  skipped  ///< `fit` is empty and `fitError` 0
};

/// One solve with the keys as they stand in the thread's store, in the unit of the data.
Inversion solveByKeys(const Problem& problem, const InversionSettings& settings);

/// The same into `result`, whose arrays are used again.
void solveByKeys(const Problem& problem, const InversionSettings& settings, Fit fit,
                 Inversion& result);

/// The library's search for the weight, or its solve at a given one. Works on the thread's
/// instance, whose keys it sets. Throws NoNoise where the search has no noise to aim at.
Inversion searchWeight(const Problem& problem, const KnownNoise& noise,
                       const InversionSettings& settings);

/// The same into `result`, whose arrays are used again.
void searchWeight(const Problem& problem, const KnownNoise& noise,
                  const InversionSettings& settings, Fit fit, Inversion& result);

/// The same with the noise that `problem`, which is that of all samples of `decay`, shows.
Inversion invertClassic(const Decay& decay, const Problem& problem,
                        const InversionSettings& settings);

/// True when the search failed because every fit misses the data by more than it wanted.
bool outOfReach(const Inversion& inversion);

}  // namespace vorin::toolkit
