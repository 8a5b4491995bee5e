// The paths through the library that the benchmarks time: an entry and its settings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorin::bench {

struct Path {
  std::string_view name;
  void (*entry)(std::int32_t nf, std::int32_t ng, const float* K, const float* Y, float* F,
                std::int32_t* status);
  const char* pruning;  // PRMO
  const char* target;   // TARG
  float singularVectors;
};

/// The path of this name, or nullptr.
const Path* findPath(std::string_view name);

/// All names, each preceded by a blank.
std::string pathNames();

/// Sets the keys of `path` for data of this signal-to-noise ratio; the decay begins at 1.
void setPath(const Path& path, double snr);

}  // namespace vorin::bench
