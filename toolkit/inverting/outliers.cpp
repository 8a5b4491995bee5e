#include "toolkit/inverting/outliers.hpp"

#include <algorithm>
#include <cmath>

#include "reduce/pivoted_cholesky.hpp"
#include "toolkit/inverting/nonnegative.hpp"
#include "toolkit/model/median_deviation.hpp"

namespace vorin::toolkit {

namespace {

/// The search for outliers of one problem. It keeps K'K, from which it takes what it leaves out, so
/// that no round but the first passes over the whole kernel.
class OutlierSearch {
 public:
  explicit OutlierSearch(const Problem& problem)
      : problem_(problem),
        rows_(problem.data().size()),
        product_(static_cast<int>(problem.kernel().columns())),
        isLeft_(rows_, false) {
    constexpr std::size_t blockRows = 4096;
    std::vector<float> buffer;
    std::size_t leading = 0;
    for (std::size_t first = 0; first < rows_; first += blockRows) {
      const std::size_t count = std::min(blockRows, rows_ - first);
      const float* const K = problem.kernel().rowsFrom(first, count, buffer, leading);
      product_.add(static_cast<int>(count), K, static_cast<int>(leading),
                   problem.data().data() + first);
    }
  }

  /// The outliers among the samples that are not left out.
  std::vector<std::size_t> found(double threshold) const {
    std::vector<std::size_t> result;
    reduce::PivotedFactor factor;
    if (!product_.factor(static_cast<int>(count()), factor) || factor.rank < 1) {
      return result;
    }
    std::vector<std::size_t> numbers;
    std::vector<double> off;
    const std::vector<double> fit = problem_.fitOf(closestFit(rowsOf(factor)).f);
    double largest = 0.0;
    for (std::size_t i = 0; i < rows_; ++i) {
      if (!isLeft_[i]) {
        const double datum = static_cast<double>(problem_.data()[i]);
        numbers.push_back(i);
        off.push_back(std::fabs(datum - fit[i]));
        largest = std::max(largest, std::fabs(datum));
      }
    }
    constexpr double roundingLevel = 1e-6;
    const double noise = medianDeviation(off);
    if (!(noise > roundingLevel * largest)) {
      return result;
    }
    const double limit =
        std::max(threshold * noise, 0.5 * *std::max_element(off.begin(), off.end()));
    for (std::size_t i = 0; i < off.size(); ++i) {
      if (off[i] >= limit) {
        result.push_back(numbers[i]);
      }
    }
    return result;
  }

  void leaveOut(const std::vector<std::size_t>& samples) {
    std::vector<float> buffer;
    std::vector<float> row(problem_.kernel().columns());
    std::size_t leading = 0;
    for (const std::size_t i : samples) {
      const float* const K = problem_.kernel().rowsFrom(i, 1, buffer, leading);
      for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] = K[j * leading];
      }
      product_.takeAway(row.data(), problem_.data()[i]);
      isLeft_[i] = true;
    }
    left_ += samples.size();
  }

  /// Samples that are not left out.
  std::size_t count() const { return rows_ - left_; }

 private:
  /// K and d, turned so that few rows hold them: |K f - d| differs from theirs by a constant.
  static ReducedProblem rowsOf(const reduce::PivotedFactor& factor) {
    const auto rank = static_cast<std::size_t>(factor.rank);
    const std::size_t columns = factor.transposed.size() / rank;
    ReducedProblem result{factor.rank, static_cast<std::int32_t>(columns),
                          std::vector<double>(rank * columns), factor.projected, factor.rank};
    for (std::size_t r = 0; r < rank; ++r) {
      for (std::size_t j = 0; j < columns; ++j) {
        result.K[j * rank + r] = static_cast<double>(factor.transposed[r * columns + j]);
      }
    }
    return result;
  }

  const Problem& problem_;
  std::size_t rows_;
  std::size_t left_ = 0;
  reduce::ExtendedGram product_;
  std::vector<bool> isLeft_;
};

}  // namespace

std::vector<std::size_t> outliers(const Problem& problem, double threshold) {
  constexpr int mostRounds = 50;
  std::vector<std::size_t> result;
  OutlierSearch search(problem);
  for (int round = 0; round < mostRounds; ++round) {
    const std::vector<std::size_t> found = search.found(threshold);
    if (found.empty() || search.count() < 2 + found.size()) {
      break;
    }
    search.leaveOut(found);
    result.insert(result.end(), found.begin(), found.end());
  }
  std::sort(result.begin(), result.end());
  return result;
}

}  // namespace vorin::toolkit
