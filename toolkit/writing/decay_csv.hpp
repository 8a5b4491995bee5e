// Measured decays as plain CSV.
#pragma once

#include <string>
#include <vector>

#include "toolkit/model/kernel.hpp"
#include "toolkit/reading/decay_file.hpp"

namespace vorin::toolkit {

/// `decays` of one file as CSV in SI units, to the last bit: abscissa, amplitude and, for complex
/// data, the imaginary channel; several decays of the same times side by side. The reader takes
/// the file of a single one without further options. Throws UserError for decays that do not share
/// their times.
std::string decayCsv(const std::vector<FileDecay>& decays, Kernel kernel);

}  // namespace vorin::toolkit
