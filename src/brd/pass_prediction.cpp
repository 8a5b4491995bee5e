#include "brd/pass_prediction.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"

namespace vorin::brd {
namespace {

// A step counts as above the tolerance when it is by this factor, and above what rounding makes of
// y.
constexpr double stepMargin = 4.0;
constexpr double roundingShare = 1e-10;

double sumOfSquares(const AlignedVector<double>& values) {
  return std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
}

}  // namespace

PassPrediction::PassPrediction(const RankFactor& factor, const double* b)
    : factor_(factor),
      b_(b),
      mask_(length(factor.columns)),
      earlierMask_(mask_),
      block_(factor.square.size()),
      factors_(factor.square.size()),
      pivots_(length(factor.padded)),
      right_(length(factor.columns)),
      y_(length(factor.padded)),
      earlierY_(length(factor.padded)),
      values_(length(factor.paddedColumns)) {}

// R_A R_A' of the columns with f > 0: from R R' where most are, from nothing where few are.
void PassPrediction::begin(const double* f) {
  active_.clear();
  leaving_.clear();
  for (int i = 0; i < factor_.columns; ++i) {
    mask_[length(i)] = f[i] > 0.0 ? 1 : 0;
    (f[i] > 0.0 ? active_ : leaving_).push_back(i);
  }
  steps_.clear();
  masks_.clear();
  if (leaving_.size() <= active_.size()) {
    block_ = factor_.square;
    change(static_cast<int>(leaving_.size()), leaving_.data(), -1.0);
  } else {
    std::fill(block_.begin(), block_.end(), 0.0);
    change(static_cast<int>(active_.size()), active_.data(), 1.0);
  }
}

void PassPrediction::change(int count, const int* columns, double sign) {
  kernels::table<double>().addOuterProducts(factor_.padded, count, columns,
                                            factor_.byColumns.data(), sign, block_.data());
}

void PassPrediction::solvePass(double weight) {
  const auto& kernel = kernels::table<double>();
  const int rows = factor_.padded;
  std::transform(active_.begin(), active_.end(), right_.begin(),
                 [this](int i) { return b_[length(i)]; });
  kernel.combineColumns(rows, static_cast<int>(active_.size()), active_.data(),
                        factor_.byColumns.data(), right_.data(), y_.data());
  factors_ = block_;
  for (int k = 0; k < rows; ++k) {
    factors_[area(rows, k) + length(k)] += weight;
  }
  kernel.cholesky(rows, rows, factors_.data(), pivots_.data());
  kernel.choleskySolve(rows, rows, factors_.data(), y_.data());
  kernel.combineRows(rows, factor_.paddedColumns, factor_.byRows.data(), y_.data(), values_.data());
  for (int i = 0; i < factor_.columns; ++i) {
    values_[length(i)] = b_[length(i)] - values_[length(i)];
  }
}

double PassPrediction::squaredStep(double weight) const {
  double sum = 0.0;
  for (std::size_t k = 0; k < y_.size(); ++k) {
    const double change = y_[k] - earlierY_[k];
    sum += change * change;
  }
  return sum / (weight * weight);
}

// Takes the columns with positive values for the next pass; false where they are the same.
bool PassPrediction::takeMask() {
  const std::size_t columns = mask_.size();
  std::swap(earlierMask_, mask_);
  const double* values = values_.data();
  for (std::size_t i = 0; i < columns; ++i) {
    mask_[i] = values[i] > 0.0 ? 1 : 0;
  }
  if (mask_ == earlierMask_) {
    return false;
  }
  active_.assign(columns, 0);
  entering_.assign(columns, 0);
  leaving_.assign(columns, 0);
  std::size_t active = 0;
  std::size_t entering = 0;
  std::size_t leaving = 0;
  // Without branches, which these signs would often mislead.
  for (std::size_t i = 0; i < columns; ++i) {
    active_[active] = entering_[entering] = leaving_[leaving] = static_cast<int>(i);
    active += mask_[i] != 0 ? 1 : 0;
    entering += mask_[i] > earlierMask_[i] ? 1 : 0;
    leaving += mask_[i] < earlierMask_[i] ? 1 : 0;
  }
  active_.resize(active);
  entering_.resize(entering);
  leaving_.resize(leaving);
  if (entering_.size() + leaving_.size() > active_.size()) {
    std::fill(block_.begin(), block_.end(), 0.0);
    change(static_cast<int>(active_.size()), active_.data(), 1.0);
  } else {
    change(static_cast<int>(leaving_.size()), leaving_.data(), -1.0);
    change(static_cast<int>(entering_.size()), entering_.data(), 1.0);
  }
  return true;
}

void PassPrediction::keepFirstValues(double weight) {
  firstActive_ = active_;
  firstValues_.resize(active_.size());
  std::transform(active_.begin(), active_.end(), firstValues_.begin(),
                 [&](int i) { return values_[length(i)] / weight; });
}

// The earlier pass that had the present mask after the same mask as now; 0 where none had.
int PassPrediction::earlierTurn() const {
  const auto n = static_cast<std::ptrdiff_t>(mask_.size());
  const int pass = static_cast<int>(steps_.size()) + 1;
  const auto maskOf = [&](std::ptrdiff_t number) { return masks_.begin() + (number - 1) * n; };
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
  begin(f);
  while (static_cast<int>(steps_.size()) < last) {
    masks_.insert(masks_.end(), mask_.begin(), mask_.end());
    solvePass(weight);
    double step = 0.0;
    if (steps_.empty()) {
      keepFirstValues(weight);
    } else {
      step = squaredStep(weight);
      const double rounding = roundingShare * roundingShare * sumOfSquares(y_) / (weight * weight);
      if (!(step > stepMargin * tolerance + rounding)) {
        // Whether this is the last pass is for the solve to find, from the one before on.
        mask_ = earlierMask_;
        break;
      }
    }
    steps_.push_back(step);
    if (static_cast<int>(steps_.size()) == last || !takeMask()) {
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

bool PassPrediction::takeFirstStep(double step, double tolerance, double* f) {
  if (!(step > stepMargin * tolerance)) {
    return false;
  }
  steps_.front() = step;
  std::copy(mask_.begin(), mask_.end(), f);
  return true;
}

}  // namespace vorin::brd
