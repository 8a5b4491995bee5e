#include "weight/corner_search.hpp"

#include <cmath>
#include <vector>

#include "brd/qp_route.hpp"

namespace vorin::weight {
namespace {

constexpr double firstExponent = -2.0;
constexpr double exponentStep = 0.25;

// The signal-to-noise ratio that the first solve assumes, and the factor from a squared
// ratio to a weight.
constexpr double assumedRatio = 100.0;
constexpr double ratioToWeight = 50.0;
constexpr double firstSolveFactor = 0.001;

// The solves of one search and what they share: the problem with its K'K, and c.
template <class Real>
class Solver {
 public:
  Solver(brd::Problem<Real>& problem, double* f)
      : problem_(problem), f_(f), c_(static_cast<std::size_t>(problem.doublePrecision().m())) {}

  brd::Solution<double> at(double weight) {
    return brd::vrBRD_qp_d(problem_.quadraticProgram(), f_, c_.data(), weight);
  }

 private:
  brd::Problem<Real>& problem_;
  double* f_;
  std::vector<double> c_;
};

double sumOfSquares(std::size_t count, const double* values) {
  double sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    sum += values[i] * values[i];
  }
  return sum;
}

template <class Real>
double sumOfSquaredKernel(brd::Problem<Real>& problem) {
  const auto count = static_cast<std::size_t>(problem.doublePrecision().m()) *
                     static_cast<std::size_t>(problem.doublePrecision().n());
  double sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<double>(problem.K()[i]);
    sum += value * value;
  }
  return sum;
}

// The first fitted point over the standard error of the fit. Without data 0 takes
// the place of the first point, and the division by m gives NaN.
template <class Real>
double signalToNoise(brd::Problem<Real>& problem, const double* f) {
  const auto m = static_cast<std::size_t>(problem.doublePrecision().m());
  std::vector<double> fit(m);
  for (int i = 0; i < problem.n(); ++i) {
    const Real* column = problem.K() + static_cast<std::size_t>(i) * m;
    for (std::size_t j = 0; j < m; ++j) {
      fit[j] += static_cast<double>(column[j]) * f[i];
    }
  }
  double square = 0.0;
  for (std::size_t j = 0; j < m; ++j) {
    const double r = static_cast<double>(problem.d()[j]) - fit[j];
    square += r * r;
  }
  const double s = std::sqrt(square / static_cast<double>(problem.m()));
  return (m > 0 ? fit[0] : 0.0) / s;
}

}  // namespace

std::array<double, gridSize> curvatures(const WeightGrid& grid) {
  std::array<double, gridSize> C{};
  for (std::size_t i = 1; i + 1 < gridSize; ++i) {
    const double a1 = grid.logRss[i] - grid.logRss[i - 1];
    const double b1 = grid.logNorm[i] - grid.logNorm[i - 1];
    const double a2 = grid.logRss[i + 1] - grid.logRss[i];
    const double b2 = grid.logNorm[i + 1] - grid.logNorm[i];
    const double turn = std::atan2(b2, a2) - std::atan2(b1, a1);
    C[i] = turn / (std::sqrt(a1 * a1 + b1 * b1) + std::sqrt(a2 * a2 + b2 * b2));
  }
  return C;
}

double cornerWeight(const WeightGrid& grid, double base) {
  const std::array<double, gridSize> C = curvatures(grid);
  double w = std::pow(10.0, grid.exponent[gridSize - 1]) * base;
  double best = 0.0;
  for (std::size_t i = 0; i < gridSize; ++i) {
    // Strictly greater, so that the first of equal maxima is kept and a NaN is skipped.
    if (C[i] > best) {
      best = C[i];
      w = std::pow(10.0, grid.exponent[i]) * base;
    }
  }
  return w;
}

template <class Real>
CornerSolution searchCorner(brd::Problem<Real>& problem, double* f) {
  Solver<Real> solver(problem, f);
  const auto m = static_cast<double>(problem.m());
  const double F = sumOfSquaredKernel(problem);
  solver.at(((F * ratioToWeight) / (m * assumedRatio * assumedRatio)) * firstSolveFactor);
  const double snr = signalToNoise(problem, f);
  const double base = (F * ratioToWeight) / (m * snr * snr);
  const auto n = static_cast<std::size_t>(problem.doublePrecision().n());
  WeightGrid grid;
  double exponent = firstExponent;
  for (std::size_t i = 0; i < gridSize; ++i, exponent += exponentStep) {
    const auto solution = solver.at(std::pow(10.0, exponent) * base);
    grid.exponent[i] = exponent;
    grid.logRss[i] = std::log(solution.rss);
    grid.logNorm[i] = std::log(sumOfSquares(n, f));
  }
  const double w = cornerWeight(grid, base);
  const auto solution = solver.at(w);
  return {w, solution.rss, solution.rssSlope, solution.status};
}

template CornerSolution searchCorner(brd::Problem<float>&, double*);
template CornerSolution searchCorner(brd::Problem<double>&, double*);

}  // namespace vorin::weight
