#include "brd/pass_prediction.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "brd/weight_range.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"

namespace vorin::brd {
namespace {

// A step counts as above the tolerance when it is by this factor, and above what rounding makes of
// y.
constexpr double stepMargin = 4.0;
constexpr double roundingShare = 1e-10;

// Inverses are updated where a solve is as exact as this, while the ratio of the determinants says
// that no update has cost more than this factor, and signs are taken from them where no element is
// nearer to zero than this share of the largest of b.
constexpr double updateRounding = 1e-9;
constexpr double mostGrowth = 1e3;
constexpr double certainShare = 1e-9;

constexpr std::size_t wordBits = 64;

std::size_t words(int columns) {
  return (length(columns) + wordBits - 1) / wordBits;
}

// Bits of the positive elements.
void takeSigns(std::size_t n, const double* values, std::vector<std::uint64_t>& mask) {
  for (std::size_t word = 0; word < mask.size(); ++word) {
    const std::size_t first = word * wordBits;
    const std::size_t count = std::min(wordBits, n - first);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < count; ++i) {
      bits |= std::uint64_t{values[first + i] > 0.0 ? 1U : 0U} << i;
    }
    mask[word] = bits;
  }
}

// The numbers of the columns with a bit in chosen(word), rising.
template <class Chosen>
void listColumns(std::size_t count, const Chosen& chosen, std::vector<int>& columns) {
  columns.clear();
  for (std::size_t word = 0; word < count; ++word) {
    for (std::uint64_t bits = chosen(word); bits != 0; bits &= bits - 1) {
      columns.push_back(static_cast<int>(word * wordBits) + std::countr_zero(bits));
    }
  }
}

template <class Chosen>
int countColumns(std::size_t count, const Chosen& chosen) {
  int sum = 0;
  for (std::size_t word = 0; word < count; ++word) {
    sum += std::popcount(chosen(word));
  }
  return sum;
}

double sumOfSquares(const AlignedVector<double>& values) {
  return std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
}

double largestMagnitude(int n, const double* values) {
  double largest = 0.0;
  for (int i = 0; i < n; ++i) {
    largest = std::max(largest, std::fabs(values[i]));
  }
  return largest;
}

}  // namespace

PassPrediction::PassPrediction(const RankFactor& factor, const double* b)
    : factor_(factor),
      b_(b),
      largestDatum_(largestMagnitude(factor.columns, b)),
      mask_(words(factor.columns)),
      earlierMask_(mask_),
      nextMask_(mask_),
      right_(length(factor.columns)),
      y_(length(factor.padded)),
      earlierY_(length(factor.padded)),
      values_(length(factor.paddedColumns)),
      block_(factor.square.size()),
      factors_(factor.square.size()),
      pivots_(length(factor.padded)),
      inverse_(factor.square.size()),
      work_(length(factor.padded)) {
  columns_.reserve(length(factor.columns));
}

void PassPrediction::takeData(const double* b) {
  b_ = b;
  largestDatum_ = largestMagnitude(factor_.columns, b);
  blockMask_.clear();
}

void PassPrediction::begin(const double* f) {
  takeSigns(length(factor_.columns), f, mask_);
  steps_.clear();
  masks_.clear();
  hasInverse_ = false;
  repeats_ = false;
}

void PassPrediction::addToBlock(const std::vector<int>& columns, double sign) {
  kernels::table<double>().addOuterProducts(factor_.padded, static_cast<int>(columns.size()),
                                            columns.data(), factor_.byColumns.data(), sign,
                                            block_.data());
}

// Makes the block that of the present mask: from what it is, from nothing, or from R R', whichever
// takes the fewest columns.
void PassPrediction::bringBlock() {
  const std::size_t count = mask_.size();
  const int active = countColumns(count, [&](std::size_t w) { return mask_[w]; });
  const int inactive = factor_.columns - active;
  const int changes =
      blockMask_.empty()
          ? factor_.columns
          : countColumns(count, [&](std::size_t w) { return mask_[w] ^ blockMask_[w]; });
  if (changes > std::min(active, inactive)) {
    const bool fromAll = inactive <= active;
    blockMask_.assign(count, 0);
    if (fromAll) {
      block_ = factor_.square;
      blockMask_.assign(count, ~std::uint64_t{0});
      if (const std::size_t rest = length(factor_.columns) % wordBits; rest != 0) {
        blockMask_.back() = (std::uint64_t{1} << rest) - 1;
      }
    } else {
      std::fill(block_.begin(), block_.end(), 0.0);
    }
  }
  const auto leaving = [&](std::size_t w) { return blockMask_[w] & ~mask_[w]; };
  listColumns(count, leaving, columns_);
  addToBlock(columns_, -1.0);
  const auto entering = [&](std::size_t w) { return mask_[w] & ~blockMask_[w]; };
  listColumns(count, entering, columns_);
  addToBlock(columns_, 1.0);
  blockMask_ = mask_;
}

