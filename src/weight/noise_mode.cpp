#include "weight/noise_mode.hpp"

#include <cmath>
#include <string>

#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "weight/noise_estimate.hpp"
#include "weight/weight_search.hpp"

namespace vorin::weight {
namespace {

template <class Compose>
void comment(const Compose& message) {
  params::VorinLogLine("Vorin_SEtoW", "Comment", message);
}

std::string number(float value) {
  return params::generalField(double(value), 13, 6);
}

// A zero is accepted, since the search raises it to its lower limit; a subnormal isn't.
bool canStartSearch(float w) {
  const int kind = std::fpclassify(w);
  return kind == FP_NORMAL || kind == FP_ZERO;
}

}  // namespace

void noiseMode(brd::Problem<float>& problem, float* f, float* c, ModeResult& result,
               std::int32_t& status) {
  float w = result.w;
  float sig = params::queryReal("SIG");
  float wfac = 0.0f;
  float rms = 0.0f;
  float dse = 0.0f;
  VorinCalcSE(problem, f, c, wfac, w, sig, rms, dse, status);
  // Required: the block has no slot for WFAC, so that this leaves no trace; the search
  // takes its reference from WREF.
  params::setReal("WFAC", wfac);
  params::setReal("CSIG", sig);
  if (params::queryInteger("REPO") > 3) {
    comment([&] { return " w(try)=" + number(w); });
  }
  if (!canStartSearch(w)) {
    w = 1.0f;
  }
  params::setReal("DSE", dse);
  comment([&] {
    return "NOISE: CSIG=" + number(sig) + " RMS=" + number(rms) + "=> DSE=" + number(dse) +
           " w(try)=" + number(w);
  });
  Vorin_TargSE(problem, f, c, w, dse, params::queryReal("WITE"), result.signow, result.iter,
               status);
  result.w = w;
}

}  // namespace vorin::weight
