#include "reduce/svd_compression.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <numeric>

#include "reduce/pivoted_cholesky.hpp"
#include "toolbox/extent.hpp"
#include "toolbox/instance.hpp"
#include "toolbox/svd_factors.hpp"
#include "toolbox/views.hpp"

namespace vorin::reduce {
namespace {

// U' d for the first `count` columns of U, in a vector of its own because dc may be d.
std::vector<float> projectData(std::ptrdiff_t m, std::ptrdiff_t count,
                               ColumnMajorView<const float> U, const float* d) {
  std::vector<float> projected(length(count), 0.0f);
  for (std::ptrdiff_t i = 0; m > 0 && i < count; ++i) {
    const float* column = U.column(i);
    projected[length(i)] = std::inner_product(d, d + m, column, 0.0f);
  }
  return projected;
}

// The first `count` rows of S V', and zeros below them, as far as Kc has rows.
void writeKernel(const Compression& job, std::ptrdiff_t count, const float* S, const float* VT) {
  const std::ptrdiff_t n = extent(job.n);
  const std::ptrdiff_t rows = std::min(n, extent(job.ldC));
  const ColumnMajorView<float> Kc{job.Kc, job.ldC};
  const ColumnMajorView<const float> right{VT, n};
  for (std::ptrdiff_t j = 0; rows > 0 && j < n; ++j) {
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
      Kc(i, j) = i < count ? S[i] * right(i, j) : 0.0f;
    }
  }
}

void writeData(const Compression& job, const std::vector<float>& projected) {
  const std::ptrdiff_t elements = extent(job.dcLength);
  const std::ptrdiff_t given = std::min(elements, std::ssize(projected));
  std::copy_n(projected.begin(), given, job.dc);
  std::fill_n(job.dc + given, elements - given, 0.0f);
}

void copyKernel(const Compression& job, float* to) {
  const std::ptrdiff_t rows = extent(job.m);
  const ColumnMajorView<const float> K{job.K, job.ldK};
  const ColumnMajorView<float> copy{to, rows};
  for (std::ptrdiff_t j = 0; rows > 0 && j < job.n; ++j) {
    std::copy_n(K.column(j), rows, copy.column(j));
  }
}

}  // namespace

int keptRows(int n, const float* S, float threshold, int mostRows) {
  int count = 1;
  const int candidates = std::min(n, mostRows);
  for (int i = 0; i < candidates; ++i) {
    if (S[i] / S[0] > threshold) {
      count = i + 1;
    }
  }
  return count;
}

void compress(int mode, const Compression& job, const SvdFactors& factors, std::int32_t& count,
              std::int32_t& status) {
  if (job.ldC < job.mostRows) {
    status = rowsAboveCapacity;
    return;
  }
  if (mode == decomposeMode) {
    status = compressed;
    // The factors are a copy: from here on Kc may overwrite K.
    copyKernel(job, factors.U);
    decomposeInPlace(job.m, job.n, factors.U, job.m, factors.S, factors.VT);
  }
  count = keptRows(job.n, factors.S, job.threshold, job.mostRows);
  const std::ptrdiff_t rows = std::min<std::ptrdiff_t>(count, extent(job.n));
  const ColumnMajorView<const float> U{factors.U, extent(job.m)};
  const std::vector<float> projected = projectData(job.m, rows, U, job.d);
  writeKernel(job, rows, factors.S, factors.VT);
  writeData(job, projected);
}

void compressInScratch(int mode, const Compression& job, float* scratch, std::int64_t scratchLength,
                       std::int32_t& count, std::int32_t& status) {
  const std::int64_t m = job.m;
  const std::int64_t n = job.n;
  if (n + n * n + n * m > scratchLength) {
    status = scratchTooSmall;
    return;
  }
  // With m below 0 the rule asks for less than S and V' take: an array of their own then.
  const std::ptrdiff_t taken = extent(job.n) * (1 + extent(job.n) + extent(job.m));
  std::vector<float> instead;
  if (taken > scratchLength) {
    instead.resize(length(taken));
    scratch = instead.data();
  }
  float* U = scratch + extent(job.n);
  float* VT = U + extent(job.m) * extent(job.n);
  compress(mode, job, {U, VT, scratch}, count, status);
}

