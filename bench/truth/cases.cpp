#include "bench/truth/cases.hpp"

#include <cmath>
#include <cstdint>

#include "toolkit/model/simulation.hpp"

namespace vorin::bench {

namespace {

using toolkit::Kernel;

constexpr Kernel t2Kernel = Kernel::t2;
constexpr Kernel saturationKernel = Kernel::t1Saturation;
constexpr Kernel inversionKernel = Kernel::t1Inversion;
constexpr Kernel diffusionKernel = Kernel::diffusion;

std::vector<double> evenlySpaced(double from, double to, int count) {
  std::vector<double> result;
  for (int i = 0; i < count; ++i) {
    result.push_back(from + (to - from) * i / (count - 1));
  }
  return result;
}

std::vector<double> logSpaced(double from, double to, int count) {
  std::vector<double> result;
  for (int i = 0; i < count; ++i) {
    result.push_back(from * std::pow(to / from, static_cast<double>(i) / (count - 1)));
  }
  return result;
}

/// An echo train of `count` echoes.
std::vector<double> train(double spacing, int count) {
  return evenlySpaced(spacing, spacing * count, count);
}

}  // namespace

std::vector<Case> allCases() {
  return {
      {"T2: line30 3000 s2000", t2Kernel, train(2e-4, 3000), {{.03, 0, 100}}, 2000, 0.0, {}},
      {"T2: line100 3000 s100", t2Kernel, train(2e-4, 3000), {{.1, 0, 100}}, 100, 0.0, {}},
      {"T2: 2lines 3000 s500",
       t2Kernel,
       train(2e-4, 3000),
       {{.01, 0, 40}, {.1, 0, 60}},
       500,
       0.0,
       {}},
      {"T2: 2bells 3000 s500",
       t2Kernel,
       train(2e-4, 3000),
       {{.008, .15, 30}, {.09, .15, 70}},
       500,
       0.0,
       {}},
      {"T2: 2bells 30000 s50",
       t2Kernel,
       train(5e-5, 30000),
       {{.008, .15, 30}, {.09, .15, 70}},
       50,
       0.0,
       {}},
      {"T2: broad.7 2000 s100", t2Kernel, train(2e-4, 2000), {{.02, .6, 100}}, 100, 0.0, {}},
      {"T2: broad.5 2000 s1000", t2Kernel, train(2e-4, 2000), {{.02, .5, 100}}, 1000, 0.0, {}},
      {"T2: fast+bell s200",
       t2Kernel,
       train(2e-4, 3000),
       {{.0004, .1, 30}, {.05, .1, 70}},
       200,
       0.0,
       {}},
      {"T2: slow end s200",
       t2Kernel,
       train(2e-4, 3000),
       {{.01, .15, 50}, {.5, .1, 50}},
       200,
       0.0,
       {}},
      {"T2: bell 64 s50", t2Kernel, train(2e-3, 64), {{.02, .2, 100}}, 50, 0.0, {}},
      {"T2: 2lines log16 s100",
       t2Kernel,
       logSpaced(1e-3, 1, 16),
       {{.01, 0, 50}, {.1, 0, 50}},
       100,
       0.0,
       {}},
      {"T2: bell 1000 s20", t2Kernel, train(5e-4, 1000), {{.05, .25, 100}}, 20, 0.0, {}},
      {"T2: 2bells 2000 s5000",
       t2Kernel,
       train(3e-4, 2000),
       {{.01, .2, 50}, {.1, .2, 50}},
       5000,
       0.0,
       {}},
      {"T2: 3bells 5000 s300",
       t2Kernel,
       train(2e-4, 5000),
       {{.003, .15, 20}, {.03, .2, 40}, {.3, .15, 40}},
       300,
       0.0,
       {}},
      {"saturation: SR 16 bell s200",
       saturationKernel,
       logSpaced(.01, 10, 16),
       {{.4, .15, 100}},
       200,
       0.0,
       {}},
      {"saturation: SR 16 2lines s500",
       saturationKernel,
       logSpaced(.01, 10, 16),
       {{.1, 0, 40}, {1, 0, 60}},
       500,
       0.0,
       {}},
      {"saturation: SR 100 broad s100",
       saturationKernel,
       logSpaced(.005, 8, 100),
       {{.4, .5, 100}},
       100,
       0.0,
       {}},
      {"saturation: SR 32 line s50",
       saturationKernel,
       logSpaced(.01, 5, 32),
       {{.5, 0, 100}},
       50,
       0.0,
       {}},
      {"inversion: IR 20 bell s200",
       inversionKernel,
       logSpaced(.005, 5, 20),
       {{.3, .15, 100}},
       200,
       0.0,
       {}},
      {"inversion: IR 100 2bells s500",
       inversionKernel,
       evenlySpaced(.01, 4, 100),
       {{.08, .15, 40}, {.6, .1, 60}},
       500,
       0.0,
       {}},
      {"inversion: IR 50 broad s50",
       inversionKernel,
       logSpaced(.001, 5, 50),
       {{.1, .5, 100}},
       50,
       0.0,
       {}},
      {"diffusion: D 16 line s1000",
       diffusionKernel,
       evenlySpaced(0, 3e9, 16),
       {{1e-9, 0, 100}},
       1000,
       0.0,
       {}},
      {"diffusion: D 64 2bells s500",
       diffusionKernel,
       logSpaced(1e7, 1e10, 64),
       {{2.3e-9, .1, 60}, {3e-10, .1, 40}},
       500,
       0.0,
       {}},
      {"diffusion: D 200 broad s50",
       diffusionKernel,
       logSpaced(1e7, 1e11, 200),
       {{5e-10, .5, 100}},
       50,
       0.0,
       {}},
      {"T2: base.5 s500", t2Kernel, train(2e-4, 3000), {{.03, .2, 100}}, 500, 0.5, {}},
      {"T2: first off s200", t2Kernel, train(2e-4, 2000), {{.04, .3, 100}}, 200, 0.0, {3, -2}},
      {"T2: first low s500", t2Kernel, train(3e-4, 2000), {{.06, .2, 100}}, 500, 0.0, {-3}},
      {"T2: faster .6t1 s200",
       t2Kernel,
       train(2e-4, 2000),
       {{.00012, .05, 30}, {.05, .1, 70}},
       200,
       0.0,
       {}},
      {"T2: beyond end s200",
       t2Kernel,
       train(2e-4, 1000),
       {{.01, .1, 40}, {.6, .05, 60}},
       200,
       0.0,
       {}},
      {"T2: lin16 bell s100", t2Kernel, train(5e-3, 16), {{.02, .1, 100}}, 100, 0.0, {}},
      {"saturation: SR 64 short end s200",
       saturationKernel,
       logSpaced(.01, 10, 64),
       {{.012, .05, 30}, {.8, .1, 70}},
       200,
       0.0,
       {}},
      {"saturation: SR lin 40 2bells s1000",
       saturationKernel,
       evenlySpaced(.1, 6, 40),
       {{.3, .1, 40}, {1.5, .1, 60}},
       1000,
       0.0,
       {}},
      {"inversion: IR 16 2lines s300",
       inversionKernel,
       logSpaced(.005, 8, 16),
       {{.1, 0, 50}, {1, 0, 50}},
       300,
       0.0,
       {}},
      {"diffusion: D 16 broad s200",
       diffusionKernel,
       evenlySpaced(0, 5e9, 16),
       {{1e-9, .3, 100}},
       200,
       0.0,
       {}},
      {"diffusion: D 32 2lines s100",
       diffusionKernel,
       evenlySpaced(1e8, 5e9, 32),
       {{2e-9, 0, 60}, {3e-10, 0, 40}},
       100,
       0.0,
       {}},
      {"T2: line 30000 s5000", t2Kernel, train(5e-5, 30000), {{.05, 0, 100}}, 5000, 0.0, {}},
      {"T2: asym s100", t2Kernel, train(2e-4, 4000), {{.1, .1, 60}, {.03, .3, 40}}, 100, 0.0, {}},
      {"T2: line 32 s100", t2Kernel, train(2e-3, 32), {{.012, 0, 100}}, 100, 0.0, {}},
      {"T2: line lin16 s1000", t2Kernel, train(4e-3, 16), {{.015, 0, 100}}, 1000, 0.0, {}},
      {"T2: close lines s1000",
       t2Kernel,
       train(2e-4, 1000),
       {{.01, 0, 50}, {.033, 0, 50}},
       1000,
       0.0,
       {}},
      {"T2: 3lines 4000 s1000",
       t2Kernel,
       train(2e-4, 4000),
       {{.004, 0, 30}, {.03, 0, 30}, {.22, 0, 40}},
       1000,
       0.0,
       {}},
      {"T2: bell.3 1500 s100", t2Kernel, train(1e-3, 1500), {{.06, .3, 100}}, 100, 0.0, {}},
      {"T2: two te + bell s300",
       t2Kernel,
       train(3e-4, 2000),
       {{.0007, 0, 20}, {.06, .15, 80}},
       300,
       0.0,
       {}},
      {"T2: bell log24 s50", t2Kernel, logSpaced(5e-4, .5, 24), {{.03, .2, 100}}, 50, 0.0, {}},
      {"T2: bell 200 s30", t2Kernel, train(1e-3, 200), {{.025, .15, 100}}, 30, 0.0, {}},
      {"T2: broad1 10000 s500", t2Kernel, train(1e-4, 10000), {{.02, .8, 100}}, 500, 0.0, {}},
      {"T2: line 3000 s20", t2Kernel, train(2e-4, 3000), {{.05, 0, 100}}, 20, 0.0, {}},
      {"T2: undecayed 500 s200",
       t2Kernel,
       train(1e-3, 500),
       {{.05, .1, 40}, {.8, 0, 60}},
       200,
       0.0,
       {}},
      {"T2: base+1 s1000", t2Kernel, train(2e-4, 3000), {{.03, .2, 100}}, 1000, 1.0, {}},
      {"saturation: SR 16 line s100",
       saturationKernel,
       logSpaced(.02, 8, 16),
       {{.7, 0, 100}},
       100,
       0.0,
       {}},
      {"saturation: SR lin16 line s200",
       saturationKernel,
       evenlySpaced(.1, 3.1, 16),
       {{.55, 0, 100}},
       200,
       0.0,
       {}},
      {"saturation: SR 24 2bells s300",
       saturationKernel,
       logSpaced(.01, 12, 24),
       {{.15, .15, 40}, {1.6, .15, 60}},
       300,
       0.0,
       {}},
      {"saturation: SR 50 2lines s200",
       saturationKernel,
       logSpaced(.005, 10, 50),
       {{.06, 0, 30}, {.9, 0, 70}},
       200,
       0.0,
       {}},
      {"saturation: SR 20 broad s500",
       saturationKernel,
       logSpaced(.005, 10, 20),
       {{.3, .4, 100}},
       500,
       0.0,
       {}},
      {"inversion: IR 16 line s100",
       inversionKernel,
       logSpaced(.01, 6, 16),
       {{.45, 0, 100}},
       100,
       0.0,
       {}},
      {"inversion: IR 24 bell s1000",
       inversionKernel,
       logSpaced(.005, 8, 24),
       {{.5, .15, 100}},
       1000,
       0.0,
       {}},
      {"inversion: IR lin40 2lines s200",
       inversionKernel,
       evenlySpaced(.05, 5, 40),
       {{.12, 0, 40}, {.95, 0, 60}},
       200,
       0.0,
       {}},
      {"inversion: IR 20 broad s500",
       inversionKernel,
       logSpaced(.002, 8, 20),
       {{.2, .4, 100}},
       500,
       0.0,
       {}},
      {"inversion: IR 32 2bells s50",
       inversionKernel,
       logSpaced(.003, 6, 32),
       {{.03, .15, 40}, {.5, .15, 60}},
       50,
       0.0,
       {}},
      {"diffusion: D lin16 line s100",
       diffusionKernel,
       evenlySpaced(0, 2.5e9, 16),
       {{1.3e-9, 0, 100}},
       100,
       0.0,
       {}},
      {"diffusion: D 24 2bells s200",
       diffusionKernel,
       logSpaced(2e7, 2e10, 24),
       {{2e-9, .15, 50}, {2e-10, .15, 50}},
       200,
       0.0,
       {}},
      {"diffusion: D 32 bell s1000",
       diffusionKernel,
       evenlySpaced(0, 6e9, 32),
       {{8e-10, .2, 100}},
       1000,
       0.0,
       {}},
      {"diffusion: D 100 line s50",
       diffusionKernel,
       evenlySpaced(3e7, 4e9, 100),
       {{9e-10, 0, 100}},
       50,
       0.0,
       {}},
      {"T2: base-.6 s200", t2Kernel, train(3e-4, 2000), {{.03, .2, 100}}, 200, -0.6, {}},
  };
}

toolkit::Distribution truthOf(const Case& what) {
  constexpr int lineCount = 161;
  constexpr double deviationsReach = 4.0;  // standard deviations
  toolkit::Distribution truth;
  for (const Component& component : what.components) {
    const int lines = component.width > 0.0 ? lineCount : 1;
    double sum = 0.0;
    std::vector<double> shape;
    for (int i = 0; i < lines; ++i) {
      const double z = lines == 1 ? 0.0 : deviationsReach * (2.0 * i / (lines - 1) - 1.0);
      shape.push_back(std::exp(-0.5 * z * z));
      sum += shape.back();
      truth.time.push_back(component.time * std::pow(10.0, z * component.width));
    }
    for (const double value : shape) {
      truth.amplitude.push_back(component.amplitude * value / sum);
    }
  }
  return truth;
}

toolkit::Decay drawOf(const Case& what, const toolkit::Distribution& truth, int draw) {
  const double noise = 100.0 / what.signalToNoise;
  toolkit::Decay decay = toolkit::simulatedDecay(what.kernel, truth, what.times, noise,
                                                 static_cast<std::uint64_t>(1000 + draw));
  for (std::size_t i = 0; i < decay.amplitude.size(); ++i) {
    decay.amplitude[i] += what.offset;
    if (i < what.firstErrors.size()) {
      decay.amplitude[i] += what.firstErrors[i];
    }
  }
  return decay;
}

}  // namespace vorin::bench
