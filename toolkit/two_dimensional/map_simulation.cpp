#include "toolkit/two_dimensional/map_simulation.hpp"

#include <fmt/format.h>

#include <array>
#include <cmath>

#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

SimulatedMapPeak parseMapPeak(std::string_view text, std::string_view option, Quantity first,
                              Quantity second) {
  const auto fail = [&](std::string_view why) {
    return UserError(fmt::format(
        "{} {}: {}; write POSITION1:POSITION2:WIDTH:AMPLITUDE, for instance 0.5:0.2:0.1:70 for a "
        "peak at 500 ms and 200 ms, 0.1 decades wide, of amplitude 70",
        option, inQuotes(text), why));
  };
  std::array<std::string_view, 4> parts;
  std::string_view rest = text;
  for (std::size_t part = 0; part < parts.size(); ++part) {
    const std::size_t colon = rest.find(':');
    if ((colon == std::string_view::npos) != (part + 1 == parts.size())) {
      throw fail("four numbers with colons between them are needed");
    }
    parts.at(part) = rest.substr(0, colon);
    rest.remove_prefix(colon == std::string_view::npos ? rest.size() : colon + 1);
  }
  const std::array<std::optional<double>, 4> values{parseQuantity(parts[0], first),
                                                    parseQuantity(parts[1], second),
                                                    parseNumber(parts[2]), parseNumber(parts[3])};
  for (const auto& value : values) {
    if (!value) {
      throw fail("not all four are numbers");
    }
    if (!(*value > 0.0 && std::isfinite(*value))) {
      throw fail("all four must be above 0");
    }
  }
  return {*values[0], *values[1], *values[2], *values[3]};
}

std::vector<double> parseAxis(std::string_view text, std::string_view option, Quantity quantity) {
  constexpr std::string_view linearSuffix = ":linear";
  if (text.size() <= linearSuffix.size() ||
      text.substr(text.size() - linearSuffix.size()) != linearSuffix) {
    return parseGrid(text, option, quantity).times();
  }
  const LogGrid range =
      parseGrid(text.substr(0, text.size() - linearSuffix.size()), option, quantity);
  std::vector<double> values;
  values.reserve(static_cast<std::size_t>(range.points));
  for (int i = 0; i < range.points; ++i) {
    values.push_back(range.from + (range.to - range.from) * i / (range.points - 1));
  }
  return values;
}

std::vector<double> mapOf(const std::vector<SimulatedMapPeak>& peaks,
                          const std::vector<double>& grid1, const std::vector<double>& grid2) {
  std::vector<double> map(grid1.size() * grid2.size(), 0.0);
  for (const SimulatedMapPeak& peak : peaks) {
    // A peak is the product of its two sections.
    const Distribution first =
        distributionOf({{peak.position1, peak.width, peak.amplitude}}, grid1);
    const Distribution second = distributionOf({{peak.position2, peak.width, 1.0}}, grid2);
    for (std::size_t i = 0; i < grid1.size(); ++i) {
      for (std::size_t k = 0; k < grid2.size(); ++k) {
        map[i * grid2.size() + k] += first.amplitude[i] * second.amplitude[k];
      }
    }
  }
  return map;
}

std::vector<double> simulatedSamples(const MapData& axes, const MapSettings& settings,
                                     const std::vector<double>& truth, double noise,
                                     std::uint64_t seed) {
  std::vector<double> samples = mapFit(axes, settings, truth);
  NormalNoise variates(seed);
  for (double& sample : samples) {
    sample += noise * variates.next();
  }
  return samples;
}

TwoMapChannels simulatedMapChannels(const MapData& axes, const MapSettings& settings,
                                    const std::vector<double>& truth, double noise,
                                    std::uint64_t seed, double phase) {
  const auto channel = [&](double factor, std::uint64_t channelSeed) {
    std::vector<double> scaled = truth;
    for (double& amplitude : scaled) {
      amplitude *= factor;
    }
    return simulatedSamples(axes, settings, scaled, noise, channelSeed);
  };
  constexpr std::uint64_t otherChannel = 0x9E3779B97F4A7C15U;  // far from every small seed
  return {channel(std::cos(phase), seed), channel(std::sin(phase), seed + otherChannel)};
}

std::vector<double> simulationGrid(Kernel kernel) {
  constexpr int points = 100;
  return gridQuantity(kernel) == Quantity::diffusion ? LogGrid{1e-12, 1e-7, points}.times()
                                                     : LogGrid{1e-4, 10.0, points}.times();
}

void requireInside(const SimulatedMapPeak& peak, std::string_view name,
                   const std::vector<double>& grid1, const std::vector<double>& grid2) {
  const auto require = [&](double position, const std::vector<double>& grid,
                           std::string_view option) {
    if (position < grid.front() || position > grid.back()) {
      throw UserError(fmt::format("{}: {:g} lies outside the grid from {:g} to {:g}; widen {}",
                                  name, position, grid.front(), grid.back(), option));
    }
  };
  require(peak.position1, grid1, "--grid1");
  require(peak.position2, grid2, "--grid2");
}

}  // namespace vorin::toolkit
