#include "reduce/prune_plan.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "reduce/bin_edges.hpp"
#include "toolbox/kernels/kernels.hpp"

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
  // Below 0 points there are none, and no column is to be looked for before the first.
  ldIn = std::max(ldIn, 0);
  const std::ptrdiff_t inStep = ldIn;
  const std::ptrdiff_t outStep = ldOut;
  if (!listed_.empty()) {
    for (int j = 0; j < columns; ++j) {
      apply(in + j * inStep, out + j * outStep);
    }
    return;
  }
  std::vector<kernels::Run<float>> runs;
  runs.reserve(rows_.size());
  for (const Row& row : rows_) {
    runs.push_back({row.begin, row.end, 1.0f / row.norm});
  }
  kernels::table<float>().sumRuns(filled(), runs.data(), columns, in, ldIn, out, ldOut);
  for (int j = 0; closingRow_ && j < columns; ++j) {
    out[filled() + j * outStep] = 0.0f;
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
