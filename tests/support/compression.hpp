// One call of each exported compression over the same description of a problem.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/problems.hpp"
#include "vorin.h"

namespace vorin::test {

/// What outputs hold before a call.
inline constexpr float untouched = -123.0f;
inline constexpr std::int32_t untouchedInt = -77;

struct CompressionCall {
  int m = 0;
  int n = 0;
  int ldK = 0;
  int ldC = 0;
  std::vector<float> K;  ///< ldK x n
  std::vector<float> d;
  float SVDT = -1.0f;
  int SVDN = 0;
};

/// The problem with exact leading dimensions and room for all rows.
inline CompressionCall callOf(const TestProblem<float>& problem) {
  return {problem.m, problem.n, problem.m, problem.n, problem.K, problem.d, -1.0f, problem.n};
}

/// The same with leading dimensions larger than the rows; the gap of K holds NaN, so
/// that a routine that reads it shows it.
inline CompressionCall widened(const CompressionCall& call, int moreK, int moreC) {
  CompressionCall wide = call;
  wide.ldK = call.ldK + moreK;
  wide.ldC = call.ldC + moreC;
  wide.K.assign(area(wide.ldK, call.n), std::numeric_limits<float>::quiet_NaN());
  for (std::size_t j = 0; j < static_cast<std::size_t>(call.n); ++j) {
    std::copy_n(call.K.begin() + static_cast<std::ptrdiff_t>(j) * call.ldK, call.m,
                wide.K.begin() + static_cast<std::ptrdiff_t>(j) * wide.ldK);
  }
  return wide;
}

struct Factors {
  std::vector<float> U, VT, S;
};

struct Compressed {
  std::int32_t count = untouchedInt;
  std::int32_t status = untouchedInt;
  std::vector<float> Kc;  ///< ldC x n
  std::vector<float> dc;  ///< n
  Factors factors = {};   ///< where the routine gives them; V' for V

  explicit Compressed(const CompressionCall& call)
      : Kc(area(std::max(call.ldC, 0), std::max(call.n, 0)), untouched),
        dc(static_cast<std::size_t>(std::max(call.n, 0)), untouched) {}
};

enum class Variant { kept, untruncated, scratch, arrays };
inline constexpr Variant allVariants[] = {Variant::kept, Variant::untruncated, Variant::scratch,
                                          Variant::arrays};
inline constexpr Variant truncatingVariants[] = {Variant::kept, Variant::scratch, Variant::arrays};

inline std::string nameOf(Variant variant) {
  switch (variant) {
    case Variant::kept:
      return "VorinCompSVD_s";
    case Variant::untruncated:
      return "VorinCompSVD2_s";
    case Variant::scratch:
      return "VorinCompSVD3_s";
    default:
      return "VorinCompSVD3z_s";
  }
}

inline Factors emptyFactors(const CompressionCall& call) {
  const int m = std::max(call.m, 0);
  const int n = std::max(call.n, 0);
  return {std::vector<float>(area(m, n), untouched), std::vector<float>(area(n, n), untouched),
          std::vector<float>(static_cast<std::size_t>(n), untouched)};
}

inline Compressed compressKept(const CompressionCall& call) {
  Compressed out(call);
  VorinCompSVD_s(call.m, call.n, call.ldK, call.ldC, call.K.data(), call.d.data(), call.SVDT,
                 call.SVDN, &out.count, out.Kc.data(), out.dc.data(), &out.status);
  return out;
}

inline Compressed compressUntruncated(const CompressionCall& call) {
  Compressed out(call);
  out.factors = emptyFactors(call);
  std::vector<float> K = call.K;
  std::vector<float> V(area(std::max(call.ldC, 0), std::max(call.n, 0)), untouched);
  VorinCompSVD2_s(call.m, call.n, call.ldK, call.ldC, K.data(), call.d.data(), call.SVDT, call.SVDN,
                  &out.count, out.Kc.data(), out.dc.data(), V.data(), out.factors.S.data(),
                  &out.status);
  for (int j = 0; j < call.n; ++j) {
    for (int i = 0; i < call.m; ++i) {
      out.factors.U[area(call.m, j) + static_cast<std::size_t>(i)] =
          K[area(call.ldK, j) + static_cast<std::size_t>(i)];
    }
    for (int i = 0; i < std::min(call.n, call.ldC); ++i) {
      out.factors.VT[area(call.n, i) + static_cast<std::size_t>(j)] =
          V[area(call.ldC, j) + static_cast<std::size_t>(i)];
    }
  }
  return out;
}

inline Compressed compressArrays(const CompressionCall& call, std::int32_t mode,
                                 const Factors& factors) {
  Compressed out(call);
  out.factors = factors;
  VorinCompSVD3z_s(&mode, &call.m, &call.n, &call.ldK, &call.ldC, call.K.data(), call.d.data(),
                   &call.SVDT, &call.SVDN, &out.count, out.Kc.data(), out.dc.data(),
                   out.factors.U.data(), out.factors.VT.data(), out.factors.S.data(), &out.status);
  return out;
}

/// The least scratch of VorinCompSVD3_s.
inline std::int32_t scratchNeeded(const CompressionCall& call) {
  return call.n + call.n * call.n + call.n * call.m;
}

inline Compressed compressScratch(const CompressionCall& call, std::int32_t mode,
                                  const Factors& factors, std::int32_t lacking = 0) {
  Compressed out(call);
  std::vector<float> scratch = factors.S;
  scratch.insert(scratch.end(), factors.U.begin(), factors.U.end());
  scratch.insert(scratch.end(), factors.VT.begin(), factors.VT.end());
  const std::int32_t length = scratchNeeded(call) - lacking;
  VorinCompSVD3_s(&mode, &length, &call.m, &call.n, &call.ldK, &call.ldC, call.K.data(),
                  call.d.data(), &call.SVDT, &call.SVDN, &out.count, out.Kc.data(), out.dc.data(),
                  scratch.data(), &out.status);
  const auto n = static_cast<std::ptrdiff_t>(factors.S.size());
  const auto endOfU = n + static_cast<std::ptrdiff_t>(factors.U.size());
  out.factors.S.assign(scratch.begin(), scratch.begin() + n);
  out.factors.U.assign(scratch.begin() + n, scratch.begin() + endOfU);
  out.factors.VT.assign(scratch.begin() + endOfU, scratch.end());
  return out;
}

inline Compressed compress(Variant variant, const CompressionCall& call) {
  switch (variant) {
    case Variant::kept:
      return compressKept(call);
    case Variant::untruncated:
      return compressUntruncated(call);
    case Variant::scratch:
      return compressScratch(call, VORIN_COMP_DECOMPOSE, emptyFactors(call));
    default:
      return compressArrays(call, VORIN_COMP_DECOMPOSE, emptyFactors(call));
  }
}

}  // namespace vorin::test