void PassPrediction::factorPass() {
  const auto& kernel = kernels::table<double>();
  const int rows = factor_.padded;
  bringBlock();
  listColumns(
      mask_.size(), [&](std::size_t w) { return mask_[w]; }, columns_);
  std::transform(columns_.begin(), columns_.end(), right_.begin(),
                 [this](int i) { return b_[length(i)]; });
  kernel.combineColumns(rows, static_cast<int>(columns_.size()), columns_.data(),
                        factor_.byColumns.data(), right_.data(), y_.data());
  factors_ = block_;
  for (int k = 0; k < rows; ++k) {
    factors_[area(rows, k) + length(k)] += weight_;
  }
  kernel.cholesky(rows, rows, factors_.data(), pivots_.data());
  kernel.choleskySolve(rows, rows, factors_.data(), y_.data());
  hasInverse_ = false;
  formValues();
}

// Takes y from that of the pass before. False where it is not told well so.
bool PassPrediction::updatePass() {
  const auto& kernel = kernels::table<double>();
  const int rows = factor_.padded;
  if (!hasInverse_) {
    // The block is that of the pass before, which was factored.
    inverse_ = block_;
    for (int j = 0; j < rows; ++j) {
      double* column = inverse_.data() + area(rows, j);
      column[j] += weight_;
      for (int i = j + 1; i < rows; ++i) {
        inverse_[area(rows, i) + length(j)] = column[i];
      }
    }
    kernel.invert(factor_.rank, rows, inverse_.data());
    hasInverse_ = true;
    growth_ = 1.0;
  }
  const auto changed = [&](std::size_t w) { return mask_[w] ^ earlierMask_[w]; };
  listColumns(mask_.size(), changed, columns_);
  y_ = earlierY_;
  for (const int i : columns_) {
    const bool enters = (mask_[length(i) / wordBits] >> (length(i) % wordBits) & 1U) != 0;
    const double share = kernel.updateInverse(
        factor_.rank, rows, factor_.byColumns.data() + area(factor_.padded, i), enters ? 1.0 : -1.0,
        b_[length(i)], growth_ / mostGrowth, y_.data(), inverse_.data(), work_.data());
    if (!(share > growth_ / mostGrowth)) {
      return false;
    }
    growth_ = share < 1.0 ? growth_ / share : growth_;
  }
  return formValues();
}

// Also takes their signs; false where one of them is not certain.
bool PassPrediction::formValues() {
  const auto& kernel = kernels::table<double>();
  kernel.combineRows(factor_.rank, factor_.paddedColumns, factor_.byRows.data(), y_.data(),
                     values_.data());
  return kernel.subtractAndSign(factor_.columns, b_, certainShare * largestDatum_, values_.data(),
                                nextMask_.data());
}

void PassPrediction::solvePass() {
  const double trace = factor_.largest * factor_.columns;
  const auto changed = [&](std::size_t w) { return mask_[w] ^ earlierMask_[w]; };
  const bool updates = !steps_.empty() && relativeRounding(weight_, trace) < updateRounding &&
                       2 * countColumns(mask_.size(), changed) <= factor_.rank;
  if (!updates || !updatePass()) {
    factorPass();
  }
}

double PassPrediction::squaredStep() const {
  double sum = 0.0;
  for (std::size_t k = 0; k < y_.size(); ++k) {
    const double change = y_[k] - earlierY_[k];
    sum += change * change;
  }
  return sum / (weight_ * weight_);
}

// Takes the columns with positive values for the next pass; false where they are the same.
bool PassPrediction::takeMask() {
  std::swap(earlierMask_, mask_);
  std::swap(mask_, nextMask_);
  return mask_ != earlierMask_;
}

// The earlier pass that had the present mask after the same mask as now; 0 where none had.
int PassPrediction::earlierTurn() const {
  const auto count = static_cast<std::ptrdiff_t>(mask_.size());
  const int pass = static_cast<int>(steps_.size()) + 1;
  const auto maskOf = [&](std::ptrdiff_t number) { return masks_.begin() + (number - 1) * count; };
  for (int earlier = pass - 2; earlier > 1; --earlier) {
    if (std::equal(mask_.begin(), mask_.end(), maskOf(earlier)) &&
        std::equal(earlierMask_.begin(), earlierMask_.end(), maskOf(earlier - 1))) {
      return earlier;
    }
  }
  return 0;
}

// Goes through the passes from `turn` on again and again, to the pass `last`.
void PassPrediction::repeatTurns(int turn, int last) {
  const std::size_t period = steps_.size() + 1 - length(turn);
  while (steps_.size() < length(last)) {
    steps_.push_back(steps_[steps_.size() - period]);
  }
  const std::size_t place = length(turn - 1) + (length(last) - length(turn)) % period;
  const auto begin = masks_.begin() + static_cast<std::ptrdiff_t>(place * mask_.size());
  std::copy_n(begin, mask_.size(), mask_.begin());
}

