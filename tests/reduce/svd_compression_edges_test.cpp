// The compression at the edges of its rule, in place, on factors of an earlier call,
// and on input that has no decomposition.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "reduce/svd_compression.hpp"
#include "support/compression.hpp"
#include "support/problems.hpp"

namespace {

using namespace vorin::test;

// A diagonal kernel of powers of two, whose decomposition is exact: S is the diagonal.
CompressionCall diagonal(const std::vector<float>& values) {
  const int n = static_cast<int>(values.size());
  CompressionCall call{n, n, n, n, std::vector<float>(area(n, n)), {}, -1.0f, n};
  for (int i = 0; i < n; ++i) {
    call.K[static_cast<std::size_t>(i) + area(n, i)] = values[static_cast<std::size_t>(i)];
    call.d.push_back(static_cast<float>(i + 1));
  }
  return call;
}

int countOf(Variant variant, CompressionCall call, float SVDT, int SVDN) {
  call.SVDT = SVDT;
  call.SVDN = SVDN;
  return compress(variant, call).count;
}

TEST(CompSvdEdges, RatioEqualToTheThresholdIsNotKept) {
  const CompressionCall call = diagonal({8.0f, 4.0f, 2.0f, 1.0f});
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    EXPECT_EQ(countOf(variant, call, 0.25f, 4), 2);
    EXPECT_EQ(countOf(variant, call, std::nextafter(0.25f, 0.0f), 4), 3);
    EXPECT_EQ(countOf(variant, call, std::nextafter(0.25f, 1.0f), 4), 2);
    EXPECT_EQ(countOf(variant, call, 0.125f, 4), 3);
    EXPECT_EQ(countOf(variant, call, 0.5f, 4), 1);
  }
}

TEST(CompSvdEdges, ThresholdZeroKeepsAllNonZeroValues) {
  const CompressionCall call = diagonal({8.0f, 1e-30f, 2.0f, 0.0f, 0.0f});
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    EXPECT_EQ(countOf(variant, call, 0.0f, 5), 3);
    EXPECT_EQ(countOf(variant, call, 0.0f, 2), 2);
  }
}

TEST(CompSvdEdges, NegativeThresholdKeepsAllThatSvdnAllows) {
  const CompressionCall call = diagonal({8.0f, 2.0f, 0.0f, 0.0f});
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    for (int SVDN = 1; SVDN <= 4; ++SVDN) {
      EXPECT_EQ(countOf(variant, call, -1e-6f, SVDN), SVDN);
    }
  }
}

TEST(CompSvdEdges, TheLoadValueOfTheThresholdKeepsOneRow) {
  const CompressionCall call = diagonal({8.0f, 8.0f, 8.0f});
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    EXPECT_EQ(countOf(variant, call, 999.0f, 3), 1);
    EXPECT_EQ(countOf(variant, call, 1.0f, 3), 1);
    EXPECT_EQ(countOf(variant, call, 0.99f, 3), 3);
    EXPECT_EQ(countOf(variant, call, std::numeric_limits<float>::quiet_NaN(), 3), 1);
  }
}

TEST(CompSvdEdges, SvdnOfZeroOrBelowKeepsOneRow) {
  const CompressionCall call = diagonal({8.0f, 4.0f, 2.0f});
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    for (const float SVDT : {-1.0f, 0.0f, 0.1f, 999.0f}) {
      EXPECT_EQ(countOf(variant, call, SVDT, 0), 1);
      EXPECT_EQ(countOf(variant, call, SVDT, -5), 1);
      EXPECT_EQ(countOf(variant, call, SVDT, std::numeric_limits<int>::min()), 1);
    }
  }
}

TEST(CompSvdEdges, SvdnAboveTheColumnsCountsAsTheColumns) {
  CompressionCall call = widened(diagonal({8.0f, 4.0f, 2.0f}), 0, 10);
  for (const Variant variant : truncatingVariants) {
    EXPECT_EQ(countOf(variant, call, -1.0f, 13), 3) << nameOf(variant);
  }
}

