#include "toolkit/inverting/choice_rows.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "toolkit/inverting/nonnegative.hpp"
#include "toolkit/model/matrix.hpp"

namespace vorin::toolkit {

namespace {

double sumOfSquares(const double* values, std::size_t count) {
  return std::inner_product(values, values + count, values, 0.0);
}

std::vector<double> onesOf(const Problem& problem) {
  return problem.reducedData(std::vector<float>(problem.data().size(), 1.0F));
}

/// K and a column beside it.
std::vector<double> withColumn(std::vector<double> K, const std::vector<double>& column) {
  K.insert(K.end(), column.begin(), column.end());
  return K;
}

/// How many of the first rows, `most` at most, are single samples.
std::size_t singleRowsOf(const std::vector<double>& d, const std::vector<float>& data,
                         std::size_t most) {
  std::size_t count = 0;
  most = std::min({most, d.size(), data.size()});
  while (count < most && d[count] == static_cast<double>(data[count])) {
    ++count;
  }
  return count;
}

}  // namespace

/// Brings a matrix to upper trapezoidal form, a column a step.
class CondensedRows::Elimination {
 public:
  Elimination(const std::vector<double>& K, std::size_t rows, std::size_t kept)
      : K_(K), rows_(rows), kept_(kept), columns_(K.size() / rows), A_((rows - kept) * columns_) {
    // Row after row, so that one reflection runs over all columns at once.
    left_.assign(columns_, 0.0);
    for (std::size_t i = 0; i < below(); ++i) {
      for (std::size_t j = 0; j < columns_; ++j) {
        const double value = K[j * rows + kept + i];
        A_[i * columns_ + j] = value;
        left_[j] += value * value;
      }
    }
    limit_ = negligible * negligible * *std::max_element(left_.begin(), left_.end());
  }

  /// The reflection that leaves the largest of the other columns one row; none where they are
  /// next to 0.
  std::optional<Reflection> step() {
    const auto pivot = std::max_element(left_.begin(), left_.end());
    if (!(*pivot > limit_)) {
      return std::nullopt;
    }
    const Reflection result = reflectionOf(static_cast<std::size_t>(pivot - left_.begin()));
    std::vector<double> product(columns_, 0.0);
    for (std::size_t i = done_; i < below(); ++i) {
      const double share = result.factor * result.direction[i - done_];
      const double* const row = A_.data() + i * columns_;
      for (std::size_t j = 0; j < columns_; ++j) {
        product[j] += share * row[j];
      }
    }
    std::fill(left_.begin(), left_.end(), 0.0);
    for (std::size_t i = done_; i < below(); ++i) {
      const double share = result.direction[i - done_];
      double* const row = A_.data() + i * columns_;
      const double counts = i > done_ ? 1.0 : 0.0;
      for (std::size_t j = 0; j < columns_; ++j) {
        row[j] -= share * product[j];
        left_[j] += counts * row[j] * row[j];
      }
    }
    ++done_;
    return result;
  }

  /// The rows kept, those done, and one of 0, column-major.
  std::vector<double> condensed() const {
    std::vector<double> result;
    result.reserve((kept_ + done_ + 1) * columns_);
    for (std::size_t j = 0; j < columns_; ++j) {
      const auto column = K_.begin() + static_cast<std::ptrdiff_t>(j * rows_);
      result.insert(result.end(), column, column + static_cast<std::ptrdiff_t>(kept_));
      for (std::size_t i = 0; i < done_; ++i) {
        result.push_back(A_[i * columns_ + j]);
      }
      result.push_back(0.0);
    }
    return result;
  }

 private:
  static constexpr double negligible = 1e-7;

  std::size_t below() const { return rows_ - kept_; }

  Reflection reflectionOf(std::size_t column) const {
    Reflection result{std::vector<double>(below() - done_), 0.0};
    for (std::size_t i = done_; i < below(); ++i) {
      result.direction[i - done_] = A_[i * columns_ + column];
    }
    const double head = result.direction.front();
    const double norm = std::copysign(
        std::sqrt(sumOfSquares(result.direction.data(), result.direction.size())), head);
    for (double& value : result.direction) {
      value /= head + norm;
    }
    result.direction.front() = 1.0;
    result.factor = (head + norm) / norm;
    return result;
  }

  const std::vector<double>& K_;
  std::size_t rows_;
  std::size_t kept_;
  std::size_t columns_;
  std::size_t done_ = 0;
  std::vector<double> A_;
  std::vector<double> left_;  ///< squared norm of each column below the rows that are done
  double limit_ = 0.0;
};

void CondensedRows::Reflection::apply(double* rows) const {
  const double product = factor * std::inner_product(direction.begin(), direction.end(), rows, 0.0);
  for (std::size_t i = 0; i < direction.size(); ++i) {
    rows[i] -= product * direction[i];
  }
}

CondensedRows::CondensedRows(const std::vector<double>& K, std::size_t rows, std::size_t kept)
    : kept_(kept), below_(rows - kept), count_(rows), kernel_(K) {
  Elimination elimination(K, rows, kept);
  const std::size_t most = rows - kept - 1;  // one more would save no row
  while (reflections_.size() < most) {
    std::optional<Reflection> next = elimination.step();
    if (!next) {
      count_ = kept + reflections_.size() + 1;
      kernel_ = elimination.condensed();
      return;
    }
    reflections_.push_back(std::move(*next));
  }
  reflections_.clear();
}

std::vector<double> CondensedRows::data(const std::vector<double>& d) const {
  if (reflections_.empty()) {
    return d;
  }
  std::vector<double> result = d;
  for (std::size_t step = 0; step < reflections_.size(); ++step) {
    reflections_[step].apply(result.data() + kept_ + step);
  }
  const std::size_t described = kept_ + reflections_.size();
  const double rest = std::sqrt(sumOfSquares(result.data() + described, d.size() - described));
  result.resize(count());
  result.back() = rest;
  return result;
}

ChoiceRows::ChoiceRows(const Problem& problem, std::size_t kept)
    : source_(&problem),
      whole_(problem.reduced()),
      singleRows_(singleRowsOf(whole_.d, problem.data(), kept)),
      condensed_(withColumn(whole_.K, onesOf(problem)), whole_.d.size(),
                 std::min(kept, whole_.d.size() - 1)) {
  const std::vector<double>& kernel = condensed_.kernel();
  const auto ones = kernel.end() - static_cast<std::ptrdiff_t>(condensed_.count());
  problem_ = {static_cast<std::int32_t>(condensed_.count()),
              whole_.columns,
              {kernel.begin(), ones},
              condensed_.data(whole_.d),
              whole_.rows};
  ones_.assign(ones, kernel.end());
}

void ChoiceRows::leaveOut(const std::vector<std::size_t>& samples) {
  left_ = samples;
  ones_ = withoutRows(ones_, ones_.size(), samples);
  problem_ = withoutRows(problem_, samples);
  whole_ = withoutRows(whole_, samples);
}

std::vector<double> ChoiceRows::rowsOf(const std::vector<float>& data) const {
  const std::vector<double> rows = condensed_.data(source_->reducedData(data));
  return withoutRows(rows, rows.size(), left_);
}

std::vector<double> ChoiceRows::residual(const std::vector<double>& f, std::size_t first) const {
  return residualOf(whole_, f, first);
}

}  // namespace vorin::toolkit
