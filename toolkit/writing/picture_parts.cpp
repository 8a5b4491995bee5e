#include "toolkit/writing/picture_parts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "toolkit/writing/log_tics.hpp"

namespace vorin::toolkit {

bool needsLogAxis(const std::vector<double>& time) {
  return time.front() > 0.0 && time.back() >= 100.0 * time.front();
}

std::vector<std::size_t> seenSamples(const std::vector<double>& t, const std::vector<double>& y,
                                     const std::vector<double>& fit) {
  constexpr std::size_t columns = 2000;
  constexpr std::size_t few = 4 * columns;
  std::vector<std::size_t> seen;
  if (t.size() <= few) {
    seen.resize(t.size());
    std::iota(seen.begin(), seen.end(), std::size_t{0});
    return seen;
  }
  const bool logAxis = needsLogAxis(t);
  const auto place = [&](double time) { return logAxis ? std::log(time) : time; };
  const double perColumn = (place(t.back()) - place(t.front())) / static_cast<double>(columns);
  const auto columnOf = [&](std::size_t i) {
    return static_cast<std::size_t>((place(t[i]) - place(t.front())) / perColumn);
  };
  const auto amplitude = [&](std::size_t i) { return y[i]; };
  const auto residual = [&](std::size_t i) { return fit.empty() ? 0.0 : y[i] - fit[i]; };
  for (std::size_t first = 0; first < t.size();) {
    std::array<std::size_t, 4> kept{first, first, first, first};
    std::size_t next = first;
    for (const std::size_t column = columnOf(first); next < t.size() && columnOf(next) == column;
         ++next) {
      kept[0] = amplitude(next) < amplitude(kept[0]) ? next : kept[0];
      kept[1] = amplitude(next) > amplitude(kept[1]) ? next : kept[1];
      kept[2] = residual(next) < residual(kept[2]) ? next : kept[2];
      kept[3] = residual(next) > residual(kept[3]) ? next : kept[3];
    }
    std::sort(kept.begin(), kept.end());
    seen.insert(seen.end(), kept.begin(), std::unique(kept.begin(), kept.end()));
    first = std::max(next, first + 1);
  }
  return seen;
}

AxisPower powerFor(double largest) {
  constexpr double shortest = 1e-3;
  constexpr double longest = 1e5;
  if (!(largest > 0.0) || !std::isfinite(largest) || (largest >= shortest && largest < longest)) {
    return {};
  }
  const int exponent = 3 * static_cast<int>(std::floor(std::log10(largest) / 3.0));
  return {std::pow(10.0, exponent), fmt::format(" / 10^{{{}}}", exponent)};
}

std::string withPower(const AxisPower& power, std::string_view label) {
  std::string text;
  for (const char c : label) {
    if (std::string_view("^_{}@&~\\").find(c) != std::string_view::npos) {
      text += '\\';
    }
    text += c;
  }
  return text + power.text;
}

double roundStep(double limit) {
  const double power = std::pow(10.0, std::floor(std::log10(limit)));
  const double digit = limit / power;
  return power * (digit >= 5.0 ? 5.0 : digit >= 2.0 ? 2.0 : 1.0);
}

double roundStepAbove(double limit) {
  if (!(limit > 0.0)) {
    return 1.0;
  }
  const double power = std::pow(10.0, std::floor(std::log10(limit)));
  const double digit = limit / power;
  return power * (digit <= 1.0 ? 1.0 : digit <= 2.0 ? 2.0 : digit <= 5.0 ? 5.0 : 10.0);
}

std::string logTicsScript(char axis, double from, double to, double gap) {
  constexpr double shortest = 1e-3;
  constexpr double longest = 1e5;
  const std::vector<double> values = logTics(from, to, gap);
  const bool powers = values.front() < shortest || values.back() >= longest;
  std::string text;
  for (double value : values) {
    std::string label = fmt::format("{:.4g}", value);
    if (powers) {
      const int exponent = static_cast<int>(std::floor(std::log10(value) + 1e-9));
      const std::string digits = fmt::format("{:.3g}", value / std::pow(10.0, exponent));
      label = (digits == "1" ? "" : digits + "\xC3\x97") + fmt::format("10^{{{}}}", exponent);
    }
    text += fmt::format("{}'{}' {:.10g}", text.empty() ? "" : ", ", label, value);
  }
  return fmt::format("set {}tics ({})\n", axis, text);
}

}  // namespace vorin::toolkit
