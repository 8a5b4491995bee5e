// Solves by the third route as the tests make them: with arrays of their own, and with
// everything that a solve delivers compared bit by bit.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "brd/problem.hpp"
#include "brd/qp_route.hpp"
#include "support/problems.hpp"

namespace vorin::test {

struct Solved {
  std::vector<double> f;
  std::vector<double> c;
  brd::Solution<double> result;
};

/// For its lifetime the closing system is the m-by-m one, with the sums that its
/// definition states; otherwise a smaller one that is equal in exact arithmetic may stand
/// in for it.
class PlainClosing {
 public:
  PlainClosing() { brd::System<double>::plainRoad() = true; }
  ~PlainClosing() { brd::System<double>::plainRoad() = false; }
  PlainClosing(const PlainClosing&) = delete;
  PlainClosing& operator=(const PlainClosing&) = delete;
};

inline std::size_t length(int count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

/// One solve on a problem of its own; f and c hold `before` as the call begins.
inline Solved solve(const TestProblem<double>& data, double w,
                    double before = std::numeric_limits<double>::quiet_NaN()) {
  brd::Problem<double> problem(data.m, data.n, data.K.data(), data.d.data());
  Solved out{
      std::vector<double>(length(data.n), before), std::vector<double>(length(data.m), before), {}};
  out.result = brd::vrBRD_qp_d(problem.program(), out.f.data(), out.c.data(), w);
  return out;
}

/// The steps behind the quadratic program for a given f.
inline Solved close(const TestProblem<double>& data, double w, std::vector<double> f,
                    std::int32_t status = 0) {
  brd::Problem<double> problem(data.m, data.n, data.K.data(), data.d.data());
  Solved out{std::move(f), std::vector<double>(length(data.m)), {}};
  out.result = brd::closeQuadraticProgram(problem.twice(), out.f.data(), out.c.data(), w, status);
  return out;
}

inline void expectSameBits(const Solved& a, const Solved& b) {
  ASSERT_EQ(a.f.size(), b.f.size());
  ASSERT_EQ(a.c.size(), b.c.size());
  EXPECT_EQ(std::memcmp(a.f.data(), b.f.data(), a.f.size() * sizeof(double)), 0);
  EXPECT_EQ(std::memcmp(a.c.data(), b.c.data(), a.c.size() * sizeof(double)), 0);
  EXPECT_EQ(a.result.rss, b.result.rss);
  EXPECT_EQ(a.result.rssSlope, b.result.rssSlope);
  EXPECT_EQ(a.result.status, b.result.status);
}

}  // namespace vorin::test
