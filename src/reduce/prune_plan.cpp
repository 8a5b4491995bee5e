#include "reduce/prune_plan.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "reduce/bins.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/views.hpp"

namespace vorin::reduce {
namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

bool allFinite(const float* values, std::ptrdiff_t count) {
  // Without an early exit, so that the loop vectorises.
  int others = 0;
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    others |= std::abs(values[i]) <= std::numeric_limits<float>::max() ? 0 : 1;
  }
  return others == 0;
}

std::vector<int> nonFinitePoints(const float* values, int points) {
  std::vector<int> found;
  for (int i = 0; i < points; ++i) {
    if (!std::isfinite(values[i])) {
      found.push_back(i);
    }
  }
  return found;
}

}  // namespace

PrunePlan::PrunePlan(const PruneRequest& request)
    : points_(std::max(request.points, 0)), closingRow_(request.closingRow) {
  if (request.points < 1) {
    return;
  }
  PruneRequest limited = request;
  limited.target = std::min(request.target, request.maxBins);
  const BinFinder finder(limited.points, limited.t);
  // Bins past the capacity take no row.
  const int capacity = std::max(limited.maxBins, 0);
  const std::size_t most = length(capacity - (closingRow_ ? 1 : 0));
  for (const FilledBin& bin : filledBins(limited, finder)) {
    if (rows_.size() >= most) {
      break;
    }
    BinFinder::Run run = bin.run;
    if (!finder.rising()) {
      run.begin = static_cast<int>(listed_.size());
      finder.list(bin.from, bin.to, listed_);
      run.end = static_cast<int>(listed_.size());
    }
    rows_.push_back({run.begin, run.end, 0.0f});
  }
  findUncovered();
  formNorms(limited.scale);
}

void PrunePlan::findUncovered() {
  std::vector<std::pair<int, int>> covered;
  if (listed_.empty()) {
    for (const Row& row : rows_) {
      covered.emplace_back(row.begin, row.end);
    }
  } else {
    std::vector<int> sorted = listed_;
    std::sort(sorted.begin(), sorted.end());
    for (const int i : sorted) {
      covered.emplace_back(i, i + 1);
    }
  }
  int next = 0;
  for (const auto& [begin, end] : covered) {
    if (begin > next) {
      uncovered_.emplace_back(next, begin);
    }
    next = std::max(next, end);
  }
  if (next < points_) {
    uncovered_.emplace_back(next, points_);
  }
}

void PrunePlan::formNorms(const float* scale) {
  std::vector<float> squares(rows_.size());
  const auto squareOf = [&](int i) { return scale != nullptr ? scale[i] * scale[i] : 1.0f; };
  for (int r = 0; r < filled(); ++r) {
    float square = 0.0f;
    forEachPoint(r, [&](int i) { square += squareOf(i); });
    squares[static_cast<std::size_t>(r)] = square;
  }
  std::vector<int> reaching;
  for (int i = 0; i < points_; ++i) {
    if (!std::isfinite(squareOf(i))) {
      reaching.push_back(i);
    }
  }
  if (!reaching.empty()) {
    spread(reaching, squares.data());
    emptyNorm_ = notANumber;
  }
  for (std::size_t r = 0; r < rows_.size(); ++r) {
    const float norm = std::sqrt(squares[r]);
    rows_[r].norm = norm < smallestNorm ? smallestNorm : norm;
  }
}

float PrunePlan::norm(int r) const {
  return r < filled() ? rows_[static_cast<std::size_t>(r)].norm : emptyNorm_;
}

void PrunePlan::spread(const std::vector<int>& points, float* out) const {
  std::vector<bool> marked(length(points_));
  for (const int i : points) {
    marked[static_cast<std::size_t>(i)] = true;
  }
  for (int r = 0; r < filled(); ++r) {
    std::size_t inside = 0;
    forEachPoint(r, [&](int i) { inside += marked[static_cast<std::size_t>(i)] ? 1u : 0u; });
    if (inside < points.size()) {
      out[r] = notANumber;
    }
  }
}

// True when some value is not finite; the filled rows without it are then NaN. Such a value
// shows in the sum of its row, so that the sums and the few uncovered points are all that has
// to be looked at as a rule.
bool PrunePlan::spreadNonFinite(const float* values, float* out) const {
  bool finite = allFinite(out, filled());
  for (const auto& [begin, end] : uncovered_) {
    finite = finite && allFinite(values + begin, end - begin);
  }
  if (finite) {
    return false;
  }
  const std::vector<int> reaching = nonFinitePoints(values, points_);
  spread(reaching, out);
  return !reaching.empty();
}

float PrunePlan::emptyRow(const float* values) const {
  return allFinite(values, points_) ? 0.0f : notANumber;
}

void PrunePlan::sumRows(const float* values, float* out) const {
  for (int r = 0; r < filled(); ++r) {
    const float share = 1.0f / norm(r);
    float sum = 0.0f;
    forEachPoint(r, [&](int i) { sum += values[i] * share; });
    out[r] = sum;
  }
}

void PrunePlan::apply(const float* values, float* out) const {
  sumRows(values, out);
  spreadNonFinite(values, out);
  if (closingRow_) {
    out[filled()] = 0.0f;
  }
}

void PrunePlan::apply(int columns, const float* in, int ldIn, float* out, int ldOut) const {
  const ColumnMajorView<const float> from{in, extent(ldIn)};
  const ColumnMajorView<float> to{out, ldOut};
  if (listed_.empty()) {
    std::vector<kernels::Run<float>> runs;
    runs.reserve(rows_.size());
    for (const Row& row : rows_) {
      runs.push_back({row.begin, row.end, 1.0f / row.norm});
    }
    kernels::table<float>().sumRuns(filled(), runs.data(), columns, in, std::max(ldIn, 0), out,
                                    ldOut);
  }
  for (int j = 0; j < columns; ++j) {
    const float* const values = from.column(j);
    if (!listed_.empty()) {
      sumRows(values, to.column(j));
    }
    const bool reached = spreadNonFinite(values, to.column(j));
    if (closingRow_) {
      to(filled(), j) = reached ? notANumber : 0.0f;
    }
  }
}

void PrunePlan::sum(const float* values, float* out) const {
  for (int r = 0; r < filled(); ++r) {
    float sum = 0.0f;
    forEachPoint(r, [&](int i) { sum += values[i]; });
    out[r] = sum;
  }
  const bool reached = spreadNonFinite(values, out);
  if (closingRow_) {
    out[filled()] = reached ? notANumber : 0.0f;
  }
}

void PrunePlan::render(int rows, int columns, float* P) const {
  const std::ptrdiff_t ld = extent(rows);
  std::fill_n(P, ld * extent(columns), 0.0f);
  const ColumnMajorView<float> map{P, ld};
  for (int r = 0; r < filled(); ++r) {
    if (std::isnan(norm(r))) {
      for (int i = 0; i < std::min(columns, points_); ++i) {
        map(r, i) = notANumber;
      }
      continue;
    }
    const float share = 1.0f / norm(r);
    forEachPoint(r, [&](int i) {
      if (i < columns) {
        map(r, i) = share;
      }
    });
  }
}

}  // namespace vorin::reduce
