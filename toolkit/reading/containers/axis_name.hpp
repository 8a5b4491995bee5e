// Which names of arrays say that they hold the abscissa of a decay.
#pragma once

#include <string_view>

namespace vorin::toolkit::containers {

/// True for the last part of a path such as "t", "Time", "time_ms", "echo_times", "TE (ms)", "tau",
/// "delays", "b_values", in any case.
bool namesAxis(std::string_view name);

}  // namespace vorin::toolkit::containers
