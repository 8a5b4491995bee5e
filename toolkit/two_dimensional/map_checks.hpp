// What two-dimensional data must be, looked at part by part; requireUsable() looks at all of it.
#pragma once

#include <string_view>
#include <vector>

#include "toolkit/two_dimensional/map_inversion.hpp"

namespace vorin::toolkit {

/// Throws UserError unless both axes of `data` have two values or more that rise from 0 or above.
void requireAxes(const MapData& data);

/// Throws UserError, which calls them `name`, unless the samples of a channel fit the axes of
/// `data` and are finite. All of them may be 0.
void requireSamples(const MapData& data, const std::vector<double>& channel, std::string_view name);

}  // namespace vorin::toolkit
