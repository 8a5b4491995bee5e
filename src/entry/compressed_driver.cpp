#include "entry/compressed_driver.hpp"

#include <cstddef>
#include <string_view>
#include <vector>

#include "entry/compressed_settings.hpp"
#include "entry/report.hpp"
#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/save_section.hpp"
#include "params/store.hpp"
#include "reduce/reduction.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/instance.hpp"
#include "weight/difference_noise.hpp"
#include "weight/outliers.hpp"
#include "weight/weight_driver.hpp"

namespace vorin::entry {
namespace {

constexpr float outlierRidge = 0.0001f;
constexpr float outlierFlagLimit = 1e-20f;  // a flag below it marks an outlier

// Work arrays for problems of one shape. Their rows are those that the problem needs, which
// the capacity bounds.
class ShapedArrays {
 public:
  struct Shape {
    int capacity;
    int ng;
    int nf;
    bool operator==(const Shape&) const = default;
  };

  /// The arrays, emptied when the shape differs from that of the last call.
  reduce::WorkArrays& arraysFor(const Shape& shape) {
    if (!(shape == shape_)) {
      arrays_ = reduce::WorkArrays();
      shape_ = shape;
    }
    return arrays_;
  }

 private:
  Shape shape_{-1, -1, -1};
  reduce::WorkArrays arrays_;
};

ShapedArrays& keptArrays() {
  static ShapedArrays arrays;
  return stateOf(InstancePart::driverArrays, arrays);
}

void storeDifferenceNoise(const Inversion& job) {
  const auto order = params::storedText("NALG").substr(0, 2) == "D2" ? weight::firstDifferences
                                                                     : weight::secondDifferences;
  params::setReal("CSI2", weight::seDiff(order, job.nf, job.Y));
}

// Scales up the points that the outlier fit flags.
void rejectOutliers(const Inversion& job, std::int32_t& status) {
  std::vector<float> flags(length(job.nf));
  std::int32_t good = 0;
  std::int32_t bad = 0;
  weight::OutlierSearch search;
  search.thresh = params::queryReal("L2NS");
  search.ridge = outlierRidge;
  search.lda = job.nf;
  search.m = job.nf;
  search.n = job.ng;
  search.K = job.K;
  search.y = job.Y;
  search.W = job.W;
  search.x = job.F;
  search.flags = flags.data();
  weight::serol(search, good, bad, status);
  for (std::size_t i = 0; i < flags.size(); ++i) {
    if (flags[i] < outlierFlagLimit) {
      job.W[i] *= outlierScale;
    }
  }
}

void invertReduced(const Variant& variant, const Inversion& job, const reduce::Reduction& reduction,
                   std::int32_t& status) {
  ShapedArrays perCall;
  ShapedArrays& shaped = variant.keepsWorkArrays ? keptArrays() : perCall;
  reduce::WorkArrays& arrays = shaped.arraysFor({reduction.capacity, job.ng, job.nf});
  const reduce::ReducedProblem reduced = reduce::reduceContiguously(reduction, arrays);
  const std::string_view start = reduction.prunes() ? variant.prunedLine : variant.svdLine;
  report(reductionLine(start, job.nf, reduced.rows));
  weight::Vorin_SEtoW(reduced.rows, job.ng, reduced.K, reduced.d, job.F, status);
}

}  // namespace

void invertCompressed(const Variant& variant, const Inversion& job, std::int32_t& status) {
  beginInversion(job);
  storeDifferenceNoise(job);
  if (variant.rejectsOutliers && params::queryInteger("L2MO") == 1) {
    rejectOutliers(job, status);
  }
  const reduce::Reduction reduction = compressedReduction(variant, job);
  if (reduction.prunes() || reduction.compresses()) {
    invertReduced(variant, job, reduction, status);
  } else {
    if (!variant.skipLine.empty()) {
      report(variant.skipLine);
    }
    weight::Vorin_SEtoW(job.nf, job.ng, job.K, job.Y, job.F, status);
  }
  const bool saves = variant.savesAndCloses && params::queryInteger("REPO") > 3;
  endInversion(job, saves, status);
  if (variant.savesAndCloses) {
    if (saves) {
      // The second column of the distribution's table is zero here.
      const std::vector<float> zeros(length(job.ng));
      params::VorinSave(params::logUnit(), job.nf, job.ng, job.K, job.T, job.Y, job.FIT, job.G,
                        zeros.data(), job.F, status);
    }
    params::VorinLogOpen(false);
  } else {
    // Required: the log stays open until the next inversion opens it anew. Its lines must
    // be readable meanwhile.
    params::flushLog();
  }
}

}  // namespace vorin::entry
