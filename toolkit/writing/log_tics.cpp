#include "toolkit/writing/log_tics.hpp"

#include <cmath>
#include <cstddef>

namespace vorin::toolkit {

namespace {

std::vector<double> spacedTics(double from, double to) {
  constexpr double parts = 5.0;
  const double wanted = (to - from) / parts;
  const double power = std::pow(10.0, std::floor(std::log10(wanted)));
  const double digit = wanted / power;
  const double step = power * (digit >= 5.0 ? 5.0 : digit >= 2.0 ? 2.0 : 1.0);
  std::vector<double> result;
  const double last = std::floor(to / step);
  for (double count = std::ceil(from / step); count <= last; count += 1.0) {
    result.push_back(count * step);
  }
  return result;
}

std::vector<double> roundTics(double from, double to) {
  constexpr std::size_t fewest = 4;
  const std::vector<std::vector<double>> choices{
      {1.0}, {1.0, 2.0, 5.0}, {1.0, 1.5, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0}};
  const int first = static_cast<int>(std::floor(std::log10(from)));
  const int last = static_cast<int>(std::floor(std::log10(to)));
  for (const std::vector<double>& digits : choices) {
    std::vector<double> result;
    for (int power = first; power <= last; ++power) {
      for (double digit : digits) {
        const double value = digit * std::pow(10.0, power);
        if (value >= from && value <= to) {
          result.push_back(value);
        }
      }
    }
    if (result.size() >= fewest) {
      return result;
    }
  }
  return spacedTics(from, to);
}

}  // namespace

std::vector<double> logTics(double from, double to, double gap) {
  if (!(to > from)) {
    return {from};
  }
  std::vector<double> result;
  for (double value : roundTics(from, to)) {
    if (result.empty() || std::log(value / result.back()) >= gap * std::log(to / from)) {
      result.push_back(value);
    }
  }
  return result;
}

}  // namespace vorin::toolkit
