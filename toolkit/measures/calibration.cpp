#include "toolkit/measures/calibration.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The longest beginning of `text` that is a number, and what follows it.
std::pair<std::optional<double>, std::string_view> numberAndRest(std::string_view text) {
  for (std::size_t length = text.size(); length > 0; --length) {
    if (const std::optional<double> number = parseNumber(text.substr(0, length));
        number && std::isfinite(*number)) {
      return {number, trimmed(text.substr(length))};
    }
  }
  return {std::nullopt, text};
}

}  // namespace

Calibration parseCalibration(std::string_view text, std::string_view option) {
  constexpr std::size_t longestUnit = 20;
  const std::size_t sign = std::min(text.rfind('='), text.size());
  const auto [amount, unit] = numberAndRest(text.substr(0, sign));
  const std::optional<double> amplitude =
      sign < text.size() ? parseNumber(text.substr(sign + 1)) : std::nullopt;
  const bool printable = std::none_of(unit.begin(), unit.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
  });
  const double factor = amount && amplitude ? *amount / *amplitude : 0.0;
  if (!(factor > 0.0 && std::isfinite(factor) && *amount > 0.0) || !printable ||
      unit.size() > longestUnit) {
    throw UserError(
        fmt::format("{} {}: an amount with its unit and the amplitude that it has in the data are "
                    "required, both above 0, as 100pu=1234.5",
                    option, inQuotes(text)));
  }
  return {factor, std::string(unit)};
}

void calibrate(const Calibration& calibration, Decay& decay) {
  for (double& amplitude : decay.amplitude) {
    amplitude *= calibration.factor;
  }
  if (decay.quadratureNoise) {
    *decay.quadratureNoise *= calibration.factor;
  }
}

void calibrate(const Calibration& calibration, Distribution& distribution) {
  for (double& amplitude : distribution.amplitude) {
    amplitude *= calibration.factor;
  }
}

void calibrate(const Calibration& calibration, InversionSettings& settings) {
  if (settings.noise) {
    *settings.noise *= calibration.factor;
  }
  if (settings.baseline && settings.baseline->value) {
    *settings.baseline->value *= calibration.factor;
  }
}

}  // namespace vorin::toolkit
