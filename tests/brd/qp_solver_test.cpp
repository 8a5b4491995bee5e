// nk0000 held to the conditions of the minimum, which for a strictly convex program say
// by themselves that an answer is the one minimiser.
#include "brd/qp_solver.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "brd/quadratic_programs.hpp"

namespace {

using vorin::brd::qpInfeasible;
using vorin::brd::qpLimitReached;
using vorin::brd::qpNotPositiveDefinite;
using vorin::brd::qpSolved;
using vorin::test::area;
using vorin::test::boundedProgram;
using vorin::test::ConstraintRows;
using vorin::test::departure;
using vorin::test::Departure;
using vorin::test::Minimum;
using vorin::test::Program;
using vorin::test::randomHessian;
using vorin::test::randomVector;
using vorin::test::solve;
using vorin::test::Uniform;
using Numbers = std::vector<double>;
using Integers = std::vector<std::int32_t>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

void expectMinimum(const Program& program, const Minimum& answer, double tolerance) {
  EXPECT_EQ(answer.status, qpSolved);
  const Departure found = departure(program, answer);
  EXPECT_LE(found.stationarity, tolerance);
  EXPECT_LE(found.violation, tolerance);
  EXPECT_LE(found.slack, tolerance);
  EXPECT_LE(found.wrongMultiplier, tolerance);
  EXPECT_TRUE(found.listIsSound);
}

// x >= 0: no element below 0, those at the bound exactly 0, and exactly those in the list.
void expectExactBounds(const Minimum& answer) {
  Integers zeros;
  for (std::size_t i = 0; i < answer.x.size(); ++i) {
    EXPECT_GE(answer.x[i], 0.0);
    if (answer.x[i] == 0.0) {
      zeros.push_back(static_cast<std::int32_t>(i) + 1);
    }
  }
  EXPECT_EQ(answer.count, static_cast<std::int32_t>(zeros.size()));
  zeros.resize(answer.x.size());
  EXPECT_EQ(answer.list, zeros);
}

TEST(Nk0000, AllArgumentsOfAProgramSolvedByHand) {
  // 1/2 (x1^2 + 2 x2^2) - x1 + 3 x2 over x >= 0: x = (1, 0), multiplier 3 of x2.
  const Minimum bounded = solve(boundedProgram(2, {1, 0, 0, 2}, {-1, 3}));
  EXPECT_EQ(bounded.status, 0);
  EXPECT_EQ(bounded.x, Numbers({1, 0}));
  EXPECT_EQ(bounded.objective, -0.5);
  EXPECT_EQ(bounded.count, 1);
  EXPECT_EQ(bounded.list, Integers({2, 0}));
  EXPECT_EQ(bounded.multipliers, Numbers({3, 0}));

  // 1/2 |x|^2 with x1 + x2 = 2 and x1 - x2 >= 1: x = (1.5, 0.5), by the gradient
  // (1.5, 0.5) = 1 (1, 1) + 0.5 (1, -1). Row i of A is constraint i.
  const Program general{2, 2, 1, {1, 1, 1, -1}, {2, 1}, {0, 0}, {1, 0, 0, 1}};
  const Minimum answer = solve(general);
  EXPECT_EQ(answer.status, 0);
  EXPECT_NEAR(answer.x[0], 1.5, 1e-15);
  EXPECT_NEAR(answer.x[1], 0.5, 1e-15);
  EXPECT_NEAR(answer.objective, 1.25, 1e-15);
  EXPECT_EQ(answer.count, 2);
  EXPECT_EQ(answer.list, Integers({1, 2}));
  EXPECT_NEAR(answer.multipliers[0], 1.0, 1e-15);
  EXPECT_NEAR(answer.multipliers[1], 0.5, 1e-15);
}

TEST(Nk0000, AnEqualityMayPushEitherWay) {
  // 1/2 |x|^2 + g'x with x1 = 1, from a free minimum at x1 = 3 and at x1 = -3.
  for (const double slope : {-3.0, 3.0}) {
    const Program program{2, 1, 1, {1, 0}, {1}, {slope, 0}, {1, 0, 0, 1}};
    const Minimum answer = solve(program);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.x, Numbers({1, 0}));
    EXPECT_EQ(answer.multipliers[0], 1 + slope);
  }
}

