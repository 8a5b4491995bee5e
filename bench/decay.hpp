// The decays that the benchmarks invert: computed, seeded, the same in every run.
#pragma once

#include <cstdint>

namespace vorin::bench {

/// An echo train of `nf` echoes over 0.6 s, from a short and a long peak of relaxation
/// times (10 ms with 30 %, 100 ms with 70 %, each log-normal, a fifth of a decade wide),
/// with normal noise of standard deviation 1 / `snr`; the decay begins at 1. The `ng`
/// relaxation times reach from a third of the first echo to 1.8 s.
///
///   K   out  kernel exp(-t/T2), nf x ng, column-major
///   Y   out  data, nf
void makeDecay(std::int32_t nf, std::int32_t ng, double snr, std::uint64_t seed, float* K,
               float* Y);

}  // namespace vorin::bench
