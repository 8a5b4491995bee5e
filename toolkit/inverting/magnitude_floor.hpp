// The floor that noise leaves under magnitudes, found from the decay.
#pragma once

#include <functional>
#include <vector>

#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

/// By how much each sample of `decay`, absolute values of a signal with normal noise of standard
/// deviation `noise` in each of two channels, exceeds its signal in the mean: magnitudeExcess() of
/// the non-negative fit without a penalty, whose samples are those of the decay less this excess.
/// It is found in rounds (a fixed point, as Koay and Basser, J. Magn. Reson. 179, 317, 2006, do for
/// a single sample). The kernel is that of `settings`, with an angle that is found from the
/// magnitudes where it is to be estimated.
std::vector<double> magnitudeFloor(const Decay& decay, const InversionSettings& settings,
                                   double noise);

/// Inverts magnitudes without their floor by `invertSignal`, which takes them for data with signs:
/// the floor follows from the noise of `settings` or, where none is given, from that of an
/// inversion of the magnitudes. Where that tells none either, since a weight is given, there is no
/// floor.
Inversion invertMagnitudes(const Decay& decay, const InversionSettings& settings,
                           const std::function<Inversion(const Decay&)>& invertSignal);

}  // namespace vorin::toolkit
