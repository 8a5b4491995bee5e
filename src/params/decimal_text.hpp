// Finite numbers as decimal text, correctly rounded (ties to even), with a point whatever the
// locale.
#pragma once

#include <string>

namespace vorin::params {

/// d.ddde+XX with `decimals` digits behind the point (none and no point for 0) and two digits of
/// the exponent at least. `value` is 0 or positive.
std::string scientificText(double value, int decimals);

/// ddd.ddd with `decimals` digits behind the point (none and no point for 0). `value` is 0 or
/// positive.
std::string fixedText(double value, int decimals);

/// The shortest text that reads back as `value`, fixed or scientific, whichever has fewer
/// characters and fixed where both have as many.
std::string shortestDecimalText(float value);
std::string shortestDecimalText(double value);

}  // namespace vorin::params
