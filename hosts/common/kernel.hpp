// What a relaxation time T adds to a decay at time t: the physics, which the
// library leaves to its host.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorin::host {

enum class Kernel {
  t2,            ///< exp(-t/T): echo trains (CPMG) and free decays
  t1Saturation,  ///< 1 - exp(-t/T): recovery from saturation
  t1Inversion    ///< 1 - 2 exp(-t/T): recovery from a perfect inversion
};

/// The kernel that "t2", "t1-saturation" or "t1-inversion" names. Throws UserError,
/// which names `option`, for anything else.
Kernel parseKernel(std::string_view name, std::string_view option);

std::string_view kernelName(Kernel kernel);
/// The formula, as shown to users: "exp(-t/T)".
std::string_view kernelFormula(Kernel kernel);
/// What the relaxation time is called: "T2" or "T1".
std::string_view relaxationTimeName(Kernel kernel);

/// The kernel at time t of 0 or above and relaxation time T above 0.
double kernelValue(Kernel kernel, double t, double T);

/// The kernel of all times (rows) and relaxation times (columns), stored by columns
/// with leading dimension times.size().
std::vector<float> kernelMatrix(Kernel kernel, const std::vector<double>& times,
                                const std::vector<double>& relaxationTimes);

/// Sum over k of amplitudes[k] times the kernel at relaxationTimes[k], for each time.
std::vector<double> decayOf(Kernel kernel, const std::vector<double>& times,
                            const std::vector<double>& relaxationTimes,
                            const std::vector<double>& amplitudes);

}  // namespace vorin::host
