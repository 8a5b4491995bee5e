#include "entry/compressed_settings.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "brd/dispatch.hpp"
#include "params/store.hpp"
#include "toolbox/convert.hpp"

namespace vorin::entry {
namespace {

constexpr int fixedCapacity = 5000;
constexpr int fewestPoints = 10;
constexpr int spareRows = 5;

int readInteger(Reading reading, std::string_view key) {
  return reading == Reading::rounded ? params::queryInteger(key)
                                     : truncateToInt(params::queryReal(key));
}

/// code * points without overflow.
std::int64_t product(const CompressedSettings& settings) {
  return std::int64_t{settings.code} * settings.points;
}

int toInt(std::int64_t rows) {
  return static_cast<int>(std::min<std::int64_t>(rows, std::numeric_limits<int>::max()));
}

// C3 to C5: no more rows than half the points, but room for a square problem.
std::int64_t cutCapacity(int nf, int ng, CompressedSettings& settings) {
  if (settings.code == 0 && settings.singularVectors < 1) {
    return 0;
  }
  if (product(settings) < 1) {
    settings.singularVectors = std::min(settings.singularVectors, ng);
    return ng;
  }
  settings.points = std::max(std::min(settings.points, nf / 2), ng);
  if (settings.singularVectors > 0) {
    settings.singularVectors = std::min(settings.singularVectors, ng);
    return settings.points <= ng ? ng : settings.points;
  }
  return settings.points;
}

}  // namespace

CompressedSettings readSettings(const Variant& variant) {
  CompressedSettings settings;
  settings.code = params::queryInteger("PRMO");
  settings.rawNone = params::storedText("PRMO").substr(0, 2) == "NO";
  settings.points = readInteger(variant.reading, "PRPO");
  settings.first = readInteger(variant.reading, "PRLO");
  settings.singularVectors = params::queryInteger("SVDN");
  settings.threshold = params::queryReal("SVDT");
  return settings;
}

bool skipsReduction(const Variant& variant, const CompressedSettings& settings) {
  const bool noPruning =
      variant.skip == SkipTest::rawTextBeginsNo ? settings.rawNone : settings.code == 0;
  return noPruning && settings.singularVectors < 1;
}

int planCapacity(const Variant& variant, int nf, int ng, CompressedSettings& settings) {
  switch (variant.sizing) {
    case Sizing::fixed:
      settings.points = std::clamp(settings.points, fewestPoints, fixedCapacity);
      return fixedCapacity;
    case Sizing::product:
      return toInt(std::max<std::int64_t>(product(settings), ng) + spareRows);
    case Sizing::cut:
      return toInt(cutCapacity(nf, ng, settings) + spareRows);
    case Sizing::fitted:
      break;
  }
  const int capacity = toInt(cutCapacity(nf, ng, settings) + spareRows);
  settings.points = std::min(std::max(settings.points, fewestPoints), capacity);
  return capacity;
}

reduce::Reduction compressedReduction(const Variant& variant, const Inversion& job) {
  CompressedSettings settings = readSettings(variant);
  const bool skips = skipsReduction(variant, settings);
  reduce::Reduction reduction = wholeProblem(job);
  reduction.capacity = planCapacity(variant, job.nf, job.ng, settings);
  if (skips) {
    return reduction;
  }
  reduction.mode = settings.code;
  reduction.firstPoint = settings.first;
  reduction.target = settings.points;
  reduction.mostRows = settings.singularVectors;
  reduction.threshold = settings.threshold;
  reduction.factors = variant.factors;
  // The single-precision iteration starts from a dual vector of ones: with rows of other
  // signs it takes another path and may end elsewhere.
  reduction.rowSignsMatter = brd::iteratesInSinglePrecision();
  return reduction;
}

}  // namespace vorin::entry