namespace {

// Thresholds from here on cut above what a single-precision decomposition makes of singular
// values of zero. Below, the two decompositions may keep different numbers of rows.
constexpr float leastThreshold = 1e-6f;

// W'y, rounded once; `count` rows of W' (rank x rank).
std::vector<float> projectFactored(const PivotedFactor& factor, int count, const float* WT) {
  std::vector<float> projected(length(count));
  const ColumnMajorView<const float> rowsOfW{WT, factor.rank};
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    double sum = 0.0;
    for (std::ptrdiff_t k = 0; k < factor.rank; ++k) {
      sum += double(rowsOfW(i, k)) * factor.projected[length(k)];
    }
    projected[length(i)] = static_cast<float>(sum);
  }
  return projected;
}

}  // namespace

bool compressWithoutFactors(const Compression& job, std::int32_t& count, std::int32_t& status) {
  PivotedFactor factor;
  if (job.ldC < job.mostRows || !(job.threshold >= leastThreshold) ||
      !pivotedCholesky(job.m, job.n, job.K, job.ldK, job.d, factor)) {
    return false;
  }
  const int rank = factor.rank;
  // R' = V S W': V replaces R', column-major.
  std::vector<float> S(length(job.n));
  std::vector<float> WT(area(rank, rank));
  decomposeInPlace(job.n, rank, factor.transposed.data(), job.n, S.data(), WT.data());
  std::vector<float> VT(area(job.n, job.n));
  const ColumnMajorView<const float> V{factor.transposed.data(), job.n};
  const ColumnMajorView<float> transposed{VT.data(), job.n};
  for (std::ptrdiff_t i = 0; i < rank; ++i) {
    for (std::ptrdiff_t j = 0; j < job.n; ++j) {
      transposed(i, j) = V(j, i);
    }
  }
  status = compressed;
  count = keptRows(job.n, S.data(), job.threshold, job.mostRows);
  writeKernel(job, count, S.data(), VT.data());
  writeData(job, projectFactored(factor, count, WT.data()));
  return true;
}

void compressInKeptArrays(const Compression& job, std::int32_t& count, std::int32_t& status) {
  compress(decomposeMode, job, keptArrays().factorsFor(job.m, job.n), count, status);
}

void compressInPlace(const Compression& job, float* U, float* V, float* S, std::int32_t& count,
                     std::int32_t& status) {
  if (job.ldC < job.mostRows) {
    status = rowsAboveCapacity;
    return;
  }
  status = compressed;
  const std::ptrdiff_t n = extent(job.n);
  std::vector<float> VT(area(n, n));
  decomposeInPlace(job.m, job.n, U, job.ldK, S, VT.data());
  count = job.mostRows;
  writeKernel(job, n, S, VT.data());
  const std::ptrdiff_t rows = std::min(n, extent(job.ldC));
  const ColumnMajorView<const float> transposed{VT.data(), n};
  const ColumnMajorView<float> rightVectors{V, job.ldC};
  for (std::ptrdiff_t j = 0; rows > 0 && j < n; ++j) {
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
      rightVectors(i, j) = transposed(j, i);
    }
  }
  writeData(job, projectData(job.m, n, {U, job.ldK}, job.d));
}

SvdFactors KeptArrays::factorsFor(int m, int n) {
  if (m != m_ || n != n_) {
    // Emptied first, so that old and new arrays are never held at once.
    U_ = std::vector<float>();
    VT_ = std::vector<float>();
    S_ = std::vector<float>();
    U_.resize(area(m, n));
    VT_.resize(area(n, n));
    S_.resize(length(n));
    m_ = m;
    n_ = n;
  }
  return {U_.data(), VT_.data(), S_.data()};
}

KeptArrays& keptArrays() {
  static KeptArrays arrays;
  return stateOf(InstancePart::compressionArrays, arrays);
}

}  // namespace vorin::reduce
