// SVD compression: a kernel of many rows and few independent directions becomes one
// of at most n rows.
//
// With K = U S V', the residual of any f splits into a part that f can change and a
// part that it cannot, so
//
//     Kc = S V',   dc = U' d
//
// have the same minimiser as K and d. Rows that belong to small singular values are
// dropped (truncated SVD: Hansen, BIT 27, 534, 1987). All four exports are this one
// algorithm; they differ in where the factors are kept.
#pragma once

#include <cstdint>
#include <vector>

namespace vorin::reduce {

enum CompressionStatus : std::int32_t {
  compressed = 0,
  rowsAboveCapacity = 2,   ///< more rows asked for than Kc has; nothing written
  scratchTooSmall = 1000,  ///< nothing written
};

/// The mode that decomposes; any other one takes the factors as they are.
inline constexpr int decomposeMode = 1;

/// One problem and where its compressed form goes. Kc may be K, and dc may be d.
struct Compression {
  int m = 0;                 ///< rows of K in use, length of d
  int n = 0;                 ///< columns of K
  int ldK = 0;               ///< leading dimension of K
  int ldC = 0;               ///< leading dimension of Kc, the most rows to keep
  const float* K = nullptr;  ///< read by the modes that decompose
  const float* d = nullptr;
  float threshold = 0.0f;  ///< SVDT: keep rows while S[i] / S[0] is above it
  int mostRows = 0;        ///< SVDN: keep no more rows than this
  float* Kc = nullptr;     ///< ldC by n; rows above the count are zeroed up to n
  float* dc = nullptr;     ///< elements above the count are zeroed up to dcLength
  int dcLength = 0;        ///< elements of dc: n, or fewer when dc has no room for n
};

/// Where the factors of one kernel stand.
struct SvdFactors {
  float* U = nullptr;   ///< m by n, contiguous
  float* VT = nullptr;  ///< n by n, V' and not V
  float* S = nullptr;   ///< n, the largest first
};

/// Rows to keep: the last one, of the first min(n, mostRows), whose singular value is
/// above `threshold` times the largest. The test is strict, and the answer is never
/// below 1: nothing is above a threshold of 1 or more, and then, with a largest value
/// of 0 (every ratio is 0/0), or with mostRows below 1, one row stays.
int keptRows(int n, const float* S, float threshold, int mostRows);

/// Compresses by way of `factors`, which are the caller's.
///   count   out: rows kept; as it was when the capacity is refused
///   status  out: compressed or rowsAboveCapacity. Required: with a mode that does
///           not decompose, a good end leaves it alone; clearing it is a step of the
///           decomposition.
void compress(int mode, const Compression& job, const SvdFactors& factors, std::int32_t& count,
              std::int32_t& status);

/// The same with factors in one array of the caller's: S (n), U (m by n), VT (n by n).
/// An array that is too short is refused before the capacity is looked at.
void compressInScratch(int mode, const Compression& job, float* scratch, std::int64_t scratchLength,
                       std::int32_t& count, std::int32_t& status);

/// The same with the library's own arrays, which stay allocated while the shape holds.
void compressInKeptArrays(const Compression& job, std::int32_t& count, std::int32_t& status);

/// The same for callers to whom the signs of the rows do not matter: by way of the kernel's
/// triangular factor (see pivoted_cholesky.hpp), whose rows may have the opposite sign. False,
/// with nothing written, where that does not serve: with thresholds below 1e-6, where rounding
/// decides which rows are kept, for kernels that are not finite, empty or zero, and where the
/// capacity refuses.
bool compressWithoutFactors(const Compression& job, std::int32_t& count, std::int32_t& status);

/// No truncation: `threshold` is not looked at, all n rows of Kc and dc are filled.
///   U       in and out, ldK by n: the kernel, overwritten by the left vectors
///   V       out, leading dimension ldC: V, and not V'
///   S       out, n
///   count   out. Required: mostRows as given, although n rows are filled; hosts pass
///           on the count they asked for.
void compressInPlace(const Compression& job, float* U, float* V, float* S, std::int32_t& count,
                     std::int32_t& status);

/// The arrays that compressInKeptArrays works in. Nothing reads them between calls.
class KeptArrays {
 public:
  /// Factors for this shape: the arrays there are if they have it, else new ones.
  SvdFactors factorsFor(int m, int n);

 private:
  int m_ = -1;
  int n_ = -1;
  std::vector<float> U_;
  std::vector<float> VT_;
  std::vector<float> S_;
};

/// The one object of them.
KeptArrays& keptArrays();

}  // namespace vorin::reduce
