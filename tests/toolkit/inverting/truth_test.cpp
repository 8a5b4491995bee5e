// One draw of each kind of decay of bench/truth: the log mean is right, or the inversion tells
// that it is not. The benchmark itself takes many draws and the references beside them.
#include <gtest/gtest.h>

#include <cmath>

#include "bench/truth/cases.hpp"
#include "toolkit/inverting/inversion.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"

namespace vorin::bench {
namespace {

using namespace vorin::toolkit;

Inversion inverted(const Case& what) {
  const Decay decay = drawOf(what, truthOf(what), 0);
  InversionSettings settings;
  settings.kernel = what.kernel;
  settings.grid = gridFor(decay.time, what.kernel).times();
  return invert(decay, settings);
}

TEST(Truth, TheLogMeanIsRightOrTheStatusTells) {
  constexpr std::size_t longTrain = 10000;  // samples, left to the benchmark
  int told = 0;
  for (const Case& what : allCases()) {
    if (what.times.size() > longTrain) {
      continue;
    }
    const Inversion inversion = inverted(what);
    if (!succeeded(inversion)) {
      EXPECT_TRUE(inversion.finding.fatal()) << what.name << ": " << statusText(inversion);
      ++told;
      continue;
    }
    EXPECT_NEAR(logMean(inversion.distribution) / logMean(truthOf(what)), 1.0, 0.15) << what.name;
  }
  // Signal faster than the first echo, offsets of -0.6 % and of 1 % at a signal to noise of 1000.
  EXPECT_LE(told, 3);
}

TEST(Truth, TheNoiseIsWithinThreeDeviationsOfWhatItClaims) {
  for (const Case& what : allCases()) {
    if (what.times.size() > 1000 || what.offset != 0.0 || !what.firstErrors.empty()) {
      continue;
    }
    const Inversion inversion = inverted(what);
    if (!succeeded(inversion)) {
      continue;
    }
    EXPECT_NEAR(inversion.noise * what.signalToNoise / 100.0, 1.0, 3.0 * inversion.noiseSpread)
        << what.name;
  }
}

}  // namespace
}  // namespace vorin::bench