TEST(CompSvdEdges, SvdnEqualToTheCapacityPassesAndOneMoreIsRefused) {
  for (const Variant variant : allVariants) {
    SCOPED_TRACE(nameOf(variant));
    CompressionCall call = widened(diagonal({8.0f, 4.0f, 2.0f}), 1, 2);
    call.SVDN = call.ldC;
    EXPECT_EQ(compress(variant, call).status, VORIN_COMP_OK);
    call.SVDN = call.ldC + 1;
    const Compressed refused = compress(variant, call);
    EXPECT_EQ(refused.status, VORIN_COMP_ROWS_ABOVE_CAPACITY);
    EXPECT_EQ(refused.count, untouchedInt);
    EXPECT_EQ(refused.Kc, std::vector<float>(refused.Kc.size(), untouched));
    EXPECT_EQ(refused.dc, std::vector<float>(refused.dc.size(), untouched));
    EXPECT_EQ(refused.factors.S, std::vector<float>(refused.factors.S.size(), untouched));
  }
}

TEST(CompSvdEdges, UntruncatedFormLeavesKernelAloneWhenItRefuses) {
  CompressionCall call = diagonal({8.0f, 4.0f, 2.0f});
  call.SVDN = 4;
  const Compressed refused = compress(Variant::untruncated, call);
  EXPECT_EQ(refused.factors.U, call.K);
}

TEST(CompSvdEdges, ARankOneKernelKeepsOneRow) {
  // Columns that are powers of two of one another: the rest of the matrix after one
  // reflection is zero up to rounding.
  const auto base = randomProblem<float>(30, 1, 41);
  CompressionCall call{30, 6, 30, 6, {}, base.d, 1e-5f, 6};
  for (int j = 0; j < 6; ++j) {
    for (const float value : base.K) {
      call.K.push_back(std::ldexp(value, j));
    }
  }
  for (const Variant variant : truncatingVariants) {
    EXPECT_EQ(compress(variant, call).count, 1) << nameOf(variant);
  }
}

TEST(CompSvdEdges, AKernelOfZerosKeepsOneRow) {
  const CompressionCall call = diagonal({0.0f, 0.0f, 0.0f});
  for (const Variant variant : truncatingVariants) {
    SCOPED_TRACE(nameOf(variant));
    EXPECT_EQ(countOf(variant, call, -1.0f, 3), 1);
    const Compressed out = compress(variant, call);
    EXPECT_EQ(out.status, VORIN_COMP_OK);
    EXPECT_EQ(out.Kc, std::vector<float>(9, 0.0f));
  }
}

TEST(CompSvdEdges, UntruncatedFormRepeatsSvdnAndFillsAllRows) {
  for (const int SVDN : {2, 0, -3, 5}) {
    CompressionCall call = callOf(randomProblem<float>(12, 5, 42));
    call.SVDN = SVDN;
    call.SVDT = 999.0f;
    const Compressed out = compress(Variant::untruncated, call);
    EXPECT_EQ(out.status, VORIN_COMP_OK);
    EXPECT_EQ(out.count, SVDN);
    EXPECT_TRUE(std::none_of(out.Kc.begin(), out.Kc.end(), [](float v) { return v == 0.0f; }));
    EXPECT_TRUE(std::none_of(out.dc.begin(), out.dc.end(), [](float v) { return v == 0.0f; }));
  }
}

TEST(CompSvdEdges, ShortScratchIsRefusedBeforeTheCapacityIsLookedAt) {
  CompressionCall call = diagonal({8.0f, 4.0f, 2.0f});
  for (const int SVDN : {3, 4}) {
    call.SVDN = SVDN;
    const Compressed refused =
        compressScratch(call, VORIN_COMP_DECOMPOSE, emptyFactors(call), /*lacking=*/1);
    EXPECT_EQ(refused.status, VORIN_COMP_SCRATCH_TOO_SMALL);
    EXPECT_EQ(refused.count, untouchedInt);
    EXPECT_EQ(refused.Kc, std::vector<float>(9, untouched));
    EXPECT_EQ(refused.dc, std::vector<float>(3, untouched));
    EXPECT_EQ(refused.factors.S, std::vector<float>(3, untouched));
    EXPECT_EQ(compressScratch(call, 0, emptyFactors(call), 1).status, VORIN_COMP_SCRATCH_TOO_SMALL);
  }
}

