// The stubs answer zeros and touch nothing else.
#include <gtest/gtest.h>

#include <vector>

#include "vorin.h"

namespace {

template <class Real, class Stub>
void expectZeros(Stub stub) {
  const std::vector<Real> K = {1, 2, 3, 4, 5, 6};
  const std::vector<Real> d = {7, 8};
  std::vector<Real> f = {9, 9, 9, 9};
  Real w = Real(0.125);
  Real rss = 5;
  Real rssSlope = 6;
  int32_t status = -7;
  stub(2, 3, K.data(), d.data(), f.data(), &w, &rss, &rssSlope, &status);
  EXPECT_EQ(f, (std::vector<Real>{0, 0, 0, 9}));
  EXPECT_EQ(rss, Real(0));
  EXPECT_EQ(rssSlope, Real(0));
  EXPECT_EQ(status, 0);
  EXPECT_EQ(w, Real(0.125));
  // No sizes, and nothing to look at.
  status = -7;
  stub(-1, -1, nullptr, nullptr, nullptr, nullptr, &rss, &rssSlope, &status);
  EXPECT_EQ(status, 0);
}

TEST(Debug2, RequiredSingleFormLeavesTheWeightAsItFoundIt) {
  expectZeros<float>(debug2_sp);
}

TEST(Debug2, DoubleFormAnswersZeros) {
  expectZeros<double>(debug2_dp);
}

}  // namespace