TEST(Nk0000, BoundsOnRandomProgramsOfEverySizeAndCondition) {
  for (int seed = 0; seed < 3000; ++seed) {
    Uniform uniform(static_cast<std::uint64_t>(seed) + 1);
    const int n = seed % 500 == 499 ? 300 - seed / 500 : 1 + seed * 7 % 60;
    const int rank = seed % 3 == 0 ? n / 2 + 1 : n + 5;
    Numbers Q = randomHessian(n, rank, std::pow(10.0, -(seed % 13)), uniform);
    const Program program = boundedProgram(n, std::move(Q), randomVector(n, uniform));
    const Minimum answer = solve(program);
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", n " << n);
    expectMinimum(program, answer, 1e-10);
    expectExactBounds(answer);
    if (HasFailure()) {
      return;
    }
  }
}

TEST(Nk0000, TheSameBoundsAsGeneralConstraintsGiveTheSameMinimum) {
  // One more row, which never binds, keeps the solver from seeing that only bounds are asked.
  for (int seed = 0; seed < 200; ++seed) {
    Uniform uniform(static_cast<std::uint64_t>(seed) + 77);
    const int n = 1 + seed % 30;
    const Program bounded =
        boundedProgram(n, randomHessian(n, n + 3, 0.1, uniform), randomVector(n, uniform));
    ConstraintRows rows(n);
    for (int i = 0; i < n; ++i) {
      Numbers row(static_cast<std::size_t>(n));
      row[static_cast<std::size_t>(i)] = 1.0;
      rows.add(row, 0.0);
    }
    rows.add(Numbers(static_cast<std::size_t>(n), 1.0), -1.0);
    const Minimum fast = solve(bounded);
    const Minimum general = solve(rows.program(0, bounded.Q, bounded.g));
    EXPECT_EQ(fast.status, 0);
    EXPECT_EQ(general.status, 0);
    const double largest = *std::max_element(fast.x.begin(), fast.x.end());
    for (std::size_t i = 0; i < fast.x.size(); ++i) {
      EXPECT_NEAR(general.x[i], fast.x[i], 1e-11 * largest) << seed;
    }
    EXPECT_NEAR(general.objective, fast.objective, 1e-12 * std::abs(fast.objective));
  }
}

TEST(Nk0000, ScalingAProgramByPowersOfTwoScalesItsMinimumExactly) {
  Uniform uniform(5);
  const int n = 25;
  const Program program =
      boundedProgram(n, randomHessian(n, 10, 1e-6, uniform), randomVector(n, uniform));
  const Minimum answer = solve(program);
  for (const double factor : {0x1p-80, 0x1p-20, 0x1p20, 0x1p80}) {
    Program scaled = program;
    for (double& value : scaled.g) {
      value *= factor;
    }
    const Minimum got = solve(scaled);
    EXPECT_EQ(got.status, 0);
    EXPECT_EQ(got.list, answer.list);
    for (std::size_t i = 0; i < got.x.size(); ++i) {
      EXPECT_EQ(got.x[i], answer.x[i] * factor);
    }
  }
}