TEST(CompSvdEdges, ScratchNeedIsCountedBeyondThirtyTwoBits) {
  // n * n + n * m of these sizes is 0 in 32 bits.
  const std::int32_t n = 1 << 16;
  const std::int32_t length = 1 << 20;
  const std::int32_t mode = 1;
  const float SVDT = 0.0f;
  const std::int32_t SVDN = 1;
  std::int32_t count = untouchedInt;
  std::int32_t status = untouchedInt;
  float one = 0.0f;
  VorinCompSVD3_s(&mode, &length, &n, &n, &n, &n, &one, &one, &SVDT, &SVDN, &count, &one, &one,
                  &one, &status);
  EXPECT_EQ(status, VORIN_COMP_SCRATCH_TOO_SMALL);
}

TEST(CompSvdEdges, RowsBelowZeroDontLeadPastAShortScratch) {
  // The rule asks for 4 + 16 - 8 elements; S and V' alone take 20.
  const std::int32_t m = -2;
  const std::int32_t n = 4;
  const std::int32_t mode = VORIN_COMP_DECOMPOSE;
  const float SVDT = 0.0f;
  const std::int32_t SVDN = 4;
  for (const std::int32_t length : {11, 12, 19, 20}) {
    SCOPED_TRACE(length);
    const auto size = static_cast<std::size_t>(length);
    std::vector<float> Kc(16, untouched), dc(4, untouched), scratch(size + 20, untouched);
    std::int32_t count = untouchedInt;
    std::int32_t status = untouchedInt;
    VorinCompSVD3_s(&mode, &length, &m, &n, &n, &n, Kc.data(), dc.data(), &SVDT, &SVDN, &count,
                    Kc.data(), dc.data(), scratch.data(), &status);
    EXPECT_EQ(status, length < 12 ? VORIN_COMP_SCRATCH_TOO_SMALL : VORIN_COMP_OK);
    EXPECT_EQ(Kc, std::vector<float>(16, length < 12 ? untouched : 0.0f));
    EXPECT_EQ(std::vector<float>(scratch.begin() + length, scratch.end()),
              std::vector<float>(20, untouched));
  }
}

TEST(CompSvdEdges, InPlaceCallsGiveTheSameAsSeparateArrays) {
  for (const float SVDT : {-1.0f, 0.05f}) {
    CompressionCall call = callOf(laplaceProblem<float>(70, 20, 0.01, 51));
    call.ldC = call.ldK;  // the compressed kernel on the kernel's own columns
    call.SVDT = SVDT;
    const Compressed expected = compress(Variant::kept, call);
    for (const Variant variant : truncatingVariants) {
      SCOPED_TRACE(nameOf(variant));
      std::vector<float> K = call.K;
      std::vector<float> d = call.d;
      std::int32_t count = 0;
      std::int32_t status = -1;
      const std::int32_t mode = 1;
      const std::int32_t length = scratchNeeded(call);
      std::vector<float> scratch(static_cast<std::size_t>(length));
      Factors f = emptyFactors(call);
      if (variant == Variant::kept) {
        VorinCompSVD_s(call.m, call.n, call.ldK, call.ldC, K.data(), d.data(), SVDT, call.SVDN,
                       &count, K.data(), d.data(), &status);
      } else if (variant == Variant::scratch) {
        VorinCompSVD3_s(&mode, &length, &call.m, &call.n, &call.ldK, &call.ldC, K.data(), d.data(),
                        &SVDT, &call.SVDN, &count, K.data(), d.data(), scratch.data(), &status);
      } else {
        VorinCompSVD3z_s(&mode, &call.m, &call.n, &call.ldK, &call.ldC, K.data(), d.data(), &SVDT,
                         &call.SVDN, &count, K.data(), d.data(), f.U.data(), f.VT.data(),
                         f.S.data(), &status);
      }
      EXPECT_EQ(status, VORIN_COMP_OK);
      EXPECT_EQ(count, expected.count);
      for (std::size_t j = 0; j < 20; ++j) {
        for (std::size_t i = 0; i < 70; ++i) {
          // Rows past n keep the kernel.
          EXPECT_EQ(K[i + j * 70], i < 20 ? expected.Kc[i + j * 70] : call.K[i + j * 70]);
        }
      }
      for (std::size_t i = 0; i < 70; ++i) {
        EXPECT_EQ(d[i], i < 20 ? expected.dc[i] : call.d[i]);
      }
    }
  }
}

