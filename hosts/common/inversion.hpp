// One inversion as a host runs it: kernel, scaling and noise on this side, the rest
// in the library.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/csv.hpp"
#include "common/kernel.hpp"

namespace vorin::host {

struct InversionSettings {
  Kernel kernel = Kernel::t2;
  std::vector<double> grid;              ///< relaxation times in seconds, rising
  std::optional<double> weight;          ///< a fixed weight; without it the library searches
  std::optional<double> noise;           ///< standard deviation, in the unit of the data
  std::string pruning = "LOG";           ///< "LOG", "LIN" or "NONE"
  std::optional<int> prunedPoints;       ///< wanted count of pruned points
  std::vector<std::string> assignments;  ///< "KEY=VALUE", carried out last
  bool keepLog = false;                  ///< without it the library writes a header only
};

/// How the weight came about (the codes of the key TARG).
enum class WeightMode { fixed = 0, noise = 1, corner = 2 };

enum class NoiseOrigin {
  none,         ///< there is no estimate, and none was needed
  given,        ///< by the user
  differences,  ///< differenceNoise()
  library       ///< one of the library's estimators (NALG)
};

/// All amplitudes and errors are in the unit of the data.
struct Inversion {
  Distribution distribution;
  std::vector<double> fit;  ///< at the times of the decay
  std::int32_t status = 0;  ///< as vorin.h lists it
  WeightMode mode = WeightMode::noise;
  double weight = 0.0;     ///< in the unit of the kernel squared, which is 1
  double noise = 0.0;      ///< 0 when the origin is none
  double raisedAim = 0.0;  ///< the closest fit, where it took the place of `noise`; otherwise 0
  NoiseOrigin noiseOrigin = NoiseOrigin::none;
  double wantedError = 0.0;   ///< of a search for the noise; otherwise 0
  double reachedError = 0.0;  ///< of the pruned points
  double fitError = 0.0;      ///< root mean square of decay - fit over all samples
  int weightSteps = 0;        ///< solves of the weight search; 0 for a fixed weight
  int passes = 0;             ///< of the last solve; 0 when it was none that iterates
};

/// The abscissae on which the library prunes: the times themselves, unless the
/// first is 0, where logarithmic bins have no lower end. Then all are shifted by
/// the first spacing, so that the sample at 0 stands where an evenly spaced decay
/// would have its first sample. The kernel keeps the true times.
std::vector<float> pruningAbscissae(const std::vector<double>& times);

/// Inverts `decay`. The library's log is left in the working directory as
/// "Vorin.log". Throws UserError for an assignment that can't be carried out and
/// when a noise is needed and can't be had.
///
/// Where no fit comes as close to the (binned) data as the noise asks for, since
/// the samples hold more than noise (the first echoes of a train often lie off the
/// curve, and logarithmic bins give them weight), the closest fit becomes the aim in
/// a second search and `raisedAim` says so.
Inversion invert(const Decay& decay, const InversionSettings& settings);

/// True when the distribution is what was asked for. The corner search always
/// answers VORIN_CORNER_MODE and counts as a success.
bool succeeded(const Inversion& inversion);

/// What the status means, in words; for a failure also what to try next.
std::string statusText(const Inversion& inversion);

}  // namespace vorin::host
