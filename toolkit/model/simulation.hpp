// Computed decays with known truth: a distribution of log-normal peaks, put through
// a kernel, with normal noise from a seed.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

/// Independent normal variates of mean 0 and variance 1, the same on every machine
/// for one seed: the C++ standard fixes the sequence of the engine, and the
/// transform is ours, for that of std::normal_distribution differs between
/// libraries (Box and Muller, Ann. Math. Stat. 29, 610, 1958).
class NormalNoise {
 public:
  explicit NormalNoise(std::uint64_t seed) : engine_(seed) {}

  double next();

 private:
  std::mt19937_64 engine_;
  std::optional<double> kept_;  ///< the second variate of a pair
};

/// A peak that is normal in log10 T.
struct LogNormalPeak {
  double time;       ///< centre in seconds
  double width;      ///< standard deviation in decades
  double amplitude;  ///< total
};

/// Reads "TIME:WIDTH:AMPLITUDE", three numbers above 0, the first with or without a unit
/// ("8ms:0.15:30"). Throws UserError, which names `option`, for anything else.
LogNormalPeak parsePeak(std::string_view text, std::string_view option,
                        Quantity quantity = Quantity::time);

/// What a simulation has by default.
struct SimulationDefaults {
  static constexpr std::array<LogNormalPeak, 2> peaks{{{0.008, 0.15, 30.0}, {0.09, 0.15, 70.0}}};
  static constexpr double spacing = 2e-4;  ///< of the samples in seconds
  static constexpr long long samples = 3000;
  static constexpr double noise = 0.2;
  static constexpr std::uint64_t seed = 1;
  static constexpr LogGrid grid{1e-4, 10.0, 200};  ///< of the distribution
};

/// `samples` times, the first one spacing after 0.
std::vector<double> evenTimes(double spacing, long long samples);

/// The sum of `peaks` on the times of `grid`, which rise. Each peak is scaled to its
/// amplitude on that grid; one too narrow for it goes to the nearest time whole.
Distribution distributionOf(const std::vector<LogNormalPeak>& peaks,
                            const std::vector<double>& grid);

/// The decay of `truth` at `times` with normal noise of standard deviation `noise`. `train` is that
/// of Kernel::t2Epg.
Decay simulatedDecay(Kernel kernel, const Distribution& truth, const std::vector<double>& times,
                     double noise, std::uint64_t seed, const EchoTrain& train = {});

/// A decay as a receiver with two channels gives it.
struct TwoChannels {
  std::vector<double> time;
  std::vector<double> real;
  std::vector<double> imaginary;
};

/// The decay s of `truth` turned by `phase` radians, s exp(i phase), with independent
/// normal noise of standard deviation `noise` in each channel. The noise of the real
/// channel is that of simulatedDecay() with the same seed.
TwoChannels simulatedChannels(Kernel kernel, const Distribution& truth,
                              const std::vector<double>& times, double noise, std::uint64_t seed,
                              double phase, const EchoTrain& train = {});

}  // namespace vorin::toolkit
