// The decays whose truth is known: what is measured, how, and with what noise.
#pragma once

#include <string>
#include <vector>

#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/kernel.hpp"

namespace vorin::bench {

/// A component, normal in log10 T; of width 0 a line.
struct Component {
  double time;
  double width;
  double amplitude;
};

struct Case {
  std::string name;
  toolkit::Kernel kernel = toolkit::Kernel::t2;
  std::vector<double> times;
  std::vector<Component> components;  ///< 100 in sum
  double signalToNoise = 100.0;
  double offset = 0.0;              ///< beside the curve
  std::vector<double> firstErrors;  ///< of the first samples
};

/// All of them, over every kernel.
std::vector<Case> allCases();

/// The components as many lines.
toolkit::Distribution truthOf(const Case& what);

/// The decay of one draw of the noise.
toolkit::Decay drawOf(const Case& what, const toolkit::Distribution& truth, int draw);

}  // namespace vorin::bench
