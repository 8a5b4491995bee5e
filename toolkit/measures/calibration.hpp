// Amplitudes in a unit of the user's own: porosity units, percent, millilitres.
#pragma once

#include <string>
#include <string_view>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"

namespace vorin::toolkit {

/// What an amplitude in the unit of the data is worth.
struct Calibration {
  double factor = 1.0;  ///< units in one of the data's, not 0
  std::string unit;     ///< its name; empty: the unit of the data
};

/// Reads "AMOUNTUNIT=AMPLITUDE": "100pu=1234.5" says that an amplitude of 1234.5 is 100 pu. The
/// unit is any text without control characters of at most 20 bytes, and may be missing. Throws
/// UserError, which names `option`, unless both numbers are finite, above 0, and their ratio is.
Calibration parseCalibration(std::string_view text, std::string_view option);

/// Converts the amplitudes of a decay or a distribution, and those among `settings` that are in the
/// unit of the data: the noise and the baseline. All results are then in the calibration's unit;
/// the distribution is otherwise the same, since an inversion does not depend on the unit.
void calibrate(const Calibration& calibration, Decay& decay);
void calibrate(const Calibration& calibration, Distribution& distribution);
void calibrate(const Calibration& calibration, InversionSettings& settings);

}  // namespace vorin::toolkit
