// The axes of a picture of an inversion: their units and labels.
#pragma once

#include <string>

#include "toolkit/model/kernel.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

struct PictureAxes {
  AxisUnit abscissa;          ///< of the decay
  AxisUnit grid;              ///< of the distribution
  std::string abscissaLabel;  ///< "time (ms)"
  std::string gridLabel;      ///< "relaxation time T2 (ms)"
};

/// The axes for a decay up to `lastAbscissa` and a distribution up to `lastOnGrid`. Times of
/// the decay and relaxation times share one unit, so that a reader can compare them.
PictureAxes pictureAxes(Kernel kernel, double lastAbscissa, double lastOnGrid);

}  // namespace vorin::toolkit
