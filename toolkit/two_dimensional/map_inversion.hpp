// The inversion of two-dimensional data: T1-T2, T2-T2 and D-T2 maps.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

/// Samples of an experiment with two axes, row after row: the row is a value of the first
/// axis, the column one of the second. Abscissae rise, none is negative.
struct MapData {
  std::vector<double> times1;   ///< of the first axis: seconds, or b values in s/m2
  std::vector<double> times2;   ///< of the second
  std::vector<double> samples;  ///< times1.size() x times2.size(), in the instrument's unit
  std::optional<double> quadratureNoise{};  ///< deviation of the imaginary channel, if complex
};

/// How the weight is found.
enum class MapWeightMode { noise, corner, fixed };

/// Where the noise comes from.
enum class MapNoiseOrigin { none, given, projection, quadrature };

struct MapSettings {
  Kernel kernel1 = Kernel::t1Inversion;
  Kernel kernel2 = Kernel::t2;
  /// For Kernel::matrix: the kernel itself, samples by grid, column-major.
  std::shared_ptr<const std::vector<double>> matrix1;
  std::shared_ptr<const std::vector<double>> matrix2;
  std::vector<double> grid1;  ///< SI units, rising
  std::vector<double> grid2;
  MapWeightMode mode = MapWeightMode::noise;
  double weight = 0.0;                     ///< for MapWeightMode::fixed, in the unit of the data
  std::optional<double> noise;             ///< standard deviation of a sample; none: estimated
  bool quadrature = false;                 ///< take the noise of the imaginary channel
  std::function<bool(double)> progress{};  ///< part done, 0 to 1; false cancels
};

enum class MapStatus {
  success = 0,
  notOptimal = 1,     ///< the iteration ended before the map was optimal
  aimNotReached = 2,  ///< no weight brings the standard error to the aim
  empty = 3,          ///< the best map is 0 everywhere
  cancelled = 4
};

/// A status in words.
std::string_view mapStatusText(MapStatus status);
/// How the weight came about, in a word: "noise", "corner" or "given".
std::string_view weightOriginWord(MapWeightMode mode);
/// Where the noise came from, in a word: "given", "projection", "quadrature"; empty for none.
std::string_view noiseOriginWord(MapNoiseOrigin origin);

struct MapInversion {
  std::vector<double> grid1;
  std::vector<double> grid2;
  std::vector<double> distribution;  ///< grid1.size() x grid2.size(), row after row
  MapStatus status = MapStatus::notOptimal;
  MapWeightMode mode = MapWeightMode::noise;
  double weight = 0.0;  ///< w of 1/2 |K1 F K2' - D|^2 + w/2 |F|^2
  double noise = 0.0;   ///< standard deviation of a sample; 0 when unknown
  MapNoiseOrigin noiseOrigin = MapNoiseOrigin::none;
  double wantedError = 0.0;   ///< the aim, as `error`; 0 unless the weight is by the noise
  double error = 0.0;         ///< root of the mean squared residual of the compressed rows
  double closestError = 0.0;  ///< the least that any weight reaches; 0 unless by the noise
  int rows = 0;               ///< compressed rows of the search
  int steps = 0;              ///< Newton steps
  int weights = 0;            ///< weights looked at
  double gap = 0.0;           ///< relative duality gap of the map
};

inline bool succeeded(const MapInversion& inversion) {
  return inversion.status == MapStatus::success;
}

/// Throws UserError, with a sentence, for data and settings that invertMap() does not take:
/// fewer than two values on an axis, values that are negative or do not rise, samples that do
/// not fit the axes, are not finite, or are all 0, a grid that is not above 0 or does not rise,
/// a kernel matrix of another size, a weight or noise that is not above 0.
void requireUsable(const MapData& data, const MapSettings& settings);

/// Minimises 1/2 |K1 F K2' - D|^2 + w/2 |F|^2 over F >= 0.
///
/// The data are compressed to the pairs of singular directions with s1_p s2_q above 1e-4 of
/// the largest (see compressed_map.hpp), m rows of N samples. Their noise is that of a sample,
///   sigma^2 = (|D|^2 - |d|^2) / (N - m)
/// with d the compressed data: what the projection leaves is noise alone.
///
/// Weight by the noise: the sum of squares |A F - d|^2 grows with w from the least that a map
/// F >= 0 reaches. The aim is this least plus 14 noise variances (or 14 of what the least fit
/// leaves a row, where the data lie further from every map than the noise): further down F follows
/// the noise, further up the penalty takes signal away. The aim is one of the rows and not of all
/// samples; N is larger than m by far, so that a chi-squared of all samples hardly feels a loss of
/// signal.
///
/// Weight by the corner: the point of greatest curvature of log |A F - d| against log |F|
/// (Hansen and O'Leary, SIAM J. Sci. Comput. 14, 1487, 1993).
///
/// The map at the weight is then solved with rows down to where they are far below the weight,
/// so that it is the minimiser of the whole problem and not of the compressed one.
///
/// Uses no state outside its arguments. Throws UserError as requireUsable() does, and when the
/// weight is by the noise and there are too few samples beyond the rows to tell it.
MapInversion invertMap(const MapData& data, const MapSettings& settings);

/// The range of an axis sampled at `times` where no grid is given, before narrowGrids(): 64 values
/// from the first time above 0 to three times the last (diffusion: from a third of the reciprocal
/// of the last b value to that of the first). It begins later than that of one dimension, since
/// what has gone by the first sample of either axis takes up amplitude at hardly any cost.
std::vector<double> mapGridFor(const std::vector<double>& times, Kernel kernel);

/// K1 F K2' at the samples of `data`, row after row.
std::vector<double> mapFit(const MapData& data, const MapSettings& settings,
                           const std::vector<double>& distribution);

/// The kernel of an axis in double precision: samples by grid, column-major.
std::vector<double> mapKernel(Kernel kernel, const std::vector<double>& times,
                              const std::vector<double>& grid);

}  // namespace vorin::toolkit
