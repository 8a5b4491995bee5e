#include "entry/compressed_driver.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "entry/compressed_settings.hpp"
#include "entry/report.hpp"
#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/save_section.hpp"
#include "params/store.hpp"
#include "reduce/prune_plan.hpp"
#include "reduce/svd_compression.hpp"
#include "toolbox/instance.hpp"
#include "weight/difference_noise.hpp"
#include "weight/outliers.hpp"
#include "weight/weight_driver.hpp"

namespace vorin::entry {
namespace {

constexpr float outlierRidge = 0.0001f;
constexpr float outlierScale = 1000000.0f;
constexpr float flagOfOutlier = 1e-20f;  // flags below it
constexpr int scratchSpare = 10;

std::size_t length(std::ptrdiff_t n) {
  return static_cast<std::size_t>(std::max<std::ptrdiff_t>(n, 0));
}

int allocations = 0;

// The work arrays of one shape. Rows are those the problem at hand needs, which the
// capacity bounds: no array has the capacity's size for its own sake.
class WorkArrays {
 public:
  struct Shape {
    int capacity;
    int ng;
    int nf;
    bool operator==(const Shape&) const = default;
  };

  /// Empties the arrays when the shape is another one than last time.
  void ensure(const Shape& shape) {
    if (!(shape == shape_)) {
      *this = WorkArrays();
      shape_ = shape;
    }
  }

  /// At least `rows` x columns for the kernel and `rows` for the data.
  void reserve(int rows, int columns) {
    grow(kernel_, length(rows) * length(columns));
    grow(data_, length(rows));
  }

  float* scratch(std::size_t needed) {
    grow(scratch_, needed);
    return scratch_.data();
  }

  float* kernel() { return kernel_.data(); }
  float* data() { return data_.data(); }

 private:
  static void grow(std::vector<float>& array, std::size_t needed) {
    if (array.size() < needed) {
      ++allocations;
      array = std::vector<float>(needed);
    }
  }

  Shape shape_{-1, -1, -1};
  std::vector<float> kernel_;
  std::vector<float> data_;
  std::vector<float> scratch_;
};

WorkArrays& keptWorkArrays() {
  static WorkArrays arrays;
  return stateOf(InstancePart::driverArrays, arrays);
}

// A problem on its way to the weight driver: `rows` x ng by columns with leading
// dimension ld.
struct Reduced {
  int rows = 0;
  int ld = 0;
  const float* K = nullptr;
  const float* d = nullptr;
};

class CompressedInversion {
 public:
  CompressedInversion(const Variant& variant, const Inversion& job)
      : variant_(variant), job_(job), settings_(readSettings(variant)) {}

  void run(std::int32_t& status) {
    const std::string_view algorithm = params::storedText("NALG");
    const auto order =
        algorithm.substr(0, 2) == "D2" ? weight::firstDifferences : weight::secondDifferences;
    params::setReal("CSI2", weight::seDiff(order, job_.nf, job_.Y));
    if (variant_.rejectsOutliers && params::queryInteger("L2MO") == 1) {
      rejectOutliers(status);
    }
    const int capacity = planCapacity(variant_, job_.nf, job_.ng, settings_);
    if (skipsReduction(variant_, settings_)) {
      if (!variant_.skipLine.empty()) {
        report(variant_.skipLine);
      }
      weight::Vorin_SEtoW(job_.nf, job_.ng, job_.K, job_.Y, job_.F, status);
      return;
    }
    WorkArrays perCall;
    WorkArrays& arrays = variant_.keepsWorkArrays ? keptWorkArrays() : perCall;
    arrays.ensure({capacity, job_.ng, job_.nf});
    reduce(capacity, arrays);
    weight::Vorin_SEtoW(reduced_.rows, job_.ng, reduced_.K, reduced_.d, job_.F, status);
  }

 private:
  // Points that the outlier fit flags keep next to no part in their bins.
  void rejectOutliers(std::int32_t& status) {
    std::vector<float> flags(length(job_.nf));
    std::int32_t good = 0;
    std::int32_t bad = 0;
    weight::OutlierSearch search;
    search.thresh = params::queryReal("L2NS");
    search.ridge = outlierRidge;
    search.lda = job_.nf;
    search.m = job_.nf;
    search.n = job_.ng;
    search.K = job_.K;
    search.y = job_.Y;
    search.W = job_.W;
    search.x = job_.F;
    search.flags = flags.data();
    weight::serol(search, good, bad, status);
    for (std::size_t i = 0; i < flags.size(); ++i) {
      if (flags[i] < flagOfOutlier) {
        job_.W[i] *= outlierScale;
      }
    }
  }

