// One solve at one weight on every route in both precisions, and the corner search.
#include <vorin.h>

#include <cmath>

#include "bytes.hpp"

namespace {

using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;

template <class Real, class Solve, class Corner>
void run(Bytes& bytes, Solve* solve, Corner* corner) {
  const bool searches = bytes.byte() < 40;
  const int m = bytes.size(searches ? 16 : 64);
  const int n = bytes.size(searches ? 8 : 64);
  Exact<Real> K(vorin::fuzz::area(m, n)), d(vorin::fuzz::room(m)), f(vorin::fuzz::room(n));
  Real weight = sizeof(Real) < sizeof(double) ? static_cast<Real>(bytes.single())
                                              : static_cast<Real>(bytes.number());
  bytes.fill(K);
  bytes.fill(d);
  bytes.fill(f);
  Real rss = 0;
  Real slope = 0;
  std::int32_t status = -77;
  if (searches) {
    corner(m, n, K.data(), d.data(), f.data(), &weight, &rss, &slope, &status);
  } else {
    solve(m, n, K.data(), d.data(), f.data(), &weight, &rss, &slope, &status);
  }
  vorin::fuzz::require(status != -77);
  for (std::size_t j = 0; j < f.size(); ++j) {
    vorin::fuzz::require(!(f[j] < Real(0)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  std::int32_t ignored = 0;
  float route = static_cast<float>(bytes.within(0, 4));
  VorinSQR("S", "BRDA", &route, &ignored);
  float tolerance = bytes.byte() < 200 ? 1e-6F : bytes.single();
  VorinSQR("S", "TOL ", &tolerance, &ignored);
  // The limit of passes is the host's own: a great one may take as long as it says.
  float passes = static_cast<float>(bytes.within(-2, 60));
  VorinSQR("S", "MAXI", &passes, &ignored);
  if (bytes.byte() % 2 == 0) {
    run<float>(bytes, vrBRDw_sp_dll, vorinTarget2_sp);
  } else {
    run<double>(bytes, vrBRDw_dp_dll, vorinTarget2_dp);
  }
  return 0;
}
