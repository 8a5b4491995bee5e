// The times at which a volume was sampled: from the user, from the file, or from the sidecar of an
// image.
#pragma once

#include <string>
#include <vector>

#include "toolkit/mapping/files/volume.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// Times as the user wrote them, empty where there are none.
struct TimesText {
  std::string times;    ///< --times: T,T,... with or without units, or a file
  std::string spacing;  ///< --spacing: TIME[,FIRST]
  std::string unit;     ///< --time-unit, of numbers without one
};

/// The times of the samples of `volume` in SI units, rising. Without a text they are those of the
/// file: its own, or EchoTime (or EchoTimes, InversionTime) in the JSON file beside a NIfTI image,
/// as the Brain Imaging Data Structure names them (Gorgolewski et al., Sci. Data 3, 160044, 2016).
/// Throws UserError where there are none, where they are not as many as samples, negative, or do
/// not rise.
std::vector<double> sampleTimes(const TimesText& text, const Volume& volume, Quantity quantity);

}  // namespace vorin::toolkit
