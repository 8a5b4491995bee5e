#include "toolkit/model/decay.hpp"

#include <algorithm>
#include <cmath>

namespace vorin::toolkit {

double largestMagnitude(const std::vector<double>& values) {
  double largest = 0.0;
  for (double value : values) {
    largest = std::max(largest, std::fabs(value));
  }
  return largest;
}

}  // namespace vorin::toolkit
