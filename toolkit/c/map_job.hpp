// What an inversion of two-dimensional data keeps for later jobs on it.
#pragma once

#include "toolkit/c/handles.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"
#include "toolkit/two_dimensional/map_preparation.hpp"

namespace vorin::toolkit::c {

/// An inversion of two-dimensional data with all that it was made of.
struct InvertedMap {
  PreparedMap input;
  MapInversion inversion;
};

/// What vorin_invert2d kept in `result`. Throws UserError for a result of another job.
const InvertedMap& mapOfResult(const vorin_result* result);

}  // namespace vorin::toolkit::c
