// What one relaxation time T adds to a decay at time t, or one diffusion coefficient D to
// an attenuation at b: the physics, which the library leaves to its host.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/model/echo_train.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

enum class Kernel {
  t2,            ///< exp(-t/T): echo trains (CPMG) and free decays
  t1Saturation,  ///< 1 - exp(-t/T): recovery from saturation
  t1Inversion,   ///< 1 - 2 exp(-t/T): recovery from a perfect inversion
  diffusion,     ///< exp(-b D): attenuation by pulsed field gradients
  t2Epg,         ///< echoes behind incomplete refocusing, which depend on all pulses before
  matrix         ///< a matrix that the user gives
};

/// The kernels that a name stands for: all but Kernel::matrix.
std::span<const Kernel> namedKernels();
/// Those of them whose value depends on one t and one T alone: all but Kernel::t2Epg.
std::span<const Kernel> formulaKernels();

/// "t2, t1-saturation, t1-inversion or diffusion": the names of `kernels`, for a sentence.
std::string listOf(std::span<const Kernel> kernels);

/// The kernel that `name` names, in any case. Throws UserError, which names `option`, for
/// anything else.
Kernel parseKernel(std::string_view name, std::string_view option,
                   std::span<const Kernel> kernels = namedKernels());

std::string_view kernelName(Kernel kernel);
/// The formula, as shown to users: "exp(-t/T2)".
std::string_view kernelFormula(Kernel kernel);
/// What the grid holds, in short: "T2", "T1", "D" or "the grid".
std::string_view relaxationTimeName(Kernel kernel);
/// The same in full: "relaxation time T2", "diffusion coefficient D".
std::string_view gridName(Kernel kernel);
/// The names of the columns in files: "t2_s" and "time_s", "d_m2_s" and "b_s_m2".
std::string_view gridColumn(Kernel kernel);
std::string_view abscissaColumn(Kernel kernel);

/// What is measured at, and what the grid holds.
Quantity abscissaQuantity(Kernel kernel);
Quantity gridQuantity(Kernel kernel);

/// The kernel at time t of 0 or above and relaxation time T above 0 (diffusion: b and D).
/// Not for Kernel::matrix, which is known on its samples and grid only; it answers 0. For
/// Kernel::t2Epg the value behind complete pulses.
double kernelValue(Kernel kernel, double t, double T);

/// The kernel of all times (rows) and relaxation times (columns), column-major
/// with leading dimension times.size(). For one of formulaKernels(); echoMatrix() is that of
/// Kernel::t2Epg.
std::vector<float> kernelMatrix(Kernel kernel, const std::vector<double>& times,
                                const std::vector<double>& relaxationTimes);

/// Sum over k of amplitudes[k] times the kernel at relaxationTimes[k], for each time. `train` is
/// that of Kernel::t2Epg, which throws UserError for times that are none of its echoes.
std::vector<double> decayOf(Kernel kernel, const std::vector<double>& times,
                            const std::vector<double>& relaxationTimes,
                            const std::vector<double>& amplitudes, const EchoTrain& train = {});

}  // namespace vorin::toolkit
