#include "weight/noise_fit.hpp"

#include <algorithm>
#include <vector>

#include "params/log.hpp"
#include "regress/penalised_fit.hpp"
#include "toolbox/views.hpp"
#include "weight/residual.hpp"

namespace vorin::weight {
namespace {

MatrixView<const float> kernelOf(const brd::Problem<float>& problem) {
  return denseColumns(problem.K(), std::max(problem.m(), 0), std::max(problem.n(), 0));
}

VectorView<const float> dataOf(const brd::Problem<float>& problem) {
  return {problem.d(), std::max(problem.m(), 0), 1};
}

VectorView<float> distributionOf(const brd::Problem<float>& problem, float* f) {
  return {f, std::max(problem.n(), 0), 1};
}

float standardErrorOf(const brd::Problem<float>& problem, const float* f) {
  std::vector<float> work;
  return rootMeanSquareResidual(problem, f, work);
}

}  // namespace

void VorinCalcSEU(const brd::Problem<float>& problem, float* f, float /*term*/, float& sig,
                  std::int32_t& status) {
  params::VorinLogLine("VorinCalcSEU", "Comment", "Begin noise estimate");
  // Without influence: the fit has a limit of its own.
  constexpr std::int32_t iterationLimit = 200;
  float residualNorm = 0.0f;
  regress::plsN_sp(kernelOf(problem), dataOf(problem), distributionOf(problem, f), residualNorm,
                   iterationLimit, status);
  sig = standardErrorOf(problem, f);
}

void VorinCalcSER(const brd::Problem<float>& problem, float* f, float ridge, float& sig,
                  std::int32_t& status) {
  params::VorinLogLine("VorinCalcSER", "Comment", "Begin noise estimate");
  regress::plsPen_sp(kernelOf(problem), dataOf(problem), distributionOf(problem, f), {&ridge, 1, 1},
                     status);
  sig = standardErrorOf(problem, f);
}

}  // namespace vorin::weight
