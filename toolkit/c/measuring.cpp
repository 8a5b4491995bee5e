// Measures of a distribution.
#include <memory>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/measures/measures.hpp"

namespace vorin::toolkit::c {

void addMeasures(vorin_result& result, const Distribution& distribution, double smallestShare) {
  result.add("total", totalAmplitude(distribution));
  result.add("log_mean", logMean(distribution));
  std::vector<double> position;
  std::vector<double> width;
  std::vector<double> share;
  std::vector<double> atGridEnd;
  for (const Peak& peak : peaks(distribution, smallestShare)) {
    position.push_back(peak.time);
    width.push_back(peak.width);
    share.push_back(peak.share);
    atGridEnd.push_back(peak.atGridEnd ? 1.0 : 0.0);
  }
  result.add("peak_position", std::move(position));
  result.add("peak_width", std::move(width));
  result.add("peak_share", std::move(share));
  result.add("peak_at_grid_end", std::move(atGridEnd));
}

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_measures(const double* grid, const double* distribution, int64_t points,
                       double smallest_share, vorin_result** result, char* message,
                       int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    const vorin::toolkit::Distribution given{c::numbersAt(grid, points, 1, "grid"),
                                             c::numbersAt(distribution, points, 1, "distribution")};
    c::requireGrid(given.time, "grid");
    auto made = std::make_unique<vorin_result>();
    c::addMeasures(*made, given, smallest_share);
    made->add("per_decade", vorin::toolkit::perDecade(given));
    return made;
  });
}

}  // extern "C"
