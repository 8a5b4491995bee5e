#include "common/grid.hpp"

#include <fmt/format.h>

#include <cmath>

#include "common/numbers.hpp"
#include "common/user_error.hpp"

namespace vorin::host {

namespace {

/// A kernel of more columns than this is a slip of the keyboard.
constexpr int kMostPoints = 10000;
/// Relaxation times stay well inside the range of single precision.
constexpr double kShortest = 1e-30;
constexpr double kLongest = 1e30;

}  // namespace

std::vector<double> LogGrid::times() const {
  std::vector<double> result(static_cast<std::size_t>(points));
  const double step = (std::log(to) - std::log(from)) / (points - 1);
  for (int k = 0; k < points; ++k) {
    result[static_cast<std::size_t>(k)] = from * std::exp(step * k);
  }
  result.back() = to;
  return result;
}

LogGrid parseGrid(std::string_view text, std::string_view option) {
  const auto fail = [&](std::string_view why) {
    return UserError(
        fmt::format("{} {}: {}; write FROM:TO:N, for instance 0.0001:10:100 for 100 "
                    "times from 0.1 ms to 10 s",
                    option, inQuotes(text), why));
  };
  const auto first = text.find(':');
  const auto second = first == std::string_view::npos ? first : text.find(':', first + 1);
  if (second == std::string_view::npos) {
    throw fail("three numbers with colons between them are wanted");
  }
  const auto from = parseNumber(text.substr(0, first));
  const auto to = parseNumber(text.substr(first + 1, second - first - 1));
  const auto points = parseInteger(text.substr(second + 1));
  if (!from || !to) {
    throw fail("the times are not both numbers");
  }
  if (!points) {
    throw fail("the count is not a whole number");
  }
  if (!(*from >= kShortest && *to > *from && *to <= kLongest)) {
    throw fail("the times must be above 0 and rise");
  }
  if (*points < 2 || *points > kMostPoints) {
    throw fail(fmt::format("the count must be from 2 to {}", kMostPoints));
  }
  return {*from, *to, static_cast<int>(*points)};
}

LogGrid gridFor(const std::vector<double>& times) {
  const double first = times.front() > 0.0 ? times.front() : times.at(1);
  return {first / 3.0, times.back() * 3.0, 100};
}

}  // namespace vorin::host
