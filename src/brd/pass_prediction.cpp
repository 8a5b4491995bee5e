#include "brd/pass_prediction.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"

namespace vorin::brd {
namespace {

// A step counts as above the tolerance when it is by this factor, and above what rounding makes of
// y.
constexpr double stepMargin = 4.0;
constexpr double roundingShare = 1e-10;

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
      mask_(words(factor.columns)),
      earlierMask_(mask_),
      nextMask_(mask_),
      chosen_(length(factor.columns)),
      y_(length(factor.padded)),
      earlierY_(length(factor.padded)),
      values_(length(factor.paddedColumns)),
      block_(factor.square.size()),
      right_(length(factor.padded)),
      allRight_(length(factor.padded)),
      factors_(factor.square.size()),
      pivots_(length(factor.padded)),
      work_(length(factor.padded)) {
  columns_.reserve(length(factor.columns));
  projectData();
}

void PassPrediction::takeData(const double* b) {
  b_ = b;
  blockMask_.clear();
  projectData();
}

// R b, the right side with all columns.
void PassPrediction::projectData() {
  columns_.resize(length(factor_.columns));
  std::iota(columns_.begin(), columns_.end(), 0);
  kernels::table<double>().combineColumns(factor_.padded, factor_.columns, columns_.data(),
                                          factor_.byColumns.data(), b_, allRight_.data());
}

void PassPrediction::begin(const double* f) {
  takeSigns(length(factor_.columns), f, mask_);
  steps_.clear();
  masks_.clear();
  repeats_ = false;
}

// Adds columns_ to the block and to its right side.
void PassPrediction::addToBlock(double sign) {
  if (columns_.empty()) {
    return;
  }
  const auto& kernel = kernels::table<double>();
  const int rows = factor_.padded;
  const int count = static_cast<int>(columns_.size());
  kernel.addOuterProducts(rows, count, columns_.data(), factor_.byColumns.data(), sign,
                          block_.data());
  std::transform(columns_.begin(), columns_.end(), chosen_.begin(),
                 [this](int i) { return b_[length(i)]; });
  kernel.combineColumns(rows, count, columns_.data(), factor_.byColumns.data(), chosen_.data(),
                        work_.data());
  for (std::size_t k = 0; k < work_.size(); ++k) {
    right_[k] += sign * work_[k];
  }
}

// Makes the block and its right side those of the present mask: from what they are, from nothing,
// or from those of all columns, whichever takes the fewest columns.
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
      right_ = allRight_;
      blockMask_.assign(count, ~std::uint64_t{0});
      if (const std::size_t rest = length(factor_.columns) % wordBits; rest != 0) {
        blockMask_.back() = (std::uint64_t{1} << rest) - 1;
      }
    } else {
      std::fill(block_.begin(), block_.end(), 0.0);
      std::fill(right_.begin(), right_.end(), 0.0);
    }
  }
  const auto leaving = [&](std::size_t w) { return blockMask_[w] & ~mask_[w]; };
  listColumns(count, leaving, columns_);
  addToBlock(-1.0);
  const auto entering = [&](std::size_t w) { return mask_[w] & ~blockMask_[w]; };
  listColumns(count, entering, columns_);
  addToBlock(1.0);
  blockMask_ = mask_;
}

// x = (R_A R_A' + w I)^-1 right for the block as it is.
void PassPrediction::solveBlock(const double* right, double* x) {
  const auto& kernel = kernels::table<double>();
  const int rows = factor_.padded;
  if (kernel.solveShifted(rows, block_.data(), weight_, right, x)) {
    return;
  }
  factors_ = block_;
  for (int k = 0; k < rows; ++k) {
    factors_[area(rows, k) + length(k)] += weight_;
  }
  kernel.cholesky(rows, rows, factors_.data(), pivots_.data());
  std::copy(right, right + rows, x);
  kernel.choleskySolve(rows, rows, factors_.data(), x);
}

void PassPrediction::solvePass() {
  const auto& kernel = kernels::table<double>();
  bringBlock();
  solveBlock(right_.data(), y_.data());
  kernel.combineRows(factor_.rank, factor_.paddedColumns, factor_.byRows.data(), y_.data(),
                     values_.data());
  kernel.subtractAndSign(factor_.columns, b_, values_.data(), nextMask_.data());
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
    chosen_[k] = z;
    dataShare += z * b_[i];
    square += z * z;
  }
  kernel.combineColumns(rows, static_cast<int>(columns_.size()), columns_.data(),
                        factor_.byColumns.data(), chosen_.data(), work_.data());
  solveBlock(work_.data(), earlierY_.data());
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
