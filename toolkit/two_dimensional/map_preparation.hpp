// From measured two-dimensional data to what invertMap() takes: complex data turned, kernels and
// grids found.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "toolkit/inverting/preparation.hpp"
#include "toolkit/two_dimensional/map_inversion.hpp"

namespace vorin::toolkit {

/// Data as measured.
struct MeasuredMap {
  MapData data;                   ///< the real channel
  std::vector<double> imaginary;  ///< the other one, as many samples; empty for real data
};

/// How one axis is to be inverted.
struct MapAxis {
  KernelChoice kernel;
  std::vector<double> grid;  ///< SI units; empty: mapGridFor(), narrowed by narrowGrids()
};

/// Data with what they are to be inverted by.
struct PreparedMap {
  MapData data;
  MapSettings settings;
  std::optional<double> phase;  ///< by which complex data were turned back, in radians
};

/// Turns complex data, finds the grids where there are none, and adds kernels and grids to the
/// settings of the method. Throws UserError for kernel matrices of another shape than samples and
/// grid ask for, for a noise by the imaginary channel where there is none, and as requireUsable()
/// does.
PreparedMap prepareMap(MeasuredMap measured, const MapAxis& first, const MapAxis& second,
                       const MapSettings& method);

/// Turns complex data by the phase of phaseCorrect(), sets the quadrature noise, and returns the
/// angle in radians. An inversion recovery is turned so that its recovered end is positive.
double turnMapToReal(MapData& data, std::vector<double>& imaginary, Kernel kernel1, Kernel kernel2);

}  // namespace vorin::toolkit
