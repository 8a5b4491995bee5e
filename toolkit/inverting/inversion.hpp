// One inversion as a host runs it: kernel, scaling and noise on this side, the rest
// in the library.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/inverting/finding.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

class FlipAngles;

/// Compression of the (binned) samples by a truncated singular value decomposition.
struct Compression {
  int rows = 20;        ///< most rows to keep
  double ratio = 1e-6;  ///< rows of a singular value not above this times the largest are dropped
};

/// Who decides how smooth the distribution is.
enum class Method {
  automatic,  ///< choose(), from the data: support of the grid, noise and weight
  classic     ///< the library's search for 1.05 times the noise, on the whole grid
};

/// Where the noise comes from when it is not given as a number.
enum class NoiseSource {
  robust,      ///< differenceNoise(); Method::automatic: the closest fit's residual
  difference,  ///< the library's second differences of neighbouring samples (NALG = D3)
  fit,         ///< its non-negative fit without a penalty (NALG = UREG)
  ridge,       ///< its non-negative fit with a light ridge (NALG = REG)
  scan,        ///< its scan of falling weights down to the flat end (NALG = ASYM)
  quadrature   ///< the imaginary channel of complex data
};

/// A number that is fitted to the data unless it is given.
struct FittedOrGiven {
  std::optional<double> value;
};

/// How outliers are told and kept out.
enum class Rejection {
  library,  ///< VorinyC5_s with L2MO = 1: by a ridge fit, and each keeps its whole bin out
  robust    ///< by an unpenalised fit of this program, and each is left out alone
};

struct InversionSettings {
  Kernel kernel = Kernel::t2;
  std::vector<double> grid;  ///< relaxation times in seconds, rising
  /// Samples x grid, column-major; without it that of `kernel` is computed. Decays of one
  /// shape share it, and Kernel::matrix needs it.
  std::shared_ptr<const std::vector<float>> matrix;
  Method method = Method::automatic;
  EchoTrain train;             ///< t2Epg only
  bool estimatesFlip = false;  ///< its angle is found from the decay, by FlipAngles
  std::shared_ptr<const FlipAngles> flipAngles;  ///< shared by decays of one shape; may be null
  bool magnitude = false;  ///< the data are absolute values, whose noise has a mean above 0
  std::optional<FittedOrGiven> baseline;    ///< a constant beside the curve, unit of the data
  std::optional<FittedOrGiven> efficiency;  ///< e of 1 - (1 + e) exp(-t/T), t1Inversion only
  std::optional<double> weight;             ///< a fixed weight; without it one is looked for
  bool corner = false;                      ///< for the corner of the L-curve, not for the noise
  std::optional<double> noise;              ///< standard deviation, in the unit of the data
  NoiseSource noiseSource = NoiseSource::robust;  ///< where `noise` is not given
  std::optional<Compression> compression;         ///< after the pruning, if there is one
  std::optional<double> rejectBeyond;        ///< samples off by this many deviations are outliers
  Rejection rejection = Rejection::library;  ///< of these
  std::string pruning = "LOG";               ///< "LOG", "LIN" or "NONE"
  std::optional<int> prunedPoints;           ///< wanted count of pruned points
  std::vector<std::string> assignments;      ///< "KEY=VALUE", carried out last
  std::string logFile;                       ///< where the library's log goes; empty: no log
};

/// How the weight came about (the codes of the key TARG, and that of choose()).
enum class WeightMode { fixed = 0, noise = 1, corner = 2, automatic = 3 };

enum class NoiseOrigin {
  none,               ///< there is no estimate, and none was needed
  given,              ///< by the user
  differences,        ///< differenceNoise()
  residual,           ///< of the closest non-negative fit
  quadrature,         ///< of the imaginary channel
  libraryDifference,  ///< NoiseSource::difference and so on
  libraryFit,
  libraryRidge,
  libraryScan,
  library  ///< an estimator that was chosen by the key NALG
};

