// The compressed drivers: one driver in five variants, each with its own habits.
//
// They solve the problem of the primary driver and add a stage: before the weight is
// chosen, data and kernel may be reduced by SVD compression, alone or after pruning,
// so that every solve works on few rows. They also take a noise estimate from
// differences of neighbouring samples into CSI2.
#pragma once

#include <cstdint>
#include <string_view>

#include "entry/driver.hpp"

namespace vorin::entry {

/// How a variant turns the slots of PRPO, PRLO and PRHI into integers.
enum class Reading { truncated, rounded };

/// How many rows a variant gives its work arrays, and what it does to PRPO and SVDN.
enum class Sizing {
  fixed,    ///< 5000; PRPO clipped to 10 .. 5000
  product,  ///< the larger of the pruning code times PRPO and ng; PRPO as it is
  cut,      ///< by PRPO, which is cut to nf/2 and raised to ng; SVDN cut to ng
  fitted    ///< as cut; PRPO then also raised to 10 and cut to the capacity
};

/// What tells a variant to leave the problem as it is (with SVDN below 1).
enum class SkipTest { rawTextBeginsNo, codeIsZero };

/// Which of the compressions a variant calls.
enum class Factors { keptArrays, scratch };

/// One variant: the row of the table that tells the five apart.
struct Variant {
  Reading reading;
  Sizing sizing;
  bool keepsWorkArrays;  ///< from call to call, while the shape holds
  SkipTest skip;
  std::string_view skipLine;  ///< logged when nothing is reduced; empty for no line
  Factors factors;
  std::string_view svdLine;     ///< start of the line after compression alone
  std::string_view prunedLine;  ///< start of the line after pruning
  bool rejectsOutliers;         ///< when L2MO is 1
  bool savesAndCloses;          ///< save section above REPO 3, and the log closed at the end
};

// clang-format off
inline constexpr Variant variantC = {
    Reading::truncated, Sizing::fixed,   false, SkipTest::rawTextBeginsNo, "",
    Factors::keptArrays, "with pruning from ", "with pruning from ", false, false};
inline constexpr Variant variantC2 = {
    Reading::truncated, Sizing::product, true,  SkipTest::codeIsZero,      "No pruning",
    Factors::keptArrays, "with svd from ",     "with pruning from ", false, false};
inline constexpr Variant variantC3 = {
    Reading::rounded,   Sizing::cut,     true,  SkipTest::codeIsZero,      "No pruning",
    Factors::keptArrays, "With pruning from ", "With pruning from ", false, false};
inline constexpr Variant variantC4 = {
    Reading::rounded,   Sizing::fitted,  true,  SkipTest::codeIsZero,      "No pruning",
    Factors::scratch,    "with svd from ",     "with pruning from ", false, false};
inline constexpr Variant variantC5 = {
    Reading::rounded,   Sizing::fitted,  true,  SkipTest::codeIsZero,      "No pruning",
    Factors::scratch,    "with svd from ",     "with pruning from ", true,  true};
// clang-format on

/// Runs one inversion in the manner of `variant`. `status` is the weight driver's;
/// what pruning, compression or the outlier fit reported before is overwritten.
void invertCompressed(const Variant& variant, const Inversion& job, std::int32_t& status);

/// How often the kept work arrays have been allocated, for the test of their reuse.
int workArrayAllocations();

}  // namespace vorin::entry
