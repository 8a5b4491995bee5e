#include "brd/dispatch.hpp"

#include <algorithm>
#include <vector>

#include "brd/iteration.hpp"
#include "brd/qp_route.hpp"
#include "params/store.hpp"

namespace vorin::brd {
namespace {

enum class Route { singlePrecision, doublePrecision, quadraticProgram };

Route routeOf(std::int32_t code) {
  switch (code) {
    case 1:
      return Route::singlePrecision;
    case 3:
      return Route::quadraticProgram;
    default:
      return Route::doublePrecision;
  }
}

// The elements of a new dual vector on the converting routes. The double-precision
// iteration only compares with it in its first pass; the single-precision one starts from
// it, as the weight search starts from ones.
constexpr double freshDualDouble = 0.0;
constexpr float freshDualSingle = 1.0f;

template <class Caller>
struct Report {
  Caller& rss;
  Caller& rssSlope;
  std::int32_t& status;

  template <class Working>
  void take(const Solution<Working>& solution) const {
    rss = static_cast<Caller>(solution.rss);
    rssSlope = static_cast<Caller>(solution.rssSlope);
    status = solution.status;
  }
};

// Runs `route` in another precision than the caller's: a cold start from f = 1.0,
// with the caller's c left alone.
template <class Working, class Caller, class Iteration>
bool solveConverted(System<Working>& system, Iteration iterate, Working freshDual, Caller* f,
                    Caller weight, const Report<Caller>& report) {
  std::vector<Working> workF(static_cast<std::size_t>(system.n()), Working(1));
  std::vector<Working> workC(static_cast<std::size_t>(system.m()), freshDual);
  const Solution<Working> solution =
      iterate(system, workF.data(), workC.data(), static_cast<Working>(weight));
  report.take(solution);
  std::transform(workF.begin(), workF.end(), f,
                 [](Working value) { return static_cast<Caller>(value); });
  return solution.isDeferred;
}

bool vrBRD_s_up(Problem<float>& problem, float* f, float weight, Reads reads,
                const Report<float>& report) {
  const auto iterate = [reads](System<double>& system, double* workF, double* workC, double w) {
    return vrBRD_w_d(system, workF, workC, w, reads);
  };
  return solveConverted(problem.doublePrecision(), iterate, freshDualDouble, f, weight, report);
}

void vrBRD_d_down(Problem<double>& problem, double* f, double weight,
                  const Report<double>& report) {
  solveConverted(problem.singlePrecision(), vrBRD_w_s, freshDualSingle, f, weight, report);
}

}  // namespace

void vrBRD_s_qp(Problem<float>& problem, float* f, float weight, float& rss, float& rssSlope,
                std::int32_t& status) {
  QuadraticProgram& program = problem.quadraticProgram();
  const auto route = [&program](System<double>& /*the program's*/, double* workF, double* workC,
                                double w) { return vrBRD_qp_d(program, workF, workC, w); };
  solveConverted(problem.doublePrecision(), route, freshDualDouble, f, weight,
                 Report<float>{rss, rssSlope, status});
}

bool iteratesInSinglePrecision() {
  return routeOf(params::queryInteger("BRDA")) == Route::singlePrecision;
}

bool vrBRD_s(Problem<float>& problem, float* f, float* c, float weight, float& rss, float& rssSlope,
             std::int32_t& status, Reads reads) {
  const Report<float> report{rss, rssSlope, status};
  switch (routeOf(params::queryInteger("BRDA"))) {
    case Route::singlePrecision:
      report.take(vrBRD_w_s(problem.singlePrecision(), f, c, weight));
      break;
    case Route::quadraticProgram:
      vrBRD_s_qp(problem, f, weight, rss, rssSlope, status);
      break;
    case Route::doublePrecision:
      return vrBRD_s_up(problem, f, weight, reads, report);
  }
  return false;
}

float completeSolve(Problem<float>& problem, float* f, float weight) {
  std::vector<double> workF(f, f + problem.n());
  const double rss = completeSolve(problem.doublePrecision(), workF.data(), double(weight));
  std::transform(workF.begin(), workF.end(), f,
                 [](double value) { return static_cast<float>(value); });
  return static_cast<float>(rss);
}

void vrBRD_d(Problem<double>& problem, double* f, double* c, double weight, double& rss,
             double& rssSlope, std::int32_t& status) {
  const Report<double> report{rss, rssSlope, status};
  switch (routeOf(params::queryInteger("BRDA"))) {
    case Route::singlePrecision:
      vrBRD_d_down(problem, f, weight, report);
      break;
    case Route::quadraticProgram:
      report.take(vrBRD_qp_d(problem.quadraticProgram(), f, c, weight));
      break;
    case Route::doublePrecision:
      report.take(vrBRD_w_d(problem.doublePrecision(), f, c, weight));
      break;
  }
}

}  // namespace vorin::brd