// At a minimum where some elements are zero and so are their multipliers, rounding alone
// decides on which side of the bound they would fall.
TEST(Nk0000, ElementsThatAreZeroButForRoundingAreAtTheirBound) {
  int degenerate = 0;
  for (int seed = 0; seed < 500; ++seed) {
    Uniform uniform(static_cast<std::uint64_t>(seed) + 900);
    const int n = 2 + seed % 40;
    // A minimum with small whole numbers, reached exactly: g = -Q x with integer Q.
    Numbers Q = randomHessian(n, n + 2, 3.0, uniform);
    for (double& value : Q) {
      value = std::round(value * 64.0);
    }
    Numbers minimum(static_cast<std::size_t>(n));
    Numbers g(static_cast<std::size_t>(n));
    for (int j = 0; j < n; ++j) {
      minimum[static_cast<std::size_t>(j)] = j % 2 == 0 ? 1.0 + j % 3 : 0.0;
      degenerate += j % 2;
      for (int i = 0; i < n; ++i) {
        g[static_cast<std::size_t>(i)] -=
            Q[static_cast<std::size_t>(i) + area(n, j)] * minimum[static_cast<std::size_t>(j)];
      }
    }
    const Minimum answer = solve(boundedProgram(n, Q, g));
    EXPECT_EQ(answer.status, 0);
    for (std::size_t i = 0; i < minimum.size(); ++i) {
      if (minimum[i] == 0.0) {
        EXPECT_EQ(answer.x[i], 0.0) << seed;
      } else {
        EXPECT_NEAR(answer.x[i], minimum[i], 1e-11);
      }
    }
  }
  EXPECT_GT(degenerate, 4000);
}

// Equalities, slack and exactly met inequalities around a point that meets them all, with
// copies, multiples, parallels and opposites among them.
Program randomConstraints(int seed) {
  Uniform uniform(static_cast<std::uint64_t>(seed) + 1);
  const int n = 1 + seed % 30;
  Numbers Q = randomHessian(n, n + 3, std::pow(10.0, 2.0 - seed % 5 * 2.0), uniform);
  Numbers g = randomVector(n, uniform);
  for (double& value : g) {
    value *= 10.0;
  }
  const Numbers point = randomVector(n, uniform);
  const auto addThroughPoint = [&](ConstraintRows& rows, double slack) {
    const Numbers row = randomVector(n, uniform);
    double value = 0.0;
    for (std::size_t j = 0; j < row.size(); ++j) {
      value += row[j] * point[j];
    }
    rows.add(row, value - slack);
  };
  ConstraintRows rows(n);
  if (seed % 4 == 0) {
    for (int k = 0; k < n / 2; ++k) {
      addThroughPoint(rows, 0.0);
      if (k % 3 == 2) {
        rows.addMultiple(rows.count() - 2, -2.0, 0.0);  // the same equality once more
      }
    }
  }
  const int equalities = rows.count();
  const int inequalities = 1 + static_cast<int>(1.5 * n * (1.0 + uniform()));
  for (int k = 0; k < inequalities; ++k) {
    addThroughPoint(rows, uniform() > 0.3 ? 0.0 : 0.5 * (1.0 + uniform()));
  }
  for (int k = 0; k < n / 2; ++k) {
    const int source = static_cast<int>((rows.count() - 1) * (1.0 + uniform()) / 2.0);
    switch (k % 4) {
      case 0:
        rows.addMultiple(source, 1.0, 0.0);
        break;
      case 1:
        rows.addMultiple(source, 1.01 + uniform(), 0.0);
        break;
      case 2:
        rows.addMultiple(source, 1.0, -0.1);
        break;
      default:
        rows.addMultiple(source, -1.0, -5.0);
    }
  }
  return rows.program(equalities, std::move(Q), std::move(g));
}

TEST(Nk0000, GeneralConstraintsWithEqualitiesCopiesAndParallels) {
  int active = 0;
  for (int seed = 0; seed < 4000; ++seed) {
    const Program program = randomConstraints(seed);
    const Minimum answer = solve(program);
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    expectMinimum(program, answer, 1e-10);
    active += answer.count;
    if (HasFailure()) {
      return;
    }
  }
  EXPECT_GT(active, 20000);
}

