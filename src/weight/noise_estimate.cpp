#include "weight/noise_estimate.hpp"

#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "toolbox/extremes.hpp"
#include "weight/noise_fit.hpp"
#include "weight/noise_scan.hpp"
#include "weight/residual.hpp"

namespace vorin::weight {
namespace {

// Below this the estimator has set no standard error of its own.
constexpr float smallestTarget = 1e-10f;

// What the plain fit gets for a term that has no influence on it.
constexpr float unusedTerm = 9999.99f;

// The start of the search: the host's weight, or a third of wfac where that is below the
// lower limit, clamped to both limits.
float startingWeight(float w, float wfac) {
  const float lo = largerOf(params::queryReal("WMIN"), params::queryReal("WNMI") * wfac);
  const float hi = smallerOf(params::queryReal("WMAX"), params::queryReal("WNMA") * wfac);
  if (w < lo) {
    w = wfac / 3.0f;
  }
  return smallerOf(hi, largerOf(lo, w));
}

void runEstimator(brd::Problem<float>& problem, float* f, float* c, float wfac, float& w,
                  float& sig, float& dse, std::int32_t& status) {
  // A query of NALG would not tell "ASY2" from "ASYM", so the stored text is read.
  switch (estimatorOf(params::storedText("NALG"))) {
    case Estimator::none:
      status = 0;
      break;
    case Estimator::asymptoticScan:
      status = 0;
      VorinCalcSEA2(problem, f, c, wfac * 0.1f, w, sig, dse, status);
      break;
    case Estimator::plainFitU:
      VorinCalcSEU(problem, f, unusedTerm, sig, status);
      break;
    case Estimator::ridgeFit:
      status = 0;
      VorinCalcSER(problem, f, wfac * 0.00001f, sig, status);
      break;
    case Estimator::plainFit:
      VorinCalcSEU(problem, f, wfac * 0.00001f, sig, status);
      break;
    case Estimator::differenceNoise:
      sig = params::queryReal("CSI2");
      status = 0;
      break;
    case Estimator::unknown:
      status = -1;
      break;
  }
}

}  // namespace

Estimator estimatorOf(std::string_view algorithm) {
  if (algorithm.starts_with("N")) {
    return Estimator::none;
  }
  if (algorithm.starts_with("ASYM")) {
    return Estimator::asymptoticScan;
  }
  if (algorithm.starts_with("UREG")) {
    return Estimator::plainFitU;
  }
  if (algorithm.starts_with("REG")) {
    return Estimator::ridgeFit;
  }
  if (algorithm.starts_with("FIT")) {
    return Estimator::plainFit;
  }
  if (algorithm.starts_with("D")) {
    return Estimator::differenceNoise;
  }
  return Estimator::unknown;
}

float targetStandardError(float sig, float rms, float rsig, float l1al) {
  return smallerOf(rsig * sig, l1al * rms + (1.0f - l1al) * sig);
}

void VorinCalcSE(brd::Problem<float>& problem, float* f, float* c, float& wfac, float& w,
                 float& sig, float& rms, float& dse, std::int32_t& status) {
  const float rsig = params::queryReal("RSIG");
  const float l1al = params::queryReal("L1AL");
  wfac = problem.meanSquaredColumnNorm();
  w = startingWeight(w, wfac);
  dse = 0.0f;
  rms = rootMeanSquareOfData(problem);
  runEstimator(problem, f, c, wfac, w, sig, dse, status);
  if (dse < smallestTarget) {
    dse = targetStandardError(sig, rms, rsig, l1al);
  }
  params::VorinLogLine("VorinCalcSE2", "Comment", [&] {
    return "wfac=" + params::fixedField(double(wfac), 8, 4) +
           " cwei=" + params::generalField(double(w), 12, 4);
  });
}

}  // namespace vorin::weight
