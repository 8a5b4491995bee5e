// Test problems with known structure: random and Laplace kernels, seeded noise.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace vorin::test {

/// Uniform numbers from -1 to 1, seeded; the same on every machine.
class Uniform {
 public:
  explicit Uniform(std::uint64_t seed) : engine_(seed) {}
  double operator()() { return static_cast<double>(engine_() >> 11) * 0x1p-52 - 1.0; }

 private:
  std::mt19937_64 engine_;
};

/// Standard normal numbers by the polar method (Marsaglia and Bray, SIAM Rev. 6, 260, 1964).
class Normal {
 public:
  explicit Normal(std::uint64_t seed) : uniform_(seed) {}
  double operator()() {
    for (;;) {
      const double u = uniform_();
      const double v = uniform_();
      const double s = u * u + v * v;
      if (s > 0.0 && s < 1.0) {
        return u * std::sqrt(-2.0 * std::log(s) / s);
      }
    }
  }

 private:
  Uniform uniform_;
};

/// A kernel (m x n, column-major) and data (m).
template <class Real>
struct TestProblem {
  int m = 0;
  int n = 0;
  std::vector<Real> K;
  std::vector<Real> d;
};

inline std::size_t area(int rows, int columns) {
  return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

inline std::vector<double> logGrid(double from, double to, int n) {
  std::vector<double> grid(static_cast<std::size_t>(n));
  for (int k = 0; k < n; ++k) {
    grid[static_cast<std::size_t>(k)] =
        from * std::pow(to / from, n > 1 ? double(k) / (n - 1) : 0.0);
  }
  return grid;
}

template <class Real>
TestProblem<Real> randomProblem(int m, int n, std::uint64_t seed) {
  Uniform uniform(seed);
  TestProblem<Real> problem{m, n, std::vector<Real>(area(m, n)),
                            std::vector<Real>(static_cast<std::size_t>(m))};
  for (Real& value : problem.K) {
    value = static_cast<Real>(uniform());
  }
  for (Real& value : problem.d) {
    value = static_cast<Real>(uniform());
  }
  return problem;
}

/// A decay of two log-normal peaks seen through exp(-t/T) at even times 1 .. m, on n
/// grid times from 1 to m, with normal noise of standard deviation sigma.
template <class Real>
TestProblem<Real> laplaceProblem(int m, int n, double sigma, std::uint64_t seed) {
  Normal normal(seed);
  TestProblem<Real> problem{m, n, std::vector<Real>(area(m, n)),
                            std::vector<Real>(static_cast<std::size_t>(m))};
  const std::vector<double> grid = logGrid(1.0, m, n);
  std::vector<double> data(static_cast<std::size_t>(m));
  double total = 0.0;
  for (int k = 0; k < n; ++k) {
    const double T = grid[static_cast<std::size_t>(k)];
    const auto peak = [&](double centre) {
      const double x = (std::log(T) - std::log(centre)) / 0.4;
      return std::exp(-0.5 * x * x);
    };
    const double amplitude = peak(m / 30.0 + 1.0) + 0.5 * peak(m / 4.0 + 1.0);
    total += amplitude;
    for (int j = 0; j < m; ++j) {
      const double value = std::exp(-(j + 1.0) / T);
      problem.K[static_cast<std::size_t>(j) + area(m, k)] = static_cast<Real>(value);
      data[static_cast<std::size_t>(j)] += amplitude * value;
    }
  }
  for (int j = 0; j < m; ++j) {
    const auto place = static_cast<std::size_t>(j);
    problem.d[place] = static_cast<Real>(data[place] / total + sigma * normal());
  }
  return problem;
}

}  // namespace vorin::test
