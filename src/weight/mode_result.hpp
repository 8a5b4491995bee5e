// What a mode of the weight driver leaves for the end that all modes share.
#pragma once

namespace vorin::weight {

struct ModeResult {
  float w = 0.0f;       ///< weight of the returned solution; holds WEIG on entry
  float signow = 0.0f;  ///< standard error of the returned solve, sqrt(rss / m)
  float iter = 0.0f;    ///< weight iterations used
};

}  // namespace vorin::weight
