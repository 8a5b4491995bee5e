// The roads that the benchmarks time: an entry and the settings that make its road.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorin::bench {

struct Road {
  std::string_view name;
  void (*entry)(std::int32_t nf, std::int32_t ng, const float* K, const float* Y, float* F,
                std::int32_t* status);
  const char* pruning;  // PRMO
  const char* target;   // TARG
  float singularVectors;
};

/// The road of this name, or nullptr.
const Road* findRoad(std::string_view name);

/// All names, each after a blank.
std::string roadNames();

/// Sets the keys of `road` for data of this signal-to-noise ratio; the decay begins at 1.
void setRoad(const Road& road, double snr);

}  // namespace vorin::bench
