// What the status of an inversion and the origin of its noise mean, in words.
#include <fmt/format.h>
#include <vorin.h>

#include "toolkit/inverting/classic.hpp"
#include "toolkit/inverting/inversion.hpp"

namespace vorin::toolkit {

bool succeeded(const Inversion& inversion) {
  // Who gives the weight asks for the distribution at it, whatever the data are.
  const bool counts = inversion.mode != WeightMode::fixed;
  return !(counts && inversion.finding.fatal()) &&
         (inversion.status < 1 ||
          (inversion.status == VORIN_CORNER_MODE && inversion.mode == WeightMode::corner));
}

std::string_view originText(NoiseOrigin origin) {
  switch (origin) {
    case NoiseOrigin::given:
      return "given";
    case NoiseOrigin::differences:
      return "from differences of neighbouring samples";
    case NoiseOrigin::residual:
      return "from the residual of the closest fit";
    case NoiseOrigin::quadrature:
      return "of the imaginary channel";
    case NoiseOrigin::libraryDifference:
      return "from the library's second differences";
    case NoiseOrigin::libraryFit:
      return "from the library's fit without a penalty";
    case NoiseOrigin::libraryRidge:
      return "from the library's ridge fit";
    case NoiseOrigin::libraryScan:
      return "from the library's scan of weights";
    case NoiseOrigin::library:
      return "estimated by the library";
    case NoiseOrigin::none:
      break;
  }
  return "";
}

std::string statusText(const Inversion& inversion) {
  if (succeeded(inversion)) {
    return inversion.status == VORIN_CORNER_MODE
               ? "done; the corner search reports no success or failure"
               : "success";
  }
  if (inversion.finding.fatal() && inversion.mode != WeightMode::fixed) {
    return findingText(inversion.finding);
  }
  if (inversion.status == VORIN_SOLVER_FAILED) {
    return "the solver ran out of passes; give a larger weight (--weight) or more passes (--set "
           "MAXI=500)";
  }
  if (outOfReach(inversion)) {
    return "no weight fits this closely; leave out first samples that lie off the curve (--skip N) "
           "or give a larger noise (--noise)";
  }
  if (inversion.mode == WeightMode::noise && inversion.reachedError < inversion.wantedError) {
    return "every fit is closer to the data than the noise asks for; give a smaller one (--noise)";
  }
  switch (inversion.status) {
    case VORIN_SEARCH_EXHAUSTED:
      return "the weight search ran out of iterations; try more of them (--set WITE=200) or a "
             "smaller tolerance of the solver (--set TOL=1e-14)";
    case VORIN_LOWER_WEIGHT_LIMIT:
    case VORIN_UPPER_WEIGHT_LIMIT:
      return "the search stopped at a limit of the weight; give another noise (--noise) or a "
             "weight (--weight)";
    default:
      return fmt::format("the library answers the unknown status {}", inversion.status);
  }
}

}  // namespace vorin::toolkit
