// Times whole inversions, each path over usual sizes and noise levels, and the stages of
// one. CPU time; every timed inversion has been checked once.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <numeric>
#include <string_view>
#include <tuple>
#include <vector>

#include "brd/problem.hpp"
#include "brd/system.hpp"
#include "decay.hpp"
#include "paths.hpp"
#include "reduce/prune_plan.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/linear_map.hpp"
#include "toolbox/norms.hpp"
#include "vorin.h"

namespace {

using vorin::kernels::Level;

float number(const char* key) {
  std::int32_t status = 0;
  float value = 0.0f;
  VorinSQR("Q", key, &value, &status);
  return value;
}

struct Decay {
  std::int32_t nf, ng;
  double snr;
  std::vector<float> K, Y;
};

const Decay& decay(std::int64_t nf, std::int64_t ng, std::int64_t snr) {
  static std::map<std::tuple<std::int64_t, std::int64_t, std::int64_t>, Decay> made;
  const auto [place, isNew] = made.try_emplace({nf, ng, snr});
  Decay& found = place->second;
  if (isNew) {
    found = {static_cast<std::int32_t>(nf), static_cast<std::int32_t>(ng), static_cast<double>(snr),
             std::vector<float>(static_cast<std::size_t>(nf * ng)),
             std::vector<float>(static_cast<std::size_t>(nf))};
    vorin::bench::makeDecay(found.nf, found.ng, found.snr, 1, found.K.data(), found.Y.data());
  }
  return found;
}

void invert(benchmark::State& state, const char* name) {
  const vorin::bench::Path& path = *vorin::bench::findPath(name);
  const Decay& data = decay(state.range(0), state.range(1), state.range(2));
  vorin::bench::setPath(path, data.snr);
  std::vector<float> F(static_cast<std::size_t>(data.ng));
  std::int32_t status = -1;
  const auto once = [&] {
    path.entry(data.nf, data.ng, data.K.data(), data.Y.data(), F.data(), &status);
  };
  once();
  const bool seeksNoise = std::string_view(path.target) == "NOISE";
  const std::int32_t good = std::string_view(path.target) == "2" ? VORIN_CORNER_MODE : VORIN_OK;
  const float wanted = number("DSE ");
  const float missed = std::abs(number("CSE ") - wanted) / wanted;
  if (status != good || (seeksNoise && !(missed < 0.001f))) {
    state.SkipWithError("the inversion failed");
    return;
  }
  for (auto _ : state) {
    once();
    benchmark::DoNotOptimize(F.data());
  }
  state.counters["solves"] = static_cast<double>(number("CWIT"));
}

void sizes(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"nf", "ng", "snr"})
      ->ArgsProduct({{256, 1000, 3000, 10000}, {50, 100, 200}, {20, 100, 1000}})
      ->Unit(benchmark::kMicrosecond)
      ->MinTime(0.02);
}

void oneSize(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"nf", "ng", "snr"})
      ->ArgsProduct({{1000, 10000}, {100}, {100}})
      ->Unit(benchmark::kMicrosecond)
      ->MinTime(0.02);
}

void unprunedSizes(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"nf", "ng", "snr"})
      ->ArgsProduct({{1000}, {50, 100, 200}, {20, 100, 1000}})
      ->Unit(benchmark::kMicrosecond)
      ->MinTime(0.02);
}

BENCHMARK_CAPTURE(invert, noise, "noise")->Apply(sizes);
BENCHMARK_CAPTURE(invert, unpruned, "unpruned")->Apply(unprunedSizes);
BENCHMARK_CAPTURE(invert, C5_pruned, "C5-pruned")->Apply(sizes);
BENCHMARK_CAPTURE(invert, C5_whole, "C5-whole")->Apply(oneSize);
BENCHMARK_CAPTURE(invert, fixed, "fixed")->Apply(sizes);
BENCHMARK_CAPTURE(invert, corner, "corner")->Apply(oneSize);

// Stages.

vorin::reduce::PruneRequest request(const Decay& data, const std::vector<float>& t,
                                    const std::vector<float>& ones) {
  vorin::reduce::PruneRequest wanted;
  wanted.points = wanted.capacityPoints = data.nf;
  wanted.maxBins = 5000;
  wanted.t = t.data();
  wanted.scale = ones.data();
  wanted.target = 200;
  return wanted;
}

void placeBins(benchmark::State& state) {
  const Decay& data = decay(state.range(0), state.range(1), state.range(2));
  std::vector<float> t(data.Y.size());
  std::iota(t.begin(), t.end(), 1.0f);
  const std::vector<float> ones(t.size(), 1.0f);
  for (auto _ : state) {
    benchmark::DoNotOptimize(vorin::reduce::PrunePlan(request(data, t, ones)).count());
  }
}
BENCHMARK(placeBins)->Apply(oneSize);

void pruneKernel(benchmark::State& state) {
  const Decay& data = decay(state.range(0), state.range(1), state.range(2));
  std::vector<float> t(data.Y.size());
  std::iota(t.begin(), t.end(), 1.0f);
  const std::vector<float> ones(t.size(), 1.0f);
  const vorin::reduce::PrunePlan plan(request(data, t, ones));
  std::vector<float> kernel(static_cast<std::size_t>(plan.count() * data.ng));
  for (auto _ : state) {
    plan.apply(data.ng, data.K.data(), data.nf, kernel.data(), plan.count());
    benchmark::DoNotOptimize(kernel.data());
  }
}
BENCHMARK(pruneKernel)->Apply(oneSize);

void columnNorms(benchmark::State& state) {
  const Decay& data = decay(state.range(0), state.range(1), state.range(2));
  for (auto _ : state) {
    benchmark::DoNotOptimize(vorin::meanSquaredColumnNorm(data.nf, data.ng, data.K.data()));
  }
}
BENCHMARK(columnNorms)->Apply(oneSize);

void fitOnAllPoints(benchmark::State& state) {
  const Decay& data = decay(state.range(0), state.range(1), state.range(2));
  std::vector<float> F(static_cast<std::size_t>(data.ng), 0.01f), fit(data.Y.size());
  for (auto _ : state) {
    vorin::formFit(data.nf, data.ng, data.K.data(), F.data(), fit.data());
    benchmark::DoNotOptimize(fit.data());
  }
}
BENCHMARK(fitOnAllPoints)->Apply(oneSize);

void makeSystem(benchmark::State& state) {
  const Decay& data = decay(state.range(0), state.range(1), state.range(2));
  for (auto _ : state) {
    const auto system = vorin::brd::System<double>::converted(
        vorin::brd::KernelForms<double>::converted(data.nf, data.ng, data.K.data()), data.Y.data());
    benchmark::DoNotOptimize(system.d());
  }
}
BENCHMARK(makeSystem)->Apply(oneSize);

}  // namespace
