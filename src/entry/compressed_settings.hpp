// The parameters that a compressed driver reads, the capacity of its work arrays, and the
// reduction that follows from both.
#pragma once

#include "entry/compressed_driver.hpp"
#include "reduce/reduction.hpp"

namespace vorin::entry {

struct CompressedSettings {
  int code = 0;             ///< of PRMO: 0 none, 1 logarithmic, 2 linear, 3 leading points
  bool rawNone = false;     ///< the stored text of PRMO begins "NO"
  int points = 0;           ///< PRPO, later as the variant limits it
  int first = 0;            ///< PRLO
  int singularVectors = 0;  ///< SVDN, later as the variant limits it
  float threshold = 0.0f;   ///< SVDT
};

CompressedSettings readSettings(const Variant& variant);

/// True when nothing is to be reduced.
bool skipsReduction(const Variant& variant, const CompressedSettings& settings);

/// The rows of the work arrays. Limits settings.points and settings.singularVectors on the
/// way, as the variant does.
int planCapacity(const Variant& variant, int nf, int ng, CompressedSettings& settings);

/// How the variant reduces `job`, by the parameters as they are. job.W is read.
reduce::Reduction compressedReduction(const Variant& variant, const Inversion& job);

}  // namespace vorin::entry
