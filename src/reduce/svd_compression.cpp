#include "reduce/svd_compression.hpp"

#include <algorithm>
#include <cstddef>

#include "reduce/pivoted_cholesky.hpp"
#include "toolbox/instance.hpp"
#include "toolbox/svd_factors.hpp"

namespace vorin::reduce {
namespace {

std::ptrdiff_t extent(int n) {
  return std::max(n, 0);
}

// U' d for the first `count` columns of U, in a vector of its own because dc may be d.
std::vector<float> projectData(int m, std::ptrdiff_t count, const float* U, std::ptrdiff_t ldU,
                               const float* d) {
  std::vector<float> projected(static_cast<std::size_t>(count));
  for (std::ptrdiff_t i = 0; m > 0 && i < count; ++i) {
    const float* column = U + i * ldU;
    float sum = 0.0f;
    for (int r = 0; r < m; ++r) {
      sum += d[r] * column[r];
    }
    projected[static_cast<std::size_t>(i)] = sum;
  }
  return projected;
}

// The first `count` rows of S V', and zeros below them, as far as Kc has rows.
void writeKernel(const Compression& job, std::ptrdiff_t count, const float* S, const float* VT) {
  const std::ptrdiff_t n = extent(job.n);
  const std::ptrdiff_t rows = std::min(n, extent(job.ldC));
  for (std::ptrdiff_t j = 0; rows > 0 && j < n; ++j) {
    float* column = job.Kc + j * job.ldC;
    const float* right = VT + j * n;
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
      column[i] = i < count ? S[i] * right[i] : 0.0f;
    }
  }
}

void writeData(const Compression& job, const std::vector<float>& projected) {
  const std::ptrdiff_t length = extent(job.dcLength);
  const auto given = std::min(length, static_cast<std::ptrdiff_t>(projected.size()));
  std::copy_n(projected.begin(), given, job.dc);
  std::fill_n(job.dc + given, length - given, 0.0f);
}

void copyRows(int m, std::ptrdiff_t n, const float* from, std::ptrdiff_t ldFrom, float* to) {
  const std::ptrdiff_t rows = extent(m);
  for (std::ptrdiff_t j = 0; rows > 0 && j < n; ++j) {
    std::copy_n(from + j * ldFrom, rows, to + j * rows);
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
    copyRows(job.m, job.n, job.K, job.ldK, factors.U);
    decomposeInPlace(job.m, job.n, factors.U, job.m, factors.S, factors.VT);
  }
  count = keptRows(job.n, factors.S, job.threshold, job.mostRows);
  const std::ptrdiff_t rows = std::min<std::ptrdiff_t>(count, extent(job.n));
  const std::vector<float> projected = projectData(job.m, rows, factors.U, extent(job.m), job.d);
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
  // Rows below 0 make the rule ask for less than S and V' take: these then stand elsewhere.
  const std::ptrdiff_t taken = extent(job.n) * (1 + extent(job.n) + extent(job.m));
  std::vector<float> instead;
  if (taken > scratchLength) {
    instead.resize(static_cast<std::size_t>(taken));
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
  std::vector<float> projected(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    double sum = 0.0;
    for (int k = 0; k < factor.rank; ++k) {
      sum += static_cast<double>(WT[i + static_cast<std::ptrdiff_t>(k) * factor.rank]) *
             factor.projected[static_cast<std::size_t>(k)];
    }
    projected[static_cast<std::size_t>(i)] = static_cast<float>(sum);
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
  std::vector<float> S(static_cast<std::size_t>(job.n));
  std::vector<float> WT(static_cast<std::size_t>(rank) * static_cast<std::size_t>(rank));
  decomposeInPlace(job.n, rank, factor.transposed.data(), job.n, S.data(), WT.data());
  const std::ptrdiff_t n = job.n;
  std::vector<float> VT(static_cast<std::size_t>(n * n));
  for (std::ptrdiff_t i = 0; i < rank; ++i) {
    for (std::ptrdiff_t j = 0; j < n; ++j) {
      VT[static_cast<std::size_t>(i + j * n)] =
          factor.transposed[static_cast<std::size_t>(j + i * n)];
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
  std::vector<float> VT(static_cast<std::size_t>(n * n));
  decomposeInPlace(job.m, job.n, U, job.ldK, S, VT.data());
  count = job.mostRows;
  writeKernel(job, n, S, VT.data());
  const std::ptrdiff_t rows = std::min(n, extent(job.ldC));
  for (std::ptrdiff_t j = 0; rows > 0 && j < n; ++j) {
    for (std::ptrdiff_t i = 0; i < rows; ++i) {
      V[i + j * job.ldC] = VT[static_cast<std::size_t>(j + i * n)];
    }
  }
  writeData(job, projectData(job.m, n, U, job.ldK, job.d));
}

SvdFactors KeptArrays::factorsFor(int m, int n) {
  if (m != m_ || n != n_) {
    const auto rows = static_cast<std::size_t>(extent(m));
    const auto columns = static_cast<std::size_t>(extent(n));
    // Emptied first, so that old and new arrays are never held at once.
    U_ = std::vector<float>();
    VT_ = std::vector<float>();
    S_ = std::vector<float>();
    U_.resize(rows * columns);
    VT_.resize(columns * columns);
    S_.resize(columns);
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
