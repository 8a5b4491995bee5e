#include "toolkit/reading/doubtful_times.hpp"

#include <fmt/format.h>

#include <cmath>
#include <string>
#include <vector>

#include "toolkit/reading/numbers.hpp"

namespace vorin::toolkit {

namespace {

/// Hours and nanoseconds are units that were mistaken; a b value, too, has a range that gradients
/// reach.
void noteImplausible(const Decay& decay, const DecayFormat& format, Found& found) {
  constexpr double longTime = 100.0;
  constexpr double shortTime = 1e-6;
  constexpr double weak = 1e5;
  constexpr double strong = 1e15;
  const double last = decay.time.back();
  if (format.abscissa == Quantity::time && (last > longTime || last < shortTime)) {
    found.notes.push_back(
        fmt::format("the times go up to {}; are they in {}? (--time-unit ms, say)",
                    last > longTime ? fmt::format("{:g} s", last) : timeText(last),
                    found.unitOrigin == "by default" ? "seconds" : found.unit));
  } else if (format.abscissa == Quantity::bValue && (last < weak || last > strong)) {
    found.notes.push_back(
        fmt::format("the b values go up to {:g} s/m2; are they in {}? (--time-unit s/mm2, say)",
                    last, found.unit));
  }
}

/// Times that count 0, 1, 2 ... or 1, 2, 3 ... without a unit look like numbers of echoes.
void noteCounted(const Decay& decay, const DecayFormat& format, Found& found) {
  constexpr std::size_t few = 3;
  const std::vector<double>& times = decay.time;
  if (found.unitOrigin != "by default" || format.abscissa != Quantity::time || times.size() < few ||
      times.front() > 1.0) {
    return;
  }
  for (std::size_t i = 0; i < times.size(); ++i) {
    if (times[i] != times.front() + static_cast<double>(i) || times[i] != std::floor(times[i])) {
      return;
    }
  }
  found.notes.push_back(
      fmt::format("the first column counts {:g}, {:g}, {:g} ...: if these are numbers of echoes "
                  "and no seconds, "
                  "give --spacing TIME",
                  times[0], times[1], times[2]));
}

}  // namespace

void noteDoubtfulTimes(const Decay& decay, const DecayFormat& format, Found& found) {
  noteImplausible(decay, format, found);
  noteCounted(decay, format, found);
}

}  // namespace vorin::toolkit
