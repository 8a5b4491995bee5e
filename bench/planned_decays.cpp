// Decays of 56 samples on 60 grid times, the weight by a noise that is known: each by an inversion
// of its own, and all on one plan, on one thread and on two. Compares the distributions bit by bit
// and prints the processor time of a decay; then a bootstrap beside single inversions.
// profiledDecays encloses the decays on the plan, for callgrind's --toggle-collect.
//
//   planned_decays [DECAYS [own | json | profile]]   10000 decays unless given
//     own      a noise estimated from each decay
//     json     the figures as a line of JSON
//     profile  the decays on the plan alone
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <random>
#include <string_view>
#include <thread>
#include <utility>
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
  vorin::toolkit::PlannedInversion result;
  for (std::size_t k = first; k < last; ++k) {
    worker.invertWithoutFit(decays[k], {}, result);
    found[k] = result.inversion.distribution.amplitude;
  }
}

namespace {

double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Processor times in milliseconds.
struct Figures {
  double single = 0.0;  ///< an inversion of its own
  double oneThread = 0.0;
  double twoThreads = 0.0;
};

/// Runs it and returns its processor time a decay in milliseconds. `same` becomes false where it
/// does not give `expected`, as far as that goes.
double timed(std::size_t count, const Amplitudes& expected,
             const std::function<void(Amplitudes&)>& run, bool& same) {
  Amplitudes found(count);
  const double start = processorSeconds();
  run(found);
  const double each = 1e3 * (processorSeconds() - start) / static_cast<double>(count);
  for (std::size_t k = 0; k < std::min(count, expected.size()); ++k) {
    same = same && found[k] == expected[k];
  }
  return each;
}

/// A bootstrap of 200 replicates of a decay of 3000 samples beside its inversion, in milliseconds.
struct BootstrapFigures {
  double single = 0.0;
  double whole = 0.0;
};

BootstrapFigures timeBootstrap(vorin::toolkit::Method method) {
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
  InversionSettings settings;
  settings.method = method;
  settings.grid = vorin::toolkit::LogGrid{1e-3, 1.0, 100}.times();
  BootstrapFigures figures;
  double start = processorSeconds();
  vorin::toolkit::Inversion inversion;
  for (int k = 0; k < singles; ++k) {
    inversion = vorin::toolkit::invert(decay, settings);
  }
  figures.single = 1e3 * (processorSeconds() - start) / singles;
  start = processorSeconds();
  vorin::toolkit::bootstrap(decay, settings, inversion, {});
  figures.whole = 1e3 * (processorSeconds() - start);
  return figures;
}

void print(const Figures& decays, const BootstrapFigures& classic,
           const BootstrapFigures& automatic, bool asJson) {
  if (asJson) {
    std::printf(
        "{\"single\": %.9g, \"one thread\": %.9g, \"two threads\": %.9g, "
        "\"bootstrap, classic\": %.9g, \"bootstrap, default\": %.9g}\n",
        decays.single, decays.oneThread, decays.twoThreads, classic.whole / classic.single,
        automatic.whole / automatic.single);
    return;
  }
  std::printf("processor time of a decay, ms: single %.4f, one plan %.4f, on 2 threads %.4f\n",
              decays.single, decays.oneThread, decays.twoThreads);
  for (const auto& [name, figures] : {std::pair{"classic", classic}, {"default", automatic}}) {
    std::printf(
        "%s method, 3000 samples: an inversion %.3f ms, a bootstrap of 200 %.1f ms, that of %.0f "
        "inversions\n",
        name, figures.single, figures.whole, figures.whole / figures.single);
  }
}

int run(std::size_t count, std::string_view mode) {
  InversionSettings settings;
  settings.method = vorin::toolkit::Method::classic;
  settings.grid = vorin::toolkit::LogGrid{1e-3, 1.0, 60}.times();
  if (mode != "own") {
    settings.noise = noise;
  }
  const Amplitudes decays = madeDecays(count);
  const InversionPlan plan(times(), settings);
  if (mode == "profile") {
    Amplitudes found(count);
    profiledDecays(plan, decays, 0, count, found);
    return 0;
  }
  // Single inversions cost several times as much: a tenth of the decays is enough.
  const std::size_t few = count / 10;
  Amplitudes single(few);
  settings.matrix = plan.settings().matrix;
  Figures figures;
  bool same = true;
  const auto invertSingly = [&](Amplitudes& found) {
    for (std::size_t k = 0; k < few; ++k) {
      found[k] = vorin::toolkit::invert({times(), decays[k]}, settings).distribution.amplitude;
    }
    single = found;
  };
  figures.single = timed(few, {}, invertSingly, same);
  figures.oneThread = timed(
      count, single, [&](Amplitudes& found) { profiledDecays(plan, decays, 0, count, found); },
      same);
  const auto onTwoThreads = [&](Amplitudes& found) {
    const std::jthread other([&] { profiledDecays(plan, decays, 0, count / 2, found); });
    profiledDecays(plan, decays, count / 2, count, found);
  };
  figures.twoThreads = timed(count, single, onTwoThreads, same);
  print(figures, timeBootstrap(vorin::toolkit::Method::classic),
        timeBootstrap(vorin::toolkit::Method::automatic), mode == "json");
  if (!same) {
    std::fprintf(stderr, "planned_decays: the plan gives other bits than single inversions\n");
  }
  return same ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10000;
    return run(count, argc > 2 ? argv[2] : "");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "planned_decays: %s\n", error.what());
    return 2;
  }
}
