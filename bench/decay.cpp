#include "decay.hpp"

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

namespace vorin::bench {
namespace {

constexpr double duration = 0.6;
constexpr double peakWidth = 0.2;  // of log10 T2

double lobe(double T, double centre) {
  const double x = std::log10(T / centre) / peakWidth;
  return std::exp(-0.5 * x * x);
}

// Normal numbers by the polar method (Marsaglia and Bray, SIAM Rev. 6, 260, 1964): those
// of the standard library differ between its implementations.
class Normal {
 public:
  explicit Normal(std::uint64_t seed) : engine_(seed) {}
  double operator()() {
    for (;;) {
      const double u = uniform();
      const double v = uniform();
      const double s = u * u + v * v;
      if (s > 0.0 && s < 1.0) {
        return u * std::sqrt(-2.0 * std::log(s) / s);
      }
    }
  }

 private:
  double uniform() { return static_cast<double>(engine_() >> 11) * 0x1p-52 - 1.0; }

  std::mt19937_64 engine_;
};

}  // namespace

void makeDecay(std::int32_t nf, std::int32_t ng, double snr, std::uint64_t seed, float* K,
               float* Y) {
  const double spacing = duration / nf;
  const double shortest = spacing / 3.0;
  const double ratio = 3.0 * duration / shortest;
  std::vector<double> T(static_cast<std::size_t>(ng));
  std::vector<double> brief(T.size()), lasting(T.size());
  double briefSum = 0.0, lastingSum = 0.0;
  for (std::size_t j = 0; j < T.size(); ++j) {
    T[j] = shortest * std::pow(ratio, ng > 1 ? static_cast<double>(j) / (ng - 1) : 0.5);
    briefSum += brief[j] = lobe(T[j], 0.01);
    lastingSum += lasting[j] = lobe(T[j], 0.1);
  }
  std::vector<double> decay(static_cast<std::size_t>(nf));
  for (std::size_t j = 0; j < T.size(); ++j) {
    const double amplitude = 0.3 * brief[j] / briefSum + 0.7 * lasting[j] / lastingSum;
    float* column = K + j * decay.size();
    for (std::size_t i = 0; i < decay.size(); ++i) {
      const double value = std::exp(-spacing * static_cast<double>(i + 1) / T[j]);
      column[i] = static_cast<float>(value);
      decay[i] += amplitude * value;
    }
  }
  Normal normal(seed);
  for (std::size_t i = 0; i < decay.size(); ++i) {
    Y[i] = static_cast<float>(decay[i] + normal() / snr);
  }
}

}  // namespace vorin::bench
