// One inversion for a profiler: `one_inversion PATH NF NG SNR [COUNT]` inverts COUNT times
// (once by default) after a first inversion that allocates what is kept. profiledInversion
// encloses what is counted, for callgrind's --toggle-collect.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "decay.hpp"
#include "paths.hpp"
#include "vorin.h"

extern "C" void profiledInversion(const vorin::bench::Path& path, std::int32_t nf, std::int32_t ng,
                                  const float* K, const float* Y, float* F, std::int32_t* status);

__attribute__((noinline)) void profiledInversion(const vorin::bench::Path& path, std::int32_t nf,
                                                 std::int32_t ng, const float* K, const float* Y,
                                                 float* F, std::int32_t* status) {
  path.entry(nf, ng, K, Y, F, status);
}

int main(int count, char** words) {
  const vorin::bench::Path* path = count >= 5 ? vorin::bench::findPath(words[1]) : nullptr;
  if (path == nullptr) {
    std::fprintf(stderr, "one_inversion PATH NF NG SNR [COUNT]; PATH is one of%s\n",
                 vorin::bench::pathNames().c_str());
    return 2;
  }
  const int nf = std::atoi(words[2]);
  const int ng = std::atoi(words[3]);
  const double snr = std::atof(words[4]);
  const int repeats = count > 5 ? std::atoi(words[5]) : 1;
  if (nf < 1 || ng < 1 || !(snr > 0.0)) {
    std::fprintf(stderr, "NF, NG and SNR are numbers above 0\n");
    return 2;
  }
  std::vector<float> K(static_cast<std::size_t>(nf) * static_cast<std::size_t>(ng));
  std::vector<float> Y(static_cast<std::size_t>(nf)), F(static_cast<std::size_t>(ng));
  vorin::bench::makeDecay(nf, ng, snr, 1, K.data(), Y.data());
  vorin::bench::setPath(*path, snr);
  std::int32_t status = -1;
  path->entry(nf, ng, K.data(), Y.data(), F.data(), &status);
  for (int repeat = 0; repeat < repeats; ++repeat) {
    profiledInversion(*path, nf, ng, K.data(), Y.data(), F.data(), &status);
  }
  return status == 0 || status == VORIN_CORNER_MODE ? 0 : 1;
}
