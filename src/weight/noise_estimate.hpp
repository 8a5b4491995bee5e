// How noisy the data is, what standard error a fit should therefore reach, and
// where the search for the weight may start.
//
// A standard error is a root mean square of residuals. Four of them occur here and
// in the search: sig, the noise; dse, what the fit should reach, slightly above the
// noise; cse, the value of one solve of the scan; CSE, the value finally reached.
#pragma once

#include <cstdint>
#include <string_view>

#include "brd/problem.hpp"

namespace vorin::weight {

/// The estimators of the noise, as NALG names them.
enum class Estimator {
  none,             ///< "NONE": the host's SIG is the noise
  asymptoticScan,   ///< "ASYM": the flat end of the standard error at falling weights
  plainFitU,        ///< "UREG": the plain non-negative fit
  ridgeFit,         ///< "REG": a ridge fit
  plainFit,         ///< "FIT": the plain non-negative fit
  differenceNoise,  ///< "D2", "D3": CSI2, set by a driver that took differences
  unknown,          ///< anything else: SIG again, with a status of its own
};

/// The estimator for a stored text of NALG; the first test that holds decides.
/// Required: "ASY2" can be stored but names no estimator, nor do the load text "U"
/// and the reset text "URF": by default the noise is what the host says it is.
Estimator estimatorOf(std::string_view algorithm);

/// Estimates the noise and prepares the search.
///   f, c    n and m, work areas: on return what the estimator left, and the search
///           starts from that
///   wfac    out: mean squared column norm of the kernel, the size of its weights
///   w       in and out: the starting weight
///   sig     in and out: the noise; stays as it is where no estimator runs
///   rms     out: root mean square of the data, the standard error of an empty fit
///   dse     out: the standard error requested of the fit
///   status  out: -1 when NALG names no estimator, otherwise 0 or what the fit or the
///           last solve of the estimator left
void VorinCalcSE(brd::Problem<float>& problem, float* f, float* c, float& wfac, float& w,
                 float& sig, float& rms, float& dse, std::int32_t& status);

/// The standard error requested at noise `sig`: RSIG times the noise, but at most
/// the fraction L1AL of the way from the noise to `rms`, which keeps it below the standard
/// error of an empty fit when the data is little more than noise. With sig
/// above rms it lies below the noise.
float targetStandardError(float sig, float rms, float rsig, float l1al);

}  // namespace vorin::weight
