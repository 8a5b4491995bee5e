#include "toolkit/inverting/inversion_keys.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "toolkit/inverting/library.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

namespace {

/// An estimator of the library, by the key NALG.
struct Estimator {
  NoiseSource source;
  std::string_view name;
  NoiseOrigin origin;
};
constexpr std::array<Estimator, 4> estimatorRows{{
    {NoiseSource::difference, "D3", NoiseOrigin::libraryDifference},
    {NoiseSource::fit, "UREG", NoiseOrigin::libraryFit},
    {NoiseSource::ridge, "REG", NoiseOrigin::libraryRidge},
    {NoiseSource::scan, "ASYM", NoiseOrigin::libraryScan},
}};

const Estimator* estimatorOf(const InversionSettings& settings) {
  const auto found = std::find_if(
      estimatorRows.begin(), estimatorRows.end(),
      [&](const Estimator& estimator) { return estimator.source == settings.noiseSource; });
  return settings.noise || found == estimatorRows.end() ? nullptr : found;
}

/// The text of NALG: what the user has assigned last, or else what the settings stand for.
/// The store is not asked, since its answer is not the stored text for each of them.
std::string noiseAlgorithm(const InversionSettings& settings) {
  const Estimator* estimator = estimatorOf(settings);
  std::string result(estimator != nullptr ? estimator->name : "NONE");
  for (const std::string& assignment : settings.assignments) {
    const std::size_t equals = assignment.find('=');
    if (upperCase(trimmed(assignment.substr(0, equals))) == "NALG") {
      result = upperCase(trimmed(assignment.substr(equals + 1)));
    }
  }
  return result;
}

/// The keys of the library's weight search and of its noise.
constexpr std::array<std::string_view, 18> searchKeys{
    "TARG", "WEIG", "NALG", "SIG",  "CSI2", "RSIG", "L1AL", "WITE", "WTOL",
    "STOL", "WRAT", "WFRA", "WMIN", "WMAX", "WNMI", "WNMA", "L2MO", "L2NS"};

/// True when an assignment names a key that begins as `key`, which is as far as the library
/// compares.
bool assigns(const InversionSettings& settings, std::string_view key) {
  return std::any_of(
      settings.assignments.begin(), settings.assignments.end(), [&](const std::string& assignment) {
        return upperCase(trimmed(assignment.substr(0, assignment.find('=')))).starts_with(key);
      });
}

}  // namespace

bool weightIsChosen(const InversionSettings& settings) {
  const bool sourceFits = settings.noise || settings.noiseSource == NoiseSource::robust ||
                          settings.noiseSource == NoiseSource::difference ||
                          settings.noiseSource == NoiseSource::quadrature;
  return settings.method == Method::automatic && !settings.weight && !settings.corner &&
         sourceFits &&
         std::none_of(searchKeys.begin(), searchKeys.end(),
                      [&](std::string_view key) { return assigns(settings, key); });
}

void setFixedWeight(const InversionSettings& settings, double weight) {
  constexpr float mostPasses = 1000.0F;
  setText("TARG", "WEIG");
  setNumber("WEIG", static_cast<float>(weight));
  if (!assigns(settings, "MAXI")) {
    setNumber("MAXI", mostPasses);
  }
}

void setKeys(const InversionSettings& settings) {
  setText("FLOG", "NONE");  // which means Vorin.log
  setNumber("REPO", settings.logFile.empty() ? 0.0F : 2.0F);
  setText("PRMO", settings.pruning);
  if (settings.prunedPoints) {
    setNumber("PRPO", static_cast<float>(*settings.prunedPoints));
  }
  if (settings.compression) {
    setNumber("SVDT", static_cast<float>(settings.compression->ratio));
  }
  setNumber("SVDN", settings.compression ? static_cast<float>(settings.compression->rows) : 0.0F);
  setNumber("L2MO", rejectsInLibrary(settings) ? 1.0F : 0.0F);
  if (rejectsInLibrary(settings)) {
    setNumber("L2NS", static_cast<float>(*settings.rejectBeyond));
  }
  setText("TARG", settings.weight ? "WEIG" : settings.corner ? "2" : "NOISE");
  if (settings.weight) {
    setNumber("WEIG", static_cast<float>(*settings.weight));
  }
  setText("NALG", noiseAlgorithm(settings));
  bool toleranceAssigned = false;
  for (const std::string& assignment : settings.assignments) {
    toleranceAssigned |= assign(assignment, "--set") == "TOL";
  }
  // The tolerance is that of the squared change of a dual vector of about noise /
  // weight. For data of magnitude 1 the library's 1e-6 ends a solve at a large weight
  // before it has settled; this value costs a pass more. Single precision (BRDA = 1)
  // would not reach it.
  constexpr float tolerance = 1e-12F;
  if (!toleranceAssigned && queryNumber("BRDA") != 1.0F) {
    setNumber("TOL", tolerance);
  }
}

void setNoise(double noise) {
  // Both are read, depending on NALG.
  setNumber("SIG", static_cast<float>(noise));
  setNumber("CSI2", static_cast<float>(noise));
}

bool needsNoise(const InversionSettings& settings) {
  if (queryNumber("TARG") != 1.0F) {
    return false;
  }
  // Differences are taken on this side, which the uncompressed drivers leave to their host; all
  // other estimates are the library's.
  const std::string algorithm = noiseAlgorithm(settings);
  const bool plain = !settings.compression && !rejectsInLibrary(settings);
  return algorithm == "NONE" ||
         (algorithm.substr(0, 1) == "D" && (plain || estimatorOf(settings) != nullptr));
}

NoiseOrigin estimateOrigin(const InversionSettings& settings) {
  const Estimator* estimator = estimatorOf(settings);
  return estimator != nullptr ? estimator->origin : NoiseOrigin::library;
}

WeightMode currentMode() {
  const float code = queryNumber("TARG");
  return code == 0.0F ? WeightMode::fixed : code == 2.0F ? WeightMode::corner : WeightMode::noise;
}

double cornerFactor() {
  const float factor = queryNumber("RWEI");
  return factor < 0.95F || factor > 1.05F ? static_cast<double>(factor) : 1.0;
}

}  // namespace vorin::toolkit