bool PassPrediction::run(double weight, double tolerance, int mostPasses, const double* f) {
  // The passes that are left to the solve begin with this one at the latest.
  const int last = mostPasses - 1;
  weight_ = weight;
  begin(f);
  while (static_cast<int>(steps_.size()) < last) {
    masks_.insert(masks_.end(), mask_.begin(), mask_.end());
    solvePass();
    double step = 0.0;
    if (steps_.empty()) {
      firstValues_.assign(values_.begin(), values_.end());
    } else {
      step = squaredStep();
      const double rounding = roundingShare * roundingShare * sumOfSquares(y_) / (weight * weight);
      if (!(step > stepMargin * tolerance + rounding)) {
        // Whether this is the last pass is for the solve to find, from the one before on.
        mask_ = earlierMask_;
        break;
      }
    }
    steps_.push_back(step);
    if (static_cast<int>(steps_.size()) == last) {
      break;
    }
    if (!takeMask()) {
      repeats_ = true;
      break;
    }
    if (const int turn = earlierTurn(); turn > 0) {
      repeatTurns(turn, last);
      break;
    }
    std::swap(y_, earlierY_);
  }
  return steps_.size() > 1;
}

// With A the mask, z = K_A'c the solution on it, M = R_A R_A' + w I and v = R_A z,
//     rss = |d - K_A z|^2 = |d|^2 - 2 z'b + |v|^2,   d rss / d w = 2 (|z|^2 - v'M^-1 v).
// y equals v but for the rounding of its solve, r = w (v - y) is the residual of that, and to first
// order rss is larger by 2 r'M^-1 v for the y that has none. K'K = R'R + E changes rss by 3 |E|
// |z|^2 at most, and w times the slope by as much twice.
std::optional<PassPrediction::Residual> PassPrediction::residual(double squaredData) {
  if (!repeats_) {
    return {};
  }
  const auto& kernel = kernels::table<double>();
  const int rows = factor_.padded;
  listColumns(
      mask_.size(), [&](std::size_t w) { return mask_[w]; }, columns_);
  double dataShare = 0.0;
  double square = 0.0;
  for (std::size_t k = 0; k < columns_.size(); ++k) {
    const std::size_t i = length(columns_[k]);
    const double z = values_[i] / weight_;
    right_[k] = z;
    dataShare += z * b_[i];
    square += z * z;
  }
  kernel.combineColumns(rows, static_cast<int>(columns_.size()), columns_.data(),
                        factor_.byColumns.data(), right_.data(), work_.data());
  if (hasInverse_) {
    kernel.combineRows(factor_.rank, rows, inverse_.data(), work_.data(), earlierY_.data());
  } else {
    earlierY_ = work_;
    kernel.choleskySolve(rows, rows, factors_.data(), earlierY_.data());
  }
  double fitted = 0.0;
  double correction = 0.0;
  double shrunk = 0.0;
  for (std::size_t k = 0; k < length(rows); ++k) {
    fitted += work_[k] * work_[k];
    correction += earlierY_[k] * (work_[k] - y_[k]);
    shrunk += earlierY_[k] * work_[k];
  }
  constexpr double operations = 8.0;
  const double rounding = operations * std::numeric_limits<double>::epsilon();
  const double left = factor_.left + rounding * factor_.largest * factor_.columns;
  Residual result{};
  result.rss = squaredData - 2.0 * dataShare + fitted + 2.0 * weight_ * correction;
  result.slope = 2.0 * (square - shrunk);
  result.error = 3.0 * left * square + rounding * squaredData;
  result.slopeError = 6.0 * left * square / weight_;
  return result;
}

PassPrediction::FirstPass PassPrediction::firstPass() const {
  FirstPass first;
  listColumns(
      mask_.size(), [&](std::size_t w) { return masks_[w]; }, first.active);
  first.values.resize(first.active.size());
  std::transform(first.active.begin(), first.active.end(), first.values.begin(),
                 [&](int i) { return firstValues_[length(i)] / weight_; });
  return first;
}

double PassPrediction::leastFirstStep(double norm) const {
  const double largest = largestMagnitude(factor_.columns, firstValues_.data());
  const double least = largest / (weight_ * std::sqrt(factor_.largest)) - norm;
  return least > 0.0 ? least * least : 0.0;
}

bool PassPrediction::takeFirstStep(double step, double tolerance, double* f) {
  if (!(step > stepMargin * tolerance)) {
    return false;
  }
  steps_.front() = step;
  for (int i = 0; i < factor_.columns; ++i) {
    f[i] = (mask_[length(i) / wordBits] >> (length(i) % wordBits) & 1U) != 0 ? 1.0 : 0.0;
  }
  return true;
}

}  // namespace vorin::brd
