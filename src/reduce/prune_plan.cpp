#include "reduce/prune_plan.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "reduce/bin_edges.hpp"

namespace vorin::reduce {

PrunePlan::PrunePlan(const PruneRequest& request) : closingRow_(request.closingRow) {
  if (request.points < 1) {
    return;
  }
  PruneRequest wanted = request;
  wanted.target = std::min(request.target, request.maxBins);
  const BinFinder finder(wanted.points, wanted.t);
  // Bins past the capacity take no row.
  const int capacity = std::max(wanted.maxBins, 0);
  const auto most = static_cast<std::size_t>(std::max(capacity - (closingRow_ ? 1 : 0), 0));
  for (const FilledBin& bin : layBins(wanted, finder)) {
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
  for (int r = 0; r < filled(); ++r) {
    float square = 0.0f;
    forEachPoint(r, [&](int i) {
      const float scale = wanted.scale != nullptr ? wanted.scale[i] : 1.0f;
      square += scale * scale;
    });
    const float norm = std::sqrt(square);
    rows_[static_cast<std::size_t>(r)].norm = norm < smallestNorm ? smallestNorm : norm;
  }
}

void PrunePlan::apply(const float* values, float* out) const {
  for (int r = 0; r < filled(); ++r) {
    const float share = 1.0f / norm(r);
    float sum = 0.0f;
    forEachPoint(r, [&](int i) { sum += values[i] * share; });
    out[r] = sum;
  }
  if (closingRow_) {
    out[filled()] = 0.0f;
  }
}

void PrunePlan::apply(int columns, const float* in, int ldIn, float* out, int ldOut) const {
  // Columns are independent sums: eight at a time hide the latency of the
  // additions, each adding its points in order.
  constexpr int group = 8;
  const std::ptrdiff_t inStep = ldIn;
  const std::ptrdiff_t outStep = ldOut;
  int j0 = 0;
  for (; j0 + group <= columns; j0 += group) {
    const float* block = in + j0 * inStep;
    for (int r = 0; r < filled(); ++r) {
      const float share = 1.0f / norm(r);
      float sums[group] = {};
      forEachPoint(r, [&](int i) {
        for (int j = 0; j < group; ++j) {
          sums[j] += share * block[j * inStep + i];
        }
      });
      for (int j = 0; j < group; ++j) {
        out[r + (j0 + j) * outStep] = sums[j];
      }
    }
    for (int j = 0; closingRow_ && j < group; ++j) {
      out[filled() + (j0 + j) * outStep] = 0.0f;
    }
  }
  for (; j0 < columns; ++j0) {
    apply(in + j0 * inStep, out + j0 * outStep);
  }
}

void PrunePlan::render(int rows, int columns, float* P) const {
  const std::ptrdiff_t step = std::max(rows, 0);
  std::fill_n(P, step * std::max(columns, 0), 0.0f);
  for (int r = 0; r < filled(); ++r) {
    const float share = 1.0f / norm(r);
    forEachPoint(r, [&](int i) {
      if (i < columns) {
        P[r + i * step] = share;
      }
    });
  }
}

}  // namespace vorin::reduce