// More constraints than variables meet in one point, and the objective presses into it.
TEST(Nk0000, DegenerateVertices) {
  for (int seed = 0; seed < 2000; ++seed) {
    Uniform uniform(static_cast<std::uint64_t>(seed) + 1);
    const int n = 1 + seed % 30;
    const Numbers Q = randomHessian(n, n + 3, std::pow(10.0, 2.0 - seed % 5 * 2.0), uniform);
    const bool whole = seed % 5 == 0;  // small whole numbers: zero rows and many copies
    const auto vector = [&] {
      Numbers values = randomVector(n, uniform);
      for (double& value : values) {
        value = whole ? std::round(2.0 * value) : value;
      }
      return values;
    };
    const Numbers vertex = vector();
    const Numbers inward = randomVector(n, uniform);
    ConstraintRows rows(n);
    for (int k = 0; k < 2 * n; ++k) {
      Numbers row = vector();
      double side = 0.0;
      double value = 0.0;
      for (std::size_t j = 0; j < row.size(); ++j) {
        side += row[j] * inward[j];
      }
      const double scale =
          (side < 0.0 ? -1.0 : 1.0) * (seed % 2 ? std::pow(2.0, 20 * uniform()) : 1);
      for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] *= scale;
        value += row[j] * vertex[j];
      }
      rows.add(row, value);
    }
    Numbers g(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
      g[static_cast<std::size_t>(i)] = 100.0 * inward[static_cast<std::size_t>(i)];
      for (int j = 0; j < n; ++j) {
        g[static_cast<std::size_t>(i)] -=
            Q[static_cast<std::size_t>(i) + area(n, j)] * vertex[static_cast<std::size_t>(j)];
      }
    }
    const Program program = rows.program(0, Q, g);
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    expectMinimum(program, solve(program), 1e-10);
    if (HasFailure()) {
      return;
    }
  }
}

TEST(Nk0000, ConstraintsThatNothingMeetsAreReported) {
  for (int seed = 0; seed < 1000; ++seed) {
    Uniform uniform(static_cast<std::uint64_t>(seed) + 1);
    const int n = 1 + seed % 30;
    const Numbers Q = randomHessian(n, n + 3, 0.1, uniform);
    ConstraintRows rows(n);
    const int count = 2 + static_cast<int>(n * (1.0 + uniform()));
    for (int k = 0; k < count; ++k) {
      rows.add(randomVector(n, uniform), 0.1 * uniform());
    }
    // A positive combination of up to four rows, the wrong way round and too tight.
    Numbers sum(static_cast<std::size_t>(n));
    double bound = seed % 2 ? 1e-3 : 1.0;
    for (int k = 0; k < 2 + seed % 3; ++k) {
      const double factor = 1.5 + uniform();
      const Numbers& row = rows.row(k % count);
      for (std::size_t j = 0; j < row.size(); ++j) {
        sum[j] -= factor * row[j];
      }
      bound -= factor * rows.bound(k % count);
    }
    rows.add(sum, bound);
    const Minimum answer = solve(rows.program(0, Q, randomVector(n, uniform)));
    EXPECT_EQ(answer.status, qpInfeasible) << seed;
  }
  // Two equalities against each other; a row of zeros; an infinite bound.
  const Numbers one = {1, 0, 0, 1};
  EXPECT_EQ(solve({2, 2, 2, {1, 2, 1, 2}, {1, 3}, {0, 0}, one}).status, qpInfeasible);
  EXPECT_EQ(solve({2, 1, 0, {0, 0}, {1}, {0, 0}, one}).status, qpInfeasible);
  EXPECT_EQ(solve({2, 1, 1, {0, 0}, {-1}, {0, 0}, one}).status, qpInfeasible);
  EXPECT_EQ(solve({2, 1, 0, {1, 0}, {infinity}, {0, 0}, one}).status, qpInfeasible);
  EXPECT_EQ(solve({2, 1, 0, {1, 0}, {-infinity}, {0, 0}, one}).status, qpSolved);
}

TEST(Nk0000, AHessianThatIsNotPositiveDefiniteIsReported) {
  for (const Numbers& Q : {Numbers{0, 0, 0, 0}, Numbers{-1, 0, 0, -1}, Numbers{1, -2, -2, 1},
                           Numbers{nan, nan, nan, nan}, Numbers{infinity, 0, 0, infinity}}) {
    for (const bool general : {false, true}) {
      Program program = boundedProgram(2, Q, {-1, -1});
      if (general) {
        program.b[0] = -7.0;
      }
      const Minimum answer = solve(program);
      EXPECT_EQ(answer.status, qpNotPositiveDefinite) << Q[0] << general;
      EXPECT_TRUE(std::isfinite(answer.x[0]) && std::isfinite(answer.x[1]));
    }
  }
}

