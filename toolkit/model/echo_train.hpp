// Trains of spin echoes behind pulses that refocus incompletely: part of the signal goes through
// stimulated and indirect echoes, whose intervals along the field decay by T1, and the echoes no
// longer follow exp(-t/T2).
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace vorin::toolkit {

/// The pulses of a train, after a complete excitation along the axis of the refocusing pulses
/// (Carr, Purcell, Meiboom and Gill).
struct EchoTrain {
  double flip = 180.0;            ///< refocusing angle in degrees, above 0, 180 at most
  double t1 = 1.0;                ///< longitudinal relaxation time in seconds, the same for all T2
  std::optional<double> spacing;  ///< of the echoes in seconds; without it the first time
};

/// The echoes 1 .. `count` of a unit of magnetisation of relaxation time T2 (seconds), at multiples
/// of `spacing`, by the extended phase graph: the first is sin^2(flip / 2) exp(-spacing / T2), and
/// at 180 degrees all are exp(-t/T2). Magnetisation that recovers between the pulses has another
/// phase and does not come into the echoes. (Hennig, J. Magn. Reson. 78, 397, 1988; for T2
/// distributions Prasloski et al., Magn. Reson. Med. 67, 1803, 2012. The excitation is
/// complete here at every angle, which the latter takes to shrink with it: that scales a decay.)
std::vector<double> echoes(const EchoTrain& train, double spacing, double T2, std::size_t count);

/// The number, from 1, of the echo that each of `times` is. Throws UserError where a time is off
/// its multiple of the spacing by more than a thousandth of it, or the number is above 2000.
std::vector<std::size_t> echoNumbers(const EchoTrain& train, const std::vector<double>& times);

/// The echoes at `times` (rows) for each of `relaxationTimes` (columns), column-major. Throws what
/// echoNumbers() throws.
std::vector<float> echoMatrix(const EchoTrain& train, const std::vector<double>& times,
                              const std::vector<double>& relaxationTimes);

}  // namespace vorin::toolkit