  void reduce(int capacity, WorkArrays& arrays) {
    // Where nothing reduces the problem, or a compression is refused, it stays whole.
    reduced_ = {job_.nf, job_.nf, job_.K, job_.Y};
    const bool prunes = settings_.code >= 1;
    if (prunes) {
      prune(capacity, arrays);
    }
    if (settings_.singularVectors > 0) {
      compress(capacity, arrays);
    }
    if (prunes || settings_.singularVectors > 0) {
      const std::string_view start = prunes ? variant_.prunedLine : variant_.svdLine;
      report(reductionLine(start, job_.nf, reduced_.rows));
    }
    if (reduced_.K == arrays.kernel()) {
      closeGaps(arrays.kernel());
    }
  }

  void prune(int capacity, WorkArrays& arrays) {
    const reduce::PrunePlan plan({job_.nf, job_.nf, capacity, job_.T, job_.W, settings_.first,
                                  settings_.points, settings_.code});
    // Compression in place leaves up to ng rows; a plan has one at least.
    const int ld = std::max(plan.count(), job_.ng);
    arrays.reserve(ld, job_.ng);
    plan.apply(job_.Y, arrays.data());
    plan.apply(job_.ng, job_.K, job_.nf, arrays.kernel(), ld);
    reduced_ = {plan.count(), ld, arrays.kernel(), arrays.data()};
  }

  void compress(int capacity, WorkArrays& arrays) {
    if (settings_.singularVectors > capacity) {
      return;  // refused: more rows asked for than the work arrays stand for
    }
    const int ld = std::max(reduced_.ld, job_.ng);
    const bool inPlace = reduced_.K == arrays.kernel();
    if (!inPlace) {
      // A compression keeps one row at least, also of a grid without points.
      arrays.reserve(std::max(job_.ng, 1), job_.ng);
    }
    vorin::reduce::Compression step;
    step.m = reduced_.rows;
    step.n = job_.ng;
    step.ldK = reduced_.ld;
    step.ldC = inPlace ? ld : job_.ng;
    step.K = reduced_.K;
    step.d = reduced_.d;
    step.threshold = settings_.threshold;
    step.mostRows = std::min(settings_.singularVectors, job_.ng);
    step.Kc = arrays.kernel();
    step.dc = arrays.data();
    step.dcLength = job_.ng;
    std::int32_t count = reduced_.rows;
    std::int32_t status = 0;
    if (vorin::reduce::compressWithoutFactors(step, count, status)) {
      // Done: no host sees the rows.
    } else if (variant_.factors == Factors::keptArrays) {
      vorin::reduce::compressInKeptArrays(step, count, status);
    } else {
      const std::size_t needed =
          length(job_.ng) * (length(step.m) + 1 + length(job_.ng)) + scratchSpare;
      vorin::reduce::compressInScratch(vorin::reduce::decomposeMode, step, arrays.scratch(needed),
                                       static_cast<std::int64_t>(needed), count, status);
    }
    reduced_ = {count, step.ldC, step.Kc, step.dc};
  }

  // The weight driver wants the rows without gaps: columns move towards the front.
  void closeGaps(float* kernel) {
    for (std::ptrdiff_t j = 1; reduced_.rows < reduced_.ld && j < job_.ng; ++j) {
      const float* column = kernel + j * reduced_.ld;
      std::copy(column, column + reduced_.rows, kernel + j * reduced_.rows);
    }
    reduced_.ld = reduced_.rows;
  }

  const Variant& variant_;
  const Inversion& job_;
  CompressedSettings settings_;
  Reduced reduced_;
};

}  // namespace

void invertCompressed(const Variant& variant, const Inversion& job, std::int32_t& status) {
  beginInversion(job);
  CompressedInversion(variant, job).run(status);
  const bool saves = variant.savesAndCloses && params::queryInteger("REPO") > 3;
  endInversion(job, saves, status);
  if (variant.savesAndCloses) {
    if (saves) {
      // The second column of the distribution's table has nothing to show here.
      const std::vector<float> zeros(length(job.ng));
      params::VorinSave(params::logUnit(), job.nf, job.ng, job.K, job.T, job.Y, job.FIT, job.G,
                        zeros.data(), job.F, status);
    }
    params::VorinLogOpen(false);
  } else {
    // Required: the log stays open till the next inversion opens it anew, so that a
    // host can go on writing to it. What is there must be readable all the same.
    params::flushLog();
  }
}

int workArrayAllocations() {
  return allocations;
}

}  // namespace vorin::entry
