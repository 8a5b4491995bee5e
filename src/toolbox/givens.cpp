// givens_dp: the plane rotation in double precision.
#include "toolbox/givens.hpp"

namespace vorin {

void givens_dp(double a, double b, double& c, double& s, double& sig) {
  givens(a, b, c, s, sig);
}

}  // namespace vorin
