// What the reference script needs beside the public calls: the decays, and the road that
// states the meaning. Linked with a copy of the library's own objects into a module of its
// own, since the library that hosts load shows neither.
#include <cstdint>

#include "brd/system.hpp"
#include "decay.hpp"
#include "plain_road.hpp"
#include "reduce/svd_compression.hpp"
#include "toolbox/kernels/kernels.hpp"

#define VORIN_BENCH_HOOK extern "C" __attribute__((visibility("default")))

VORIN_BENCH_HOOK void benchDecay(std::int32_t nf, std::int32_t ng, double snr, std::uint64_t seed,
                                 float* K, float* Y) noexcept {
  vorin::bench::makeDecay(nf, ng, snr, seed, K, Y);
}

/// 1: everything by plain loops and formed anew in every pass and solve; 0: as a host has it.
VORIN_BENCH_HOOK void benchPlainRoad(std::int32_t plain) noexcept {
  vorin::brd::System<float>::plainRoad() = plain != 0;
  vorin::brd::System<double>::plainRoad() = plain != 0;
  vorin::reduce::decomposesWholeKernels() = plain != 0;
  vorin::kernels::useLevel(plain != 0 ? vorin::kernels::Level::baseline
                                      : vorin::kernels::highestLevel());
}

/// Vorin_s with the pruning, too, done plainly.
VORIN_BENCH_HOOK void benchPlainInversion(std::int32_t nf, std::int32_t ng, const float* K,
                                          const float* Y, float* F, std::int32_t* status) noexcept {
  vorin::bench::invertPlainly(nf, ng, K, Y, F, status);
}

/// The instruction-set level that a host gets: 0 baseline, 1 AVX2, 2 AVX-512.
VORIN_BENCH_HOOK std::int32_t benchLevel() noexcept {
  return static_cast<std::int32_t>(vorin::kernels::highestLevel());
}
