// The compressed drivers: one driver in five variants.
//
// They solve the problem of the primary driver and add a stage: before the weight is chosen,
// SVD compression may reduce data and kernel to few rows, alone or after pruning, so that
// every solve is cheap. They also store a noise estimate from differences of neighbouring
// samples in CSI2.
#pragma once

#include <cstdint>
#include <string_view>

#include "entry/driver.hpp"
#include "reduce/reduction.hpp"

namespace vorin::entry {

/// How a variant turns the slots of PRPO, PRLO and PRHI into integers.
enum class Reading { truncated, rounded };

/// The rows of a variant's work arrays, and how it limits PRPO and SVDN.
enum class Sizing {
  fixed,    ///< 5000; PRPO clipped to 10 .. 5000
  product,  ///< the larger of the pruning code times PRPO and ng; PRPO as it is
  cut,      ///< by PRPO, which is cut to nf/2 and raised to ng; SVDN cut to ng
  fitted    ///< as cut; PRPO then also raised to 10 and cut to the capacity
};

/// When a variant leaves the problem as it is (with SVDN below 1).
enum class SkipTest { rawTextBeginsNo, codeIsZero };

/// In what the five variants differ.
struct Variant {
  Reading reading;
  Sizing sizing;
  bool keepsWorkArrays;  ///< from call to call, while the shape holds
  SkipTest skip;
  std::string_view skipLine;  ///< logged when nothing is reduced; empty for no line
  reduce::FactorStorage factors;
  std::string_view svdLine;     ///< start of the line after compression alone
  std::string_view prunedLine;  ///< start of the line after pruning
  bool rejectsOutliers;         ///< when L2MO is 1
  bool savesAndCloses;          ///< save section above REPO 3, and the log closed at the end
};

// clang-format off
inline constexpr Variant variantC = {
    Reading::truncated, Sizing::fixed,   false, SkipTest::rawTextBeginsNo, "",
    reduce::FactorStorage::keptArrays, "with pruning from ", "with pruning from ", false, false};
inline constexpr Variant variantC2 = {
    Reading::truncated, Sizing::product, true,  SkipTest::codeIsZero,      "No pruning",
    reduce::FactorStorage::keptArrays, "with svd from ",     "with pruning from ", false, false};
inline constexpr Variant variantC3 = {
    Reading::rounded,   Sizing::cut,     true,  SkipTest::codeIsZero,      "No pruning",
    reduce::FactorStorage::keptArrays, "With pruning from ", "With pruning from ", false, false};
inline constexpr Variant variantC4 = {
    Reading::rounded,   Sizing::fitted,  true,  SkipTest::codeIsZero,      "No pruning",
    reduce::FactorStorage::scratch,    "with svd from ",     "with pruning from ", false, false};
inline constexpr Variant variantC5 = {
    Reading::rounded,   Sizing::fitted,  true,  SkipTest::codeIsZero,      "No pruning",
    reduce::FactorStorage::scratch,    "with svd from ",     "with pruning from ", true,  true};
// clang-format on

/// The scale of a point that the outlier fit flags: it leaves the point next to no weight in
/// the pruned data.
inline constexpr float outlierScale = 1000000.0f;

/// Runs one inversion as `variant` does. `status` is the weight driver's;
/// what pruning, compression or the outlier fit reported before is overwritten.
void invertCompressed(const Variant& variant, const Inversion& job, std::int32_t& status);

}  // namespace vorin::entry
