// Distributions of relaxation times or of diffusion coefficients.
#pragma once

#include <vector>

namespace vorin::toolkit {

/// A distribution: relaxation times in seconds (diffusion: coefficients in m2/s), rising, all
/// positive; the amplitude of each.
struct Distribution {
  std::vector<double> time;
  std::vector<double> amplitude;
};

}  // namespace vorin::toolkit
