// Solves by the quadratic program for tests: each on a problem of its own, with everything
// that it returns compared bit by bit.
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

inline std::size_t length(int count) {
  return static_cast<std::size_t>(std::max(count, 0));
}

/// One solve on a problem of its own; f and c hold `before` as the call begins.
inline Solved solve(const TestProblem<double>& data, double w,
                    double before = std::numeric_limits<double>::quiet_NaN()) {
  brd::Problem<double> problem(data.m, data.n, data.K.data(), data.d.data());
  Solved out{
      std::vector<double>(length(data.n), before), std::vector<double>(length(data.m), before), {}};
  out.result = brd::vrBRD_qp_d(problem.quadraticProgram(), out.f.data(), out.c.data(), w);
  return out;
}

/// The steps after the quadratic program, for a given f.
inline Solved finish(const TestProblem<double>& data, double w, std::vector<double> f,
                     std::int32_t status = 0) {
  brd::Problem<double> problem(data.m, data.n, data.K.data(), data.d.data());
  Solved out{std::move(f), std::vector<double>(length(data.m)), {}};
  out.result =
      brd::finishQuadraticProgram(problem.doublePrecision(), out.f.data(), out.c.data(), w, status);
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
