// Complex data: the receiver's phase is taken out, and what is left in the imaginary
// channel tells the noise.
#pragma once

#include "toolkit/model/decay.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

/// Turns `measured` by the one angle after which the sum of squares of its imaginary
/// channel is smallest: half the argument of the sum of z^2. Of the two such angles the
/// one is taken after which the real channel is positive in sum; for an inversion
/// recovery, which begins below 0, after which its last sample is positive.
///
/// Leaves the turned channels in place, sets `quadratureNoise` to the standard deviation
/// of the imaginary one about its mean (nothing when that is 0), and returns the angle of
/// the data in radians, by which they were turned back.
double phaseCorrect(MeasuredDecay& measured, Kernel kernel);

}  // namespace vorin::toolkit
