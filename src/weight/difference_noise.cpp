#include "weight/difference_noise.hpp"

#include <cmath>
#include <cstdint>

namespace vorin::weight {
namespace {

// Required: the square root of two truncated after seven decimals, so that results equal
// those on record.
constexpr float rootTwo = 1.4142135f;

// sqrt(sum / differences), where a count of samples below the order makes the
// divisor negative and the result a zero.
float rootMean(float sum, std::int64_t differences) {
  return std::sqrt(sum / static_cast<float>(differences));
}

float fromFirstDifferences(std::int64_t count, const float* x) {
  const std::int64_t differences = count - 1;
  float sum = 0.0f;
  for (std::int64_t i = 0; i < differences; ++i) {
    const float difference = x[i + 1] - x[i];
    sum += difference * difference;
  }
  return rootMean(sum, differences) / rootTwo;
}

float fromSecondDifferences(std::int64_t count, const float* x) {
  const std::int64_t differences = count - 2;
  float sum = 0.0f;
  for (std::int64_t i = 0; i < differences; ++i) {
    const float difference = x[i] - 2.0f * x[i + 1] + x[i + 2];
    sum += difference * difference / 12.0f;
  }
  return rootMean(sum, differences) * rootTwo;
}

}  // namespace

float seDiff(int order, int count, const float* x) {
  switch (order) {
    case firstDifferences:
      return fromFirstDifferences(count, x);
    case secondDifferences:
      return fromSecondDifferences(count, x);
    default:
      return 0.0f;
  }
}

}  // namespace vorin::weight