TEST(CompSvdEdges, FactorsOfAnEarlierCallServeASecondDataVector) {
  CompressionCall first = callOf(laplaceProblem<float>(60, 18, 0.01, 61));
  first.SVDT = 0.001f;
  CompressionCall second = first;
  second.d = laplaceProblem<float>(60, 18, 0.05, 62).d;
  const Compressed expected = compress(Variant::kept, second);
  // A kernel that is not a number: a second decomposition would show it.
  std::fill(second.K.begin(), second.K.end(), std::numeric_limits<float>::quiet_NaN());
  for (const std::int32_t mode : {0, 2, -1}) {
    const Factors scratch = compress(Variant::scratch, first).factors;
    const Factors arrays = compress(Variant::arrays, first).factors;
    for (const Compressed& out :
         {compressScratch(second, mode, scratch), compressArrays(second, mode, arrays)}) {
      EXPECT_EQ(out.count, expected.count);
      EXPECT_EQ(out.Kc, expected.Kc);
      EXPECT_EQ(out.dc, expected.dc);
      EXPECT_EQ(out.factors.S, scratch.S);
    }
  }
}

TEST(CompSvdEdges, GivenFactorsAreProjectedAsTheFormulaSays) {
  // Factors that no kernel has, m = 3, n = 2: S = (4, 1), U and V' plain numbers.
  const Factors f{{1, 2, 3, 4, 5, 6}, {10, 20, 30, 40}, {4, 1}};
  const CompressionCall call{3, 2, 3, 2, {}, {1, 10, 100}, 0.25f, 2};
  for (const Compressed& out : {compressScratch(call, 0, f), compressArrays(call, 0, f)}) {
    EXPECT_EQ(out.count, 1);
    EXPECT_EQ(out.Kc, (std::vector<float>{40, 0, 120, 0}));
    EXPECT_EQ(out.dc, (std::vector<float>{321, 0}));
  }
}

TEST(CompSvdEdges, RequiredGivenFactorsLeaveAGoodStatusUnwritten) {
  const Factors f{{1}, {1}, {4}};
  const CompressionCall call{1, 1, 1, 1, {}, {1}, 0.0f, 1};
  EXPECT_EQ(compressScratch(call, 0, f).status, untouchedInt);
  EXPECT_EQ(compressArrays(call, 0, f).status, untouchedInt);
  EXPECT_EQ(compressArrays(call, 0, f).count, 1);
}

TEST(CompSvdEdges, GivenFactorsAreNotUsedWhenSvdnIsAboveTheCapacity) {
  const Factors f{{1}, {1}, {4}};
  const CompressionCall call{1, 1, 1, 1, {}, {1}, 0.0f, 2};
  for (const Compressed& out : {compressScratch(call, 0, f), compressArrays(call, 0, f)}) {
    EXPECT_EQ(out.status, VORIN_COMP_ROWS_ABOVE_CAPACITY);
    EXPECT_EQ(out.count, untouchedInt);
  }
}

TEST(CompSvdEdges, CountAndSvdnMayShareAnAddress) {
  CompressionCall call = diagonal({8.0f, 4.0f, 2.0f});
  Factors f = emptyFactors(call);
  const std::int32_t mode = 1;
  const float SVDT = 0.3f;
  std::int32_t shared = 3;
  std::int32_t status = -1;
  Compressed out(call);
  VorinCompSVD3z_s(&mode, &call.m, &call.n, &call.ldK, &call.ldC, call.K.data(), call.d.data(),
                   &SVDT, &shared, &shared, out.Kc.data(), out.dc.data(), f.U.data(), f.VT.data(),
                   f.S.data(), &status);
  EXPECT_EQ(shared, 2);
}

TEST(CompSvdEdges, KeptArraysStayWhileTheShapeHolds) {
  const auto addresses = [](const CompressionCall& call) {
    compress(Variant::kept, call);
    return vorin::reduce::keptArrays().factorsFor(call.m, call.n);
  };
  const CompressionCall call = callOf(randomProblem<float>(40, 10, 71));
  const auto first = addresses(call);
  const auto again = addresses(callOf(randomProblem<float>(40, 10, 72)));
  EXPECT_EQ(first.U, again.U);
  EXPECT_EQ(first.VT, again.VT);
  EXPECT_EQ(first.S, again.S);
  // New arrays, which may get old addresses, would hold zeros.
  EXPECT_GT(vorin::reduce::keptArrays().factorsFor(40, 10).S[0], 0.0f);
  // A refused call asks for its shape all the same.
  CompressionCall refused = call;
  refused.SVDN = refused.ldC + 1;
  EXPECT_EQ(addresses(refused).U, first.U);
}

