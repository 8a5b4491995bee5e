// How often the interval of `vorin invert --bootstrap` holds the log mean of the truth, on
// computed decays: bootstrap_coverage [TRIALS [REPLICATES]], 200 and 200 when not given.
// It should be 68 %; of 200 trials that is so to within 3.3 %. Where it is less, the summary should
// tell that the interval is too narrow.
#include <fmt/format.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/files.hpp"

namespace {

using namespace vorin::toolkit;

struct Case {
  std::string name;
  std::vector<LogNormalPeak> peaks;
  Kernel kernel;
  std::vector<double> times;
  double noise;
};

std::vector<double> train(double spacing, int count) {
  std::vector<double> times;
  for (int i = 1; i <= count; ++i) {
    times.push_back(spacing * i);
  }
  return times;
}

std::vector<Case> cases() {
  const std::vector<LogNormalPeak> two{{0.008, 0.15, 30.0}, {0.09, 0.15, 70.0}};
  const std::vector<LogNormalPeak> one{{0.03, 0.2, 100.0}};
  return {
      {"two peaks, 3000 echoes, SNR 500", two, Kernel::t2, train(2e-4, 3000), 0.2},
      {"two peaks, 1000 echoes, SNR 100", two, Kernel::t2, train(4e-4, 1000), 1.0},
      {"one peak, 1500 echoes, SNR 100", one, Kernel::t2, train(2e-4, 1500), 1.0},
      {"saturation, 300 times, SNR 200", two, Kernel::t1Saturation, LogGrid{5e-4, 3.0, 300}.times(),
       0.5},
      {"saturation, 32 times, SNR 200", two, Kernel::t1Saturation, LogGrid{1e-3, 3.0, 32}.times(),
       0.5},
      {"line, 3000 echoes, SNR 200", {{0.03, 0.03, 100.0}}, Kernel::t2, train(2e-4, 3000), 0.5},
      {"peak of 0.5 decades, SNR 100", {{0.03, 0.5, 100.0}}, Kernel::t2, train(2e-4, 3000), 1.0},
      {"two that overlap, SNR 100",
       {{0.02, 0.25, 50.0}, {0.1, 0.25, 50.0}},
       Kernel::t2,
       train(5e-4, 1000),
       1.0},
      {"inversion, 100 times, SNR 100", two, Kernel::t1Inversion, LogGrid{5e-4, 3.0, 100}.times(),
       1.0},
  };
}

void report(const Case& of, bool corner, int trials, int replicates) {
  const Distribution truth = distributionOf(of.peaks, LogGrid{1e-4, 10.0, 200}.times());
  const double logTruth = std::log(logMean(truth));
  int held = 0;
  int counted = 0;
  int tooNarrow = 0;
  double widths = 0.0;
  double bias = 0.0;
  double squares = 0.0;
  for (int trial = 1; trial <= trials; ++trial) {
    const auto seed = static_cast<std::uint64_t>(trial);
    const Decay decay = simulatedDecay(of.kernel, truth, of.times, of.noise, 1000 + seed);
    InversionSettings settings;
    settings.kernel = of.kernel;
    settings.grid = gridFor(decay.time).times();
    settings.corner = corner;
    const Inversion inversion = invert(decay, settings);
    if (!succeeded(inversion)) {
      continue;
    }
    const Band band = bootstrap(decay, settings, inversion, {replicates, seed, 1, {}});
    const double lower = std::log(band.logMeanLower);
    const double upper = std::log(band.logMeanUpper);
    const double off = std::log(logMean(inversion.distribution)) - logTruth;
    held += lower <= logTruth && logTruth <= upper ? 1 : 0;
    widths += 0.5 * (upper - lower);
    bias += off;
    squares += off * off;
    tooNarrow += band.intervalTooNarrow ? 1 : 0;
    ++counted;
  }
  bias /= counted;
  fmt::print("{:34} {:7} {:5.1f} % of {:4}   {:5.2f} %   {:+5.2f} %   {:5.2f} %   {:3.0f} %\n",
             of.name, corner ? "corner" : "noise", 100.0 * held / counted, counted,
             100.0 * widths / counted, 100.0 * bias,
             100.0 * std::sqrt(squares / counted - bias * bias), 100.0 * tooNarrow / counted);
  std::fflush(stdout);
}

}  // namespace

int main(int count, char** words) {
  const int trials = count > 1 ? std::atoi(words[1]) : 200;
  const int replicates = count > 2 ? std::atoi(words[2]) : 200;
  const vorin::toolkit::ScratchFolder scratch;
  fmt::print("{:34} {:7} {:14}  half width  bias     spread    told too narrow\n", "decay",
             "weight", "held the truth");
  for (const Case& of : cases()) {
    for (bool corner : {false, true}) {
      report(of, corner, trials, replicates);
    }
  }
  return 0;
}
