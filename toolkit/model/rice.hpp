// Magnitudes: what a signal becomes where only its absolute value is kept, as in most images. Noise
// then never averages out, and a decay ends on a floor instead of at 0.
#pragma once

#include <vector>

namespace vorin::toolkit {

/// By how much the mean magnitude of `signal` (0 or above) with normal noise of standard deviation
/// `noise` (above 0) in each of two channels exceeds the signal: 1.2533 times the noise at no
/// signal, noise^2 / (2 signal) at a large one. It is sigma sqrt(pi/2) L_1/2(-signal^2 / (2
/// sigma^2)) - signal, L_1/2 a Laguerre function (Rice, Bell Syst. Tech. J. 24, 46, 1945;
/// Gudbjartsson and Patz, Magn. Reson. Med. 34, 910, 1995), to 1e-5 of the noise.
double magnitudeExcess(double signal, double noise);

/// The signal whose mean magnitude is `magnitude`; 0 for a magnitude below that of noise alone.
double signalOfMagnitude(double magnitude, double noise);

}  // namespace vorin::toolkit
