// Decays of 56 samples on 60 grid times, the weight by a noise that is known: each by an inversion
// of its own, and all on one plan, on one thread and on two. Compares the distributions bit by bit
// and prints the processor time of a decay; then a bootstrap beside single inversions.
// profiledDecays encloses the decays on the plan, for callgrind's --toggle-collect.
//
//   planned_decays [DECAYS [own]]   10000 unless given; "own": a noise estimated from each decay
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/inverting/plan.hpp"
#include "toolkit/measures/bootstrap.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/grid.hpp"

namespace {

using vorin::toolkit::InversionPlan;
using vorin::toolkit::InversionSettings;

constexpr double noise = 0.01;
using Amplitudes = std::vector<std::vector<double>>;

std::vector<double> times() {
  constexpr int samples = 56;
  constexpr double spacing = 2e-3;
  std::vector<double> result;
  for (int i = 1; i <= samples; ++i) {
    result.push_back(spacing * i);
  }
  return result;
}

Amplitudes madeDecays(std::size_t count) {
  std::mt19937_64 engine(7);
  std::normal_distribution<double> draw(0.0, noise);
  Amplitudes decays(count);
  for (std::size_t k = 0; k < count; ++k) {
    const double slow = 0.02 + 0.03 * static_cast<double>(k) / static_cast<double>(count);
    for (const double t : times()) {
      decays[k].push_back(0.4 * std::exp(-t / 0.005) + 0.6 * std::exp(-t / slow) + draw(engine));
    }
  }
  return decays;
}

}  // namespace

extern "C" void profiledDecays(const InversionPlan& plan, const Amplitudes& decays,
                               std::size_t first, std::size_t last, Amplitudes& found);

__attribute__((noinline)) void profiledDecays(const InversionPlan& plan, const Amplitudes& decays,
                                              std::size_t first, std::size_t last,
                                              Amplitudes& found) {
  InversionPlan::Worker worker(plan);
  for (std::size_t k = first; k < last; ++k) {
    found[k] = worker.invert(decays[k]).inversion.distribution.amplitude;
  }
}

namespace {

double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Runs it, prints its processor time, and tells whether it gives `expected`, if there is any.
bool timed(const char* what, std::size_t count, const Amplitudes& expected,
           const std::function<void(Amplitudes&)>& run) {
  Amplitudes found(count);
  const double start = processorSeconds();
  run(found);
  const double each = 1e3 * (processorSeconds() - start) / static_cast<double>(count);
  bool same = true;
  for (std::size_t k = 0; k < std::min(count, expected.size()); ++k) {
    same = same && found[k] == expected[k];
  }
  std::printf("%-24s %7.4f ms of processor time each%s\n", what, each, same ? "" : "  OTHER BITS");
  std::fflush(stdout);
  return same;
}

/// A bootstrap of 200 replicates of a decay of 3000 samples, in units of its inversion.
void timeBootstrap() {
  constexpr int samples = 3000;
  constexpr int singles = 20;
  vorin::toolkit::Decay decay;
  std::mt19937_64 engine(3);
  std::normal_distribution<double> draw(0.0, noise);
  for (int i = 1; i <= samples; ++i) {
    const double t = 2e-4 * i;
    decay.time.push_back(t);
    decay.amplitude.push_back(0.3 * std::exp(-t / 0.01) + 0.7 * std::exp(-t / 0.1) + draw(engine));
  }
  for (const auto method : {vorin::toolkit::Method::classic, vorin::toolkit::Method::automatic}) {
    InversionSettings settings;
    settings.method = method;
    settings.grid = vorin::toolkit::LogGrid{1e-3, 1.0, 100}.times();
    double start = processorSeconds();
    vorin::toolkit::Inversion inversion;
    for (int k = 0; k < singles; ++k) {
      inversion = vorin::toolkit::invert(decay, settings);
    }
    const double single = (processorSeconds() - start) / singles;
    start = processorSeconds();
    const auto band = vorin::toolkit::bootstrap(decay, settings, inversion, {});
    const double whole = processorSeconds() - start;
    std::printf(
        "%s method, 3000 samples: an inversion %.3f ms, a bootstrap of %d %.1f ms, that of "
        "%.0f inversions\n",
        method == vorin::toolkit::Method::classic ? "classic" : "default", 1e3 * single,
        band.replicates, 1e3 * whole, whole / single);
  }
}

int run(std::size_t count, bool ownNoise) {
  InversionSettings settings;
  settings.method = vorin::toolkit::Method::classic;
  settings.grid = vorin::toolkit::LogGrid{1e-3, 1.0, 60}.times();
  if (!ownNoise) {
    settings.noise = noise;
  }
  const Amplitudes decays = madeDecays(count);
  const InversionPlan plan(times(), settings);
  // Single inversions cost several times as much: a tenth of the decays is enough.
  const std::size_t few = count / 10;
  Amplitudes single(few);
  settings.matrix = plan.settings().matrix;
  bool same = timed("single inversions", few, {}, [&](Amplitudes& found) {
    for (std::size_t k = 0; k < few; ++k) {
      single[k] = vorin::toolkit::invert({times(), decays[k]}, settings).distribution.amplitude;
    }
    found = single;
  });
  same = timed("one plan, 1 thread", count, single,
               [&](Amplitudes& found) { profiledDecays(plan, decays, 0, count, found); }) &&
         same;
  same =
      timed("one plan, 2 threads", count, single,
            [&](Amplitudes& found) {
              const std::jthread other([&] { profiledDecays(plan, decays, 0, count / 2, found); });
              profiledDecays(plan, decays, count / 2, count, found);
            }) &&
      same;
  timeBootstrap();
  return same ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10000;
    return run(count, argc > 2 && std::strcmp(argv[2], "own") == 0);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "planned_decays: %s\n", error.what());
    return 2;
  }
}
