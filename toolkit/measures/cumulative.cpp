#include "toolkit/measures/cumulative.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

#include "toolkit/measures/bin_part.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The values between commas, rising. `read` gives nothing for a text that is no value.
template <class Read>
std::vector<double> valueList(std::string_view text, std::string_view option,
                              std::string_view required, Read read) {
  constexpr std::size_t mostValues = 20;
  const auto fail = [&](std::string_view why) {
    return UserError(fmt::format("{} {}: {}", option, inQuotes(text), why));
  };
  std::vector<double> values;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    const std::optional<double> value = read(text.substr(start, end - start));
    if (!value) {
      throw fail(fmt::format("{} is required", required));
    }
    values.push_back(*value);
    start = end + 1;
  }
  std::sort(values.begin(), values.end());
  if (std::adjacent_find(values.begin(), values.end()) != values.end()) {
    throw fail("a value occurs more than once; give each once");
  }
  if (values.size() > mostValues) {
    throw fail(fmt::format("{} values are too many; give {} at most", values.size(), mostValues));
  }
  return values;
}

}  // namespace

std::vector<double> logBinEdges(const std::vector<double>& grid) {
  std::vector<double> edges(grid.size() + 1);
  const std::size_t last = grid.size() - 1;
  for (std::size_t k = 1; k <= last; ++k) {
    edges[k] = 0.5 * (std::log(grid[k - 1]) + std::log(grid[k]));
  }
  const double first = std::log(grid.front());
  const double end = std::log(grid.back());
  edges.front() = last == 0 ? first : 2.0 * first - edges[1];
  edges.back() = last == 0 ? end : 2.0 * end - edges[last];
  return edges;
}

std::vector<double> cumulative(const Distribution& distribution) {
  std::vector<double> sums(distribution.amplitude.size());
  std::partial_sum(distribution.amplitude.begin(), distribution.amplitude.end(), sums.begin());
  return sums;
}

std::vector<Part> partsBetween(const Distribution& distribution,
                               const std::vector<double>& cutoffs) {
  const std::vector<double> edges = logBinEdges(distribution.time);
  std::vector<Part> parts;
  double from = 0.0;
  for (std::size_t p = 0; p <= cutoffs.size(); ++p) {
    const double to = p < cutoffs.size() ? cutoffs[p] : std::numeric_limits<double>::infinity();
    parts.push_back({from, to, 0.0, 0.0});
    from = to;
  }
  for (std::size_t k = 0; k < distribution.amplitude.size(); ++k) {
    double below = 0.0;
    for (Part& part : parts) {
      const double upTo =
          std::isinf(part.to) ? 1.0 : partBelow(edges[k], edges[k + 1], std::log(part.to));
      part.amount += distribution.amplitude[k] * (upTo - below);
      below = upTo;
    }
  }
  const double total = totalAmplitude(distribution);
  for (Part& part : parts) {
    part.share = total > 0.0 ? part.amount / total : std::numeric_limits<double>::quiet_NaN();
  }
  return parts;
}

double percentile(const Distribution& distribution, double percent) {
  const std::vector<double> edges = logBinEdges(distribution.time);
  const double aim = 0.01 * percent * totalAmplitude(distribution);
  double below = 0.0;
  std::optional<double> lastEdge;
  for (std::size_t k = 0; k < distribution.amplitude.size(); ++k) {
    const double amplitude = distribution.amplitude[k];
    if (!(amplitude > 0.0)) {
      continue;
    }
    if (below + amplitude >= aim) {
      const double inside = std::max(aim - below, 0.0) / amplitude;
      return std::exp(edges[k] + inside * (edges[k + 1] - edges[k]));
    }
    below += amplitude;
    lastEdge = edges[k + 1];
  }
  // Rounding may leave the sum below its whole.
  return lastEdge ? std::exp(*lastEdge) : std::numeric_limits<double>::quiet_NaN();
}

std::vector<double> parseCutoffs(std::string_view text, std::string_view option,
                                 Quantity quantity) {
  const std::string units = unitList(quantity);
  const std::string required =
      fmt::format("values above 0{}, with commas between them, as 3{},33{}",
                  units.empty() ? "" : fmt::format(" with or without a unit ({})", units),
                  quantity == Quantity::time        ? "ms"
                  : quantity == Quantity::diffusion ? "e-10"
                                                    : "",
                  quantity == Quantity::time        ? "ms"
                  : quantity == Quantity::diffusion ? "e-10"
                                                    : "");
  return valueList(text, option, required, [&](std::string_view one) {
    const std::optional<double> value = parseQuantity(one, quantity);
    return value && *value > 0.0 && std::isfinite(*value) ? value : std::nullopt;
  });
}

std::vector<double> parsePercentiles(std::string_view text, std::string_view option) {
  return valueList(text, option,
                   "percentages above 0 and below 100, with commas between them, as 10,50,90,",
                   [&](std::string_view one) {
                     const std::optional<double> value = parseNumber(one);
                     return value && *value > 0.0 && *value < 100.0 ? value : std::nullopt;
                   });
}

}  // namespace vorin::toolkit
