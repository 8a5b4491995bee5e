#include "weight/noise_scan.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

#include "brd/dispatch.hpp"
#include "params/log.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "toolbox/extremes.hpp"
#include "toolbox/sorting.hpp"
#include "weight/noise_estimate.hpp"
#include "weight/residual.hpp"

namespace vorin::weight {
namespace {

constexpr int attemptLimit = 21;
constexpr float firstExponent = 2.0f;
constexpr int pointsUpward = 3;         // an upward scan ends with so many
constexpr float noPointYet = 1e12f;     // above any standard error of real data
constexpr float largestStart = 100.0f;  // in units of base, the first weight of the scan

// The good solves: exponents of the weight over base, and standard errors.
struct ScanTable {
  std::array<float, attemptLimit> exponent{};
  std::array<float, attemptLimit> standardError{};
  std::ptrdiff_t count = 0;

  void add(float e, float y) {
    exponent[static_cast<std::size_t>(count)] = e;
    standardError[static_cast<std::size_t>(count)] = y;
    ++count;
  }
  float E(std::ptrdiff_t j) const { return exponent[static_cast<std::size_t>(j)]; }
  float Y(std::ptrdiff_t j) const { return standardError[static_cast<std::size_t>(j)]; }
};

float weightAt(float exponent, float base) {
  return std::pow(10.0f, exponent) * base;
}

void logSolve(float w, float standardError, std::int32_t status) {
  // Required: the tag of the line is that of the search.
  params::VorinLogLine("Vorin_TargSE", "Comment", [&] {
    return "Begin: Iter w=" + params::generalField(double(w), 12, 4) +
           "-> cse=" + params::generalField(double(standardError), 12, 4) +
           " status=" + params::integerField(status, 3);
  });
}

// The scan itself. `w` is left at the last weight that could be solved, `sig` at the
// standard error of the last solve, good or not.
ScanTable scan(brd::Problem<float>& problem, float* f, float* c, float base, float& w, float& sig,
               std::int32_t& status) {
  ScanTable table;
  std::vector<float> work;
  float e = firstExponent;
  bool up = false;
  bool done = false;
  for (int attempt = 0; attempt < attemptLimit && !done; ++attempt) {
    const float wTry = weightAt(e, base);
    float rss = 0.0f;
    float rssSlope = 0.0f;
    brd::vrBRD_s(problem, f, c, wTry, rss, rssSlope, status);
    sig = rootMeanSquareResidual(problem, f, work);
    if (status == 0) {
      w = wTry;
      table.add(e, sig);
      done = up && table.count >= pointsUpward;
    } else if (attempt == 0) {
      up = true;
    } else {
      done = !up;
    }
    e += up ? 1.0f : -1.0f;
    logSolve(wTry, sig, status);
  }
  return table;
}

// The weight at which the straight line between two neighbouring points reaches
// `dse`, from the largest weight downward; `w` stays where no pair crosses. Each pair
// looked at sets the dual vector back to ones.
//
// Required: the division is not guarded. Two equal standard errors below dse make the
// exponent infinite, and the rules of floating point decide what the weight is.
void findCrossing(const ScanTable& table, float base, float dse, int m, float* c, float& w) {
  for (std::ptrdiff_t j = table.count - 2; j >= 0; --j) {
    std::fill(c, c + std::max(m, 0), 1.0f);
    const float lower = table.Y(j);
    const float upper = table.Y(j + 1);
    if (dse > smallerOf(lower, upper)) {
      const float crossing =
          ((lower - dse) * table.E(j + 1) + (dse - upper) * table.E(j)) / (lower - upper);
      w = weightAt(crossing, base);
      return;
    }
  }
}

}  // namespace

void VorinCalcSEA2(brd::Problem<float>& problem, float* f, float* c, float base, float& w,
                   float& sig, float& dse, std::int32_t& status) {
  params::VorinLogLine("VorinCalcSEA2", "Comment", "Begin noise estmate");
  w = base;
  sig = 0.0f;
  const float rsig = params::queryReal("RSIG");
  const float l1al = params::queryReal("L1AL");
  std::fill(c, c + std::max(problem.m(), 0), 1.0f);

  ScanTable table = scan(problem, f, c, base, w, sig, status);
  sort2({table.exponent.data(), table.count, 1}, {table.standardError.data(), table.count, 1});

  sig = noPointYet;
  for (std::ptrdiff_t j = 0; j < table.count; ++j) {
    sig = smallerOf(table.Y(j), sig);
  }
  // Unlike the closing rule of the other estimators, the mixture of noise and data
  // counts only where the first term would exceed the data itself.
  const float rms = rootMeanSquareOfData(problem);
  const float scaled = rsig * sig;
  dse = scaled <= rms ? scaled : targetStandardError(sig, rms, rsig, l1al);

  findCrossing(table, base, dse, problem.m(), c, w);
  if (w > largestStart * base) {
    w = largestStart * base;
  }
}

}  // namespace vorin::weight
