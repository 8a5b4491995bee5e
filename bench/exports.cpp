// What measure.py needs beside the library's own functions: decays, and the name of the
// instruction-set level.
#include <cstdint>

#include "decay.hpp"
#include "toolbox/kernels/kernels.hpp"

#define VORIN_BENCH extern "C" __attribute__((visibility("default")))

VORIN_BENCH void benchDecay(std::int32_t nf, std::int32_t ng, double snr, std::uint64_t seed,
                            float* K, float* Y) noexcept {
  vorin::bench::makeDecay(nf, ng, snr, seed, K, Y);
}

/// The highest instruction-set level of this CPU: 0 baseline, 1 AVX2, 2 AVX-512.
VORIN_BENCH std::int32_t benchLevel() noexcept {
  return static_cast<std::int32_t>(vorin::kernels::highestLevel());
}