/// All amplitudes and errors are in the unit of the data.
struct Inversion {
  Distribution distribution;
  std::vector<double> fit;  ///< at the times of the decay
  std::int32_t status = 0;  ///< as vorin.h lists it
  WeightMode mode = WeightMode::noise;
  double weight = 0.0;         ///< in the unit of the kernel squared, which is 1
  double noise = 0.0;          ///< 0 when the origin is none
  double relaxedTarget = 0.0;  ///< the closest fit, where it took the place of `noise`; otherwise 0
  NoiseOrigin noiseOrigin = NoiseOrigin::none;
  double cornerWeight = 0.0;  ///< of a corner search, whose weight is RWEI times this; otherwise 0
  bool soughtOutliers = false;
  std::vector<std::size_t> rejected;  ///< samples that count as outliers, rising
  double wantedError = 0.0;           ///< of a search for the noise; otherwise 0
  double reachedError = 0.0;          ///< of the pruned points
  double fitError = 0.0;        ///< root mean square of decay - fit over all samples not rejected
  int weightSteps = 0;          ///< solves of the weight search; 0 for a fixed weight
  int passes = 0;               ///< of the last solve; 0 when it was none that iterates
  std::size_t firstColumn = 0;  ///< of the grid's part outside which the distribution is 0
  std::size_t lastColumn = 0;
  std::vector<std::size_t> spoiled;   ///< first samples that were left out, also in `rejected`
  std::vector<std::size_t> offCurve;  ///< early samples behind a good first one, kept
  double closestError = 0.0;     ///< of the pruned points, by the closest fit; 0 where not known
  double noiseSpread = 0.0;      ///< relative standard deviation of `noise`; 0 where not known
  std::optional<double> offset;  ///< the constant beside the curve, part of `fit`
  std::optional<double> efficiency;  ///< of the inversion pulse
  std::optional<double> flip;        ///< refocusing angle in degrees, of t2Epg
  std::vector<double> floor;         ///< of magnitudes: their excess over the signal, part of `fit`
  Finding finding;
};

/// A decay and its settings as they were solved: without the offset, with the kernel of the
/// inversion's efficiency.
struct Adjusted {
  Decay decay;
  InversionSettings settings;
};

/// What `inversion`, which invert(decay, settings) returned, was solved on.
Adjusted adjusted(const Decay& decay, const InversionSettings& settings,
                  const Inversion& inversion);

/// True when the library itself rejects outliers.
inline bool rejectsInLibrary(const InversionSettings& settings) {
  return settings.rejectBeyond && settings.rejection == Rejection::library;
}

/// Throws UserError for settings that `decay` rules out: a noise as large as the data, the
/// noise of an imaginary channel that it does not have.
void requireUsable(const Decay& decay, const InversionSettings& settings);

/// A decay that shows no noise by which its weight could be chosen.
class NoNoise : public UserError {
 public:
  NoNoise();
};

/// Throws the NoNoise with which invert() would answer a decay that shows no noise, so
/// that it can be had before the first of many is inverted.
void requireNoise(const Decay& decay, const InversionSettings& settings);

/// Inverts `decay`. Where the weight is left to the data (Method::automatic without a weight,
/// the corner, or a key of the library's weight search among the assignments), choose() takes
/// noise, support and weight from them, and the library solves once at that weight. What
/// choose() finds wrong with the data is told in every case but Method::classic. The rest is
/// the library's search.
///
/// The library works on a state of its own: any number of threads may call at once.
/// Throws UserError for an assignment that can't be carried out and
/// when a noise is needed and can't be had.
///
/// Where, in the library's search, no fit comes as close to the (binned) data as the noise asks
/// for, since the samples hold more than noise (the first echoes of a train often lie off the
/// curve, and logarithmic bins give them weight), the closest fit becomes the aim in
/// a second search and `relaxedTarget` says so.
Inversion invert(const Decay& decay, const InversionSettings& settings);

/// True when the distribution is what was asked for. The corner search always
/// answers VORIN_CORNER_MODE and counts as a success.
bool succeeded(const Inversion& inversion);

/// Where the noise came from, in words that follow its value: "given"; empty for none.
std::string_view originText(NoiseOrigin origin);

/// What the status means, in words; for a failure also what to try next.
std::string statusText(const Inversion& inversion);

}  // namespace vorin::toolkit
