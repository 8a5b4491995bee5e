#include "toolkit/two_dimensional/compressed_map.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "toolbox/kernels/kernels.hpp"

namespace vorin::toolkit {

namespace {

std::size_t at(int index) {
  return static_cast<std::size_t>(index);
}

/// 0, 1, ... count - 1.
std::vector<int> upTo(int count) {
  std::vector<int> result(at(count));
  std::iota(result.begin(), result.end(), 0);
  return result;
}

/// The cells above 0 of a row of a map.
void findActive(const double* row, int n, std::vector<int>& active) {
  active.clear();
  for (int k = 0; k < n; ++k) {
    if (row[k] > 0.0) {
      active.push_back(k);
    }
  }
}

}  // namespace

CompressedMap::CompressedMap(const KernelFactor& first, const KernelFactor& second, double cut) {
  const double least = cut * first.values.front() * second.values.front();
  start_.push_back(0);
  int widest = 0;
  for (double s1 : first.values) {
    const auto end = std::partition_point(second.values.begin(), second.values.end(),
                                          [&](double s2) { return s1 * s2 > least; });
    const int count = static_cast<int>(end - second.values.begin());
    if (count == 0) {
      break;
    }
    widest = std::max(widest, count);
    start_.push_back(start_.back() + count);
  }
  first_ = truncated(first, static_cast<int>(start_.size()) - 1);
  second_ = truncated(second, widest);
  scale_ = std::sqrt(first.meanSquare * second.meanSquare);
}

std::vector<double> CompressedMap::compressed(const double* data) const {
  const auto& kernels = kernels::table<double>();
  const int width2 = second_.width();
  const std::vector<int> all = upTo(std::max(first_.samples, second_.samples));
  std::vector<double> half(at(first_.samples) * at(width2));  // D U2
  for (int i = 0; i < first_.samples; ++i) {
    kernels.combineColumns(width2, second_.samples, all.data(), second_.left.data(),
                           data + at(i) * at(second_.samples), half.data() + at(i) * at(width2));
  }
  std::vector<double> result(at(rows()));
  std::vector<double> factors(at(first_.samples));
  std::vector<double> line(at(width2));
  for (int p = 0; p < first_.rank; ++p) {
    for (int i = 0; i < first_.samples; ++i) {
      factors[at(i)] = first_.left[at(i) * at(first_.width()) + at(p)];
    }
    kernels.combineColumns(width2, first_.samples, all.data(), half.data(), factors.data(),
                           line.data());
    std::copy_n(line.begin(), pairsOf(p), result.begin() + start_[at(p)]);
  }
  return result;
}

void CompressedMap::transposeTimes(const double* c, double* F) const {
  const auto& kernels = kernels::table<double>();
  const int r1 = first_.rank;
  const int n2 = second_.grid;
  const std::vector<int> all = upTo(std::max(r1, second_.rank));
  std::vector<double> half(at(r1) * at(n2));  // C (S2 V2'), scaled
  std::vector<double> line(at(second_.rank));
  for (int p = 0; p < r1; ++p) {
    for (int q = 0; q < pairsOf(p); ++q) {
      line[at(q)] = c[start_[at(p)] + q] / scale_;
    }
    kernels.combineColumns(n2, pairsOf(p), all.data(), second_.rows.data(), line.data(),
                           half.data() + at(p) * at(n2));
  }
  for (int i = 0; i < first_.grid; ++i) {
    kernels.combineColumns(n2, r1, all.data(), half.data(),
                           first_.columns.data() + at(i) * at(first_.width()), F + at(i) * at(n2));
  }
}

void CompressedMap::times(const double* F, double* y) const {
  const auto& kernels = kernels::table<double>();
  const int width2 = second_.width();
  std::vector<int> active;
  std::vector<int> activeRows;
  std::vector<double> values;
  std::vector<double> half(at(first_.grid) * at(width2));  // F (V2 S2)
  for (int i = 0; i < first_.grid; ++i) {
    const double* row = F + at(i) * at(second_.grid);
    findActive(row, second_.grid, active);
    if (active.empty()) {
      continue;
    }
    activeRows.push_back(i);
    values.clear();
    for (int k : active) {
      values.push_back(row[k] / scale_);
    }
    kernels.combineColumns(width2, static_cast<int>(active.size()), active.data(),
                           second_.columns.data(), values.data(), half.data() + at(i) * at(width2));
  }
  std::vector<double> line(at(width2));
  values.resize(activeRows.size());
  for (int p = 0; p < first_.rank; ++p) {
    for (std::size_t a = 0; a < activeRows.size(); ++a) {
      values[a] = first_.rows[at(p) * at(first_.grid) + at(activeRows[a])];
    }
    kernels.combineColumns(width2, static_cast<int>(activeRows.size()), activeRows.data(),
                           half.data(), values.data(), line.data());
    std::copy_n(line.begin(), pairsOf(p), y + start_[at(p)]);
  }
}

void CompressedMap::gram(const double* F, double* G) const {
  // Element ((p, q), (p', q')) is the sum over i of a(p, i) a(p', i) t_i(q, q'), where t_i is
  // the sum over the active cells k of row i of b(q, k) b(q', k): two products of thin matrices.
  const auto& kernels = kernels::table<double>();
  const int pairs1 = first_.pairs();
  const int pairs2 = second_.pairs();
  const double factor = 1.0 / (scale_ * scale_);
  const std::vector<double> ones(at(second_.grid), factor);
  std::vector<int> active;
  std::vector<int> activeRows;
  std::vector<double> t(at(first_.grid) * at(pairs2));
  for (int i = 0; i < first_.grid; ++i) {
    findActive(F + at(i) * at(second_.grid), second_.grid, active);
    if (!active.empty()) {
      activeRows.push_back(i);
      kernels.combineColumns(pairs2, static_cast<int>(active.size()), active.data(),
                             second_.products.data(), ones.data(), t.data() + at(i) * at(pairs2));
    }
  }
  const std::size_t m = at(rows());
  std::vector<double> values(activeRows.size());
  std::vector<double> block(at(pairs2));
  for (int p = 0; p < first_.rank; ++p) {
    for (int p2 = 0; p2 <= p; ++p2) {
      for (std::size_t a = 0; a < activeRows.size(); ++a) {
        values[a] = first_.products[at(activeRows[a]) * at(pairs1) + at(p * (p + 1) / 2 + p2)];
      }
      kernels.combineColumns(pairs2, static_cast<int>(activeRows.size()), activeRows.data(),
                             t.data(), values.data(), block.data());
      for (int q2 = 0; q2 < pairsOf(p2); ++q2) {
        double* column = G + (at(start_[at(p2)]) + at(q2)) * m + at(start_[at(p)]);
        for (int q = 0; q < pairsOf(p); ++q) {
          const int high = std::max(q, q2);
          const int low = std::min(q, q2);
          column[q] = block[at(high * (high + 1) / 2 + low)];
        }
      }
    }
  }
}

std::vector<double> CompressedMap::spread(const CompressedMap& coarse,
                                          const std::vector<double>& rows) const {
  std::vector<double> result(at(this->rows()), 0.0);
  for (int p = 0; p < coarse.first_.rank; ++p) {
    std::copy_n(rows.begin() + coarse.start_[at(p)], coarse.pairsOf(p),
                result.begin() + start_[at(p)]);
  }
  return result;
}

}  // namespace vorin::toolkit