TEST(Nk0000, ASingularHessianIsNoObstacleWhereItsDirectionIsNotNeeded) {
  // Two equal columns, of which one alone can carry the minimum.
  const Minimum answer = solve(boundedProgram(2, {1, 1, 1, 1}, {-1, -1}));
  EXPECT_EQ(answer.status, qpSolved);
  EXPECT_EQ(answer.x[0] + answer.x[1], 1.0);
  // Nothing but zeros, and nothing asked for: x = 0, whatever the Hessian.
  EXPECT_EQ(solve(boundedProgram(2, {0, 0, 0, 0}, {0, 0})).status, qpSolved);
}

TEST(Nk0000, NoVariablesOrNoConstraints) {
  for (const int n : {0, -3}) {
    const Minimum answer = solve({n, n, 0, {}, {}, {}, {}});
    EXPECT_EQ(answer.status, qpSolved);
    EXPECT_EQ(answer.objective, 0.0);
    EXPECT_EQ(answer.count, 0);
  }
  EXPECT_EQ(solve({0, 1, 0, {}, {-1}, {}, {}}).status, qpSolved);
  EXPECT_EQ(solve({0, 1, 0, {}, {1}, {}, {}}).status, qpInfeasible);
  const Minimum unconstrained = solve({2, 0, 0, {}, {}, {1, -4}, {2, 0, 0, 2}});
  EXPECT_EQ(unconstrained.status, qpSolved);
  EXPECT_NEAR(unconstrained.x[0], -0.5, 1e-15);
  EXPECT_NEAR(unconstrained.x[1], 2.0, 1e-15);
  EXPECT_EQ(unconstrained.count, 0);
}

// Whatever comes in: the call ends, keeps to its arrays, and gives numbers.
TEST(Nk0000, HostileValuesEnd) {
  const Numbers values = {0,      -0.0,   1,      -1,    nan,     infinity, -infinity, 1e308,
                          -1e308, 5e-324, 1e-310, 1e-15, -1e-310, 1e300,    2,         0.5};
  int solved = 0;
  int failed = 0;
  for (int seed = 0; seed < 40000; ++seed) {
    Uniform uniform(static_cast<std::uint64_t>(seed) + 1);
    const auto pick = [&] {
      const bool special = uniform() > (seed % 3 == 0 ? 0.9 : 0.4);
      return special ? values[static_cast<std::size_t>(8.0 * (1.0 + uniform())) % 16] : uniform();
    };
    const int n = static_cast<int>(4.5 * (1.0 + uniform())) % 9;
    Numbers Q(area(n, n));
    Numbers g(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j <= i; ++j) {
        const double value = pick() + (i == j && seed % 4 < 2 ? 3.0 : 0.0);
        Q[static_cast<std::size_t>(i) + area(n, j)] = value;
        Q[static_cast<std::size_t>(j) + area(n, i)] = value;
      }
      g[static_cast<std::size_t>(i)] = pick();
    }
    Program program = boundedProgram(n, Q, g);
    if (seed % 2 == 1) {
      program.constraints = static_cast<int>(5.0 * (1.0 + uniform()));
      program.equalities = static_cast<int>(program.constraints * uniform());
      program.A.resize(area(program.constraints, n));
      program.b.resize(static_cast<std::size_t>(program.constraints));
      std::generate(program.A.begin(), program.A.end(), pick);
      std::generate(program.b.begin(), program.b.end(), pick);
    }
    const Minimum answer = solve(program);
    EXPECT_TRUE(answer.status == qpSolved || answer.status == qpInfeasible ||
                answer.status == qpNotPositiveDefinite || answer.status == qpLimitReached);
    (answer.status == qpSolved ? solved : failed) += 1;
    EXPECT_GE(answer.count, 0);
    EXPECT_LE(answer.count, n);
    for (const double x : answer.x) {
      EXPECT_TRUE(std::isfinite(x)) << seed;
    }
  }
  EXPECT_GT(solved, 5000);
  EXPECT_GT(failed, 5000);
}

}  // namespace
