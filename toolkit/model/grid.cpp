#include "toolkit/model/grid.hpp"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// A kernel of more columns than this is a slip of the keyboard.
constexpr int mostPoints = 10000;
/// Relaxation times stay well inside the range of single precision.
constexpr double shortest = 1e-30;
constexpr double longestValue = 1e30;

std::string_view example(Quantity quantity) {
  switch (quantity) {
    case Quantity::diffusion:
      return "1e-12:1e-8:100 for 100 coefficients in m2/s";
    case Quantity::plain:
    case Quantity::bValue:
      return "0.01:100:50 for 50 values";
    case Quantity::time:
      break;
  }
  return "0.0001:10:100 for 100 times from 0.1 ms to 10 s";
}

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

LogGrid parseGrid(std::string_view text, std::string_view option, Quantity quantity) {
  const auto fail = [&](std::string_view why) {
    return UserError(fmt::format("{} {}: {}; write FROM:TO:N, for instance {}", option,
                                 inQuotes(text), why, example(quantity)));
  };
  const auto first = text.find(':');
  const auto second = first == std::string_view::npos ? first : text.find(':', first + 1);
  if (second == std::string_view::npos) {
    throw fail("three numbers with colons between them are required");
  }
  const auto from = parseQuantity(text.substr(0, first), quantity);
  const auto to = parseQuantity(text.substr(first + 1, second - first - 1), quantity);
  const auto points = parseInteger(text.substr(second + 1));
  const std::string_view values = quantity == Quantity::time ? "times" : "values";
  if (!from || !to) {
    throw fail(fmt::format("the {} are not both numbers", values));
  }
  if (!points) {
    throw fail("the count is not a whole number");
  }
  if (!(*from >= shortest && *to > *from && *to <= longestValue)) {
    throw fail(fmt::format("the {} must be above 0 and rise", values));
  }
  if (*points < 2 || *points > mostPoints) {
    throw fail(fmt::format("the count must be from 2 to {}", mostPoints));
  }
  return {*from, *to, static_cast<int>(*points)};
}

std::vector<double> gridValues(std::string_view text, std::string_view option, Quantity quantity) {
  std::error_code error;
  if (!std::filesystem::exists(std::filesystem::path(text), error)) {
    return parseGrid(text, option, quantity).times();
  }
  std::vector<double> values = readGrid(std::filesystem::path(text), quantity);
  if (values.size() < 2 || values.size() > mostPoints) {
    throw UserError(fmt::format("{} {}: a grid has 2 to {} values, this file has {}", option, text,
                                mostPoints, values.size()));
  }
  return values;
}

LogGrid gridFor(const std::vector<double>& times, Kernel kernel) {
  const double first = times.front() > 0.0 ? times.front() : times.at(1);
  if (kernel == Kernel::diffusion) {
    return {1.0 / (3.0 * times.back()), 3.0 / first, 100};
  }
  return {first / 3.0, times.back() * 3.0, 100};
}

}  // namespace vorin::toolkit
