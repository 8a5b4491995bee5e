// The settings of an inversion as keys of the library.
#pragma once

#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

/// Hands `settings` to the store: all keys that they stand for, the user's assignments
/// last, so that nothing stays from an inversion before. The noise is setNoise()'s.
/// Throws UserError for an assignment that can't be carried out.
void setKeys(const InversionSettings& settings);

/// True when the weight is choose()'s: nothing in `settings` asks for another one.
bool weightIsChosen(const InversionSettings& settings);

/// Sets the store, which setKeys() has set, to one solve at `weight`, with passes enough for
/// small weights unless the user has said how many.
void setFixedWeight(const InversionSettings& settings, double weight);

/// Sets the noise of data whose largest magnitude is 1.
void setNoise(double noise);

/// True when the inversion that the store is set for can't do without setNoise().
bool needsNoise(const InversionSettings& settings);

/// Where a noise comes from that the library has estimated.
NoiseOrigin estimateOrigin(const InversionSettings& settings);

/// The way to the weight that the store is set for.
WeightMode currentMode();

/// What a corner search multiplies the corner's weight by. Near 1 it keeps the corner.
double cornerFactor();

}  // namespace vorin::toolkit
