#include "toolkit/model/simulation.hpp"

#include <fmt/format.h>

#include <cmath>
#include <numbers>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

double NormalNoise::next() {
  if (kept_) {
    const double value = *kept_;
    kept_.reset();
    return value;
  }
  // The upper 53 bits, moved off 0 by half a step: strictly between 0 and 1.
  const auto uniform = [this] {
    constexpr double uniformStep = 0x1p-53;
    return (static_cast<double>(engine_() >> 11) + 0.5) * uniformStep;
  };
  const double radius = std::sqrt(-2.0 * std::log(uniform()));
  const double angle = 2.0 * std::numbers::pi * uniform();
  kept_ = radius * std::sin(angle);
  return radius * std::cos(angle);
}

LogNormalPeak parsePeak(std::string_view text, std::string_view option, Quantity quantity) {
  const auto fail = [&](std::string_view why) {
    return UserError(
        fmt::format("{} {}: {}; write TIME:WIDTH:AMPLITUDE, for instance 0.02:0.15:70 for a "
                    "peak at 20 ms, 0.15 decades wide, of amplitude 70",
                    option, inQuotes(text), why));
  };
  const auto first = text.find(':');
  const auto second = first == std::string_view::npos ? first : text.find(':', first + 1);
  if (second == std::string_view::npos) {
    throw fail("three numbers with colons between them are required");
  }
  const auto time = parseQuantity(text.substr(0, first), quantity);
  const auto width = parseNumber(text.substr(first + 1, second - first - 1));
  const auto amplitude = parseNumber(text.substr(second + 1));
  if (!time || !width || !amplitude) {
    throw fail("not all three are numbers");
  }
  for (double value : {*time, *width, *amplitude}) {
    if (!(value > 0.0 && std::isfinite(value))) {
      throw fail("all three must be above 0");
    }
  }
  return {*time, *width, *amplitude};
}

std::vector<double> evenTimes(double spacing, long long samples) {
  std::vector<double> times(static_cast<std::size_t>(samples));
  for (std::size_t i = 0; i < times.size(); ++i) {
    times[i] = static_cast<double>(i + 1) * spacing;
  }
  return times;
}

Distribution distributionOf(const std::vector<LogNormalPeak>& peaks,
                            const std::vector<double>& grid) {
  Distribution result{grid, std::vector<double>(grid.size(), 0.0)};
  for (const LogNormalPeak& peak : peaks) {
    std::vector<double> shape(grid.size());
    double sum = 0.0;
    std::size_t nearest = 0;
    double smallestDistance = HUGE_VAL;
    for (std::size_t k = 0; k < grid.size(); ++k) {
      const double decades = std::log10(grid[k] / peak.time);
      if (std::fabs(decades) < smallestDistance) {
        smallestDistance = std::fabs(decades);
        nearest = k;
      }
      const double deviations = decades / peak.width;
      shape[k] = std::exp(-0.5 * deviations * deviations);
      sum += shape[k];
    }
    if (!(sum > 0.0)) {
      shape[nearest] = sum = 1.0;
    }
    for (std::size_t k = 0; k < grid.size(); ++k) {
      result.amplitude[k] += peak.amplitude * shape[k] / sum;
    }
  }
  return result;
}

Decay simulatedDecay(Kernel kernel, const Distribution& truth, const std::vector<double>& times,
                     double noise, std::uint64_t seed, const EchoTrain& train) {
  Decay decay{times, decayOf(kernel, times, truth.time, truth.amplitude, train)};
  NormalNoise variates(seed);
  for (double& amplitude : decay.amplitude) {
    amplitude += noise * variates.next();
  }
  return decay;
}

TwoChannels simulatedChannels(Kernel kernel, const Distribution& truth,
                              const std::vector<double>& times, double noise, std::uint64_t seed,
                              double phase, const EchoTrain& train) {
  const std::vector<double> signal = decayOf(kernel, times, truth.time, truth.amplitude, train);
  NormalNoise variates(seed);
  const auto channel = [&](double factor) {
    std::vector<double> values = signal;
    for (double& value : values) {
      value = factor * value + noise * variates.next();
    }
    return values;
  };
  TwoChannels result{times, channel(std::cos(phase)), {}};
  result.imaginary = channel(std::sin(phase));
  return result;
}

}  // namespace vorin::toolkit
