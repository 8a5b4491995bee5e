// Which numbers `vorin invert` reports of a distribution, and in which unit.
#include "invert_options.hpp"
#include "toolkit/measures/cumulative.hpp"

namespace vorin::toolkit {

void MeasureOptions::addTo(CLI::App& line) {
  addOption(line, "--cutoff", cutoff, "T[,T...]",
            "Amount and share below, between and above these values, in seconds\n"
            "(m2/s) or with a unit: 33ms, or 3ms,33ms");
  addOption(line, "--percentiles", percentiles, "P[,P...]",
            "The values at and below which P % of the total lie (default 10,50,90)");
  addOption(line, "--calibrate", calibrate, "100UNIT=AMPLITUDE",
            "The unit of all amplitudes that are reported: 100pu=1234.5 says that an\n"
            "amplitude of 1234.5 in the data is 100 pu");
}

MeasureChoice measuresFrom(const MeasureOptions& options, Kernel kernel) {
  MeasureChoice choice;
  if (!options.cutoff.empty()) {
    choice.cutoffs = parseCutoffs(options.cutoff, "--cutoff", gridQuantity(kernel));
  }
  if (!options.percentiles.empty()) {
    choice.percentiles = parsePercentiles(options.percentiles, "--percentiles");
  }
  return choice;
}

Calibration calibrationFrom(const MeasureOptions& options) {
  return options.calibrate.empty() ? Calibration{}
                                   : parseCalibration(options.calibrate, "--calibrate");
}

}  // namespace vorin::toolkit
