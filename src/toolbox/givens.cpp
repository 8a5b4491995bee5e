#include "toolbox/givens.hpp"

#include <cmath>

namespace vorin {

void givens_dp(double a, double b, double& c, double& s, double& sig) {
  if (std::abs(a) > std::abs(b)) {
    const double x = b / a;
    const double y = std::sqrt(1.0 + x * x);
    c = a < 0.0 ? -(1.0 / y) : 1.0 / y;
    s = c * x;
    sig = std::abs(a) * y;
  } else if (b != 0.0) {
    const double x = a / b;
    const double y = std::sqrt(1.0 + x * x);
    s = b < 0.0 ? -(1.0 / y) : 1.0 / y;
    c = s * x;
    sig = std::abs(b) * y;
  } else {
    c = 0.0;
    s = 1.0;
  }
}

}  // namespace vorin
