#include "brd/dispatch.hpp"

#include <algorithm>
#include <vector>

#include "brd/iteration.hpp"
#include "brd/qp_route.hpp"
#include "params/store.hpp"

namespace vorin::brd {
namespace {

enum class Route { single, twice, quadraticProgram };

Route routeOf(std::int32_t code) {
  switch (code) {
    case 1:
      return Route::single;
    case 3:
      return Route::quadraticProgram;
    default:
      return Route::twice;
  }
}

// What a fresh dual vector holds on the converting routes. The double iteration
// only compares with it in its first pass; the single one starts from it, as the
// weight search starts from ones.
constexpr double freshDualTwice = 0.0;
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
void solveConverted(System<Working>& system, Iteration iterate, Working freshDual, Caller* f,
                    Caller weight, const Report<Caller>& report) {
  std::vector<Working> workF(static_cast<std::size_t>(system.n()), Working(1));
  std::vector<Working> workC(static_cast<std::size_t>(system.m()), freshDual);
  report.take(iterate(system, workF.data(), workC.data(), static_cast<Working>(weight)));
  std::transform(workF.begin(), workF.end(), f,
                 [](Working value) { return static_cast<Caller>(value); });
}

void vrBRD_s_up(Problem<float>& problem, float* f, float weight, const Report<float>& report) {
  solveConverted(problem.twice(), vrBRD_w_d, freshDualTwice, f, weight, report);
}

void vrBRD_d_down(Problem<double>& problem, double* f, double weight,
                  const Report<double>& report) {
  solveConverted(problem.single(), vrBRD_w_s, freshDualSingle, f, weight, report);
}

}  // namespace

void vrBRD_s_qp(Problem<float>& problem, float* f, float weight, float& rss, float& rssSlope,
                std::int32_t& status) {
  problem.beginSolve();
  QuadraticProgram& program = problem.program();
  const auto route = [&program](System<double>& /*its own*/, double* workF, double* workC,
                                double w) { return vrBRD_qp_d(program, workF, workC, w); };
  solveConverted(problem.twice(), route, freshDualTwice, f, weight,
                 Report<float>{rss, rssSlope, status});
}

void vrBRD_s(Problem<float>& problem, float* f, float* c, float weight, float& rss, float& rssSlope,
             std::int32_t& status) {
  problem.beginSolve();
  const Report<float> report{rss, rssSlope, status};
  switch (routeOf(params::queryInteger("BRDA"))) {
    case Route::single:
      report.take(vrBRD_w_s(problem.single(), f, c, weight));
      break;
    case Route::quadraticProgram:
      vrBRD_s_qp(problem, f, weight, rss, rssSlope, status);
      break;
    case Route::twice:
      vrBRD_s_up(problem, f, weight, report);
      break;
  }
}

void vrBRD_d(Problem<double>& problem, double* f, double* c, double weight, double& rss,
             double& rssSlope, std::int32_t& status) {
  problem.beginSolve();
  const Report<double> report{rss, rssSlope, status};
  switch (routeOf(params::queryInteger("BRDA"))) {
    case Route::single:
      vrBRD_d_down(problem, f, weight, report);
      break;
    case Route::quadraticProgram:
      report.take(vrBRD_qp_d(problem.program(), f, c, weight));
      break;
    case Route::twice:
      report.take(vrBRD_w_d(problem.twice(), f, c, weight));
      break;
  }
}

}  // namespace vorin::brd