TEST(CompSvdEdges, KeptArraysGrowWithTheKernel) {
  // The larger call would overrun arrays of the smaller one.
  for (const int m : {20, 400, 15}) {
    const CompressionCall call = callOf(randomProblem<float>(m, 12, 73));
    const Compressed kept = compress(Variant::kept, call);
    const Compressed arrays = compress(Variant::arrays, call);
    EXPECT_EQ(kept.Kc, arrays.Kc);
    EXPECT_EQ(kept.dc, arrays.dc);
  }
}

TEST(CompSvdEdges, ACapacityBelowTheColumnsIsNotWrittenPast) {
  for (const Variant variant : allVariants) {
    SCOPED_TRACE(nameOf(variant));
    CompressionCall call = callOf(randomProblem<float>(30, 10, 81));
    const Compressed wide = compress(variant, call);
    call.ldC = 4;
    call.SVDN = 3;
    const Compressed out = compress(variant, call);
    EXPECT_EQ(out.status, VORIN_COMP_OK);
    EXPECT_EQ(out.count, 3);
    for (std::size_t j = 0; j < 10; ++j) {
      for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(out.Kc[i + j * 4], wide.Kc[i + j * 10]);
      }
      if (variant != Variant::untruncated) {
        EXPECT_EQ(out.Kc[3 + j * 4], 0.0f);
      }
    }
  }
}

TEST(CompSvdEdges, EmptyProblemsKeepOneRowAndWriteNothing) {
  for (const Variant variant : allVariants) {
    for (const int n : {0, -3}) {
      SCOPED_TRACE(nameOf(variant));
      CompressionCall call{5, n, 5, 0, {}, std::vector<float>(5, 1.0f), 0.0f, 0};
      const Compressed out = compress(variant, call);
      EXPECT_EQ(out.status, VORIN_COMP_OK);
      EXPECT_EQ(out.count, variant == Variant::untruncated ? 0 : 1);
    }
  }
}

TEST(CompSvdEdges, AKernelWithoutRowsGivesZeros) {
  for (const Variant variant : allVariants) {
    for (const int m : {0, -2}) {
      SCOPED_TRACE(nameOf(variant));
      CompressionCall call{m, 3, 0, 3, {}, {}, 0.0f, 3};
      const Compressed out = compress(variant, call);
      EXPECT_EQ(out.status, VORIN_COMP_OK);
      EXPECT_EQ(out.count, variant == Variant::untruncated ? 3 : 1);
      EXPECT_EQ(out.Kc, std::vector<float>(9, 0.0f));
      EXPECT_EQ(out.dc, std::vector<float>(3, 0.0f));
    }
  }
}

TEST(CompSvdEdges, AKernelThatIsNotFiniteEndsWithOneRow) {
  for (const Variant variant : truncatingVariants) {
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
          -std::numeric_limits<float>::infinity()}) {
      SCOPED_TRACE(nameOf(variant));
      CompressionCall call = callOf(randomProblem<float>(20, 8, 91));
      call.K[37] = bad;
      const Compressed out = compress(variant, call);
      EXPECT_EQ(out.status, VORIN_COMP_OK);
      EXPECT_EQ(out.count, 1);
      EXPECT_TRUE(std::isnan(out.Kc[0]));
      EXPECT_TRUE(std::isnan(out.dc[0]));
      EXPECT_EQ(out.Kc[1], 0.0f);
    }
  }
}

TEST(CompSvdEdges, ExtremeButFiniteKernelsKeepTheirScale) {
  for (const float scale : {1e36f, 1e-36f}) {
    CompressionCall call = diagonal({4.0f * scale, scale});
    const Compressed out = compress(Variant::kept, call);
    EXPECT_EQ(out.count, 2);
    EXPECT_FLOAT_EQ(std::abs(out.Kc[0]), 4.0f * scale);
    EXPECT_FLOAT_EQ(std::abs(out.Kc[3]), scale);
  }
}

}  // namespace
