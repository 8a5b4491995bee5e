// Every input ends. Small problems made of zeros, denormals, huge values, infinities,
// NaN and ordinary numbers go through every routine of the family; each must return a
// status of its table and leave the sets intact. (That they return at all is what the
// test run itself shows.) VORIN_FUZZ_PROBLEMS in the environment sets another count.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

#include "regress/log_recorder.hpp"
#include "regress/penalised_fit.hpp"
#include "regress/random_problem.hpp"
#include "regress/solver_runs.hpp"
#include "vorin.h"

namespace vorin::testing {
namespace {

constexpr std::uint64_t seed = 9001;

int problemCount() {
  const char* text = std::getenv("VORIN_FUZZ_PROBLEMS");
  return text == nullptr ? 20000 : std::atoi(text);
}

/// One number in `oneIn` is hostile, the others are small; 1 makes all hostile.
template <class Real>
Real someNumber(Random& random, int oneIn) {
  if (random.chance(oneIn)) {
    return hostileNumber<Real>(random);
  }
  return random.chance(2) ? static_cast<Real>(random.integer(-3, 3))
                          : static_cast<Real>(random.unit());
}

template <class Real>
std::vector<Real> someNumbers(Random& random, int oneIn, int count) {
  std::vector<Real> numbers;
  for (int i = 0; i < count; ++i) {
    numbers.push_back(someNumber<Real>(random, oneIn));
  }
  return numbers;
}

/// Finite, but far apart: products overflow, sums forget their terms, and columns that
/// should enter leave again, up to the limits.
template <class Real>
std::vector<Real> numbersFarApart(Random& random, int count) {
  const Real root = std::sqrt(std::numeric_limits<Real>::max());
  const Real choices[] = {0, 0, 1, -1, 2, root, -root, 1 / root, -1 / root, root * root / 4};
  std::vector<Real> numbers;
  for (int i = 0; i < count; ++i) {
    numbers.push_back(random.pick(choices));
  }
  return numbers;
}

template <class Real>
BoxProblem<Real> someProblem(Random& random) {
  constexpr int hostility[] = {1, 2, 5, 20};
  BoxProblem<Real> p;
  p.m = random.integer(1, 8);
  p.n = random.integer(1, 8);
  const int oneIn = random.pick(hostility);
  switch (random.integer(0, 3)) {
    case 0:
      p.A = numbersFarApart<Real>(random, p.m * p.n);
      p.b = numbersFarApart<Real>(random, p.m);
      break;
    case 1:
      p.n += 4;
      fillMatrix(random, random.chance(2) ? Columns::deficient : Columns::smallIntegers, p);
      break;
    default:
      p.A = someNumbers<Real>(random, oneIn, p.m * p.n);
      p.b = someNumbers<Real>(random, oneIn, p.m);
      break;
  }
  switch (random.integer(0, 3)) {
    case 0:
      for (int j = 0; j < p.n; ++j) {
        p.lower.push_back(static_cast<Real>(random.integer(-1, 0)));
        p.upper.push_back(static_cast<Real>(random.integer(1, 2)));
      }
      break;
    case 1:
      nonNegativeBounds(p);
      break;
    case 2:
      fillBounds(random, p);
      break;
    default:
      p.lower = someNumbers<Real>(random, 2 * oneIn, p.n);
      p.upper = someNumbers<Real>(random, 2 * oneIn, p.n);
      break;
  }
  return p;
}

template <class Real>
class HostileInput : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(HostileInput, Precisions);

TYPED_TEST(HostileInput, BvlsEndsWithAStatusOfItsTable) {
  Random random(seed);
  int counts[5] = {};
  for (int count = 0; count < problemCount(); ++count) {
    const auto p = someProblem<TypeParam>(random);
    const Run<TypeParam> run = runBvls(p, random.chance(4) ? 0 : 3 * p.n);
    ASSERT_TRUE(run.status == 0 || run.status == 3 || run.status == 4) << run.status;
    ++counts[run.status];
    if (run.status == 3) {
      continue;
    }
    ASSERT_TRUE(run.indexIsPermutation());
    ASSERT_GE(run.nsetp, 0);
    ASSERT_LE(run.nsetp, std::min(p.m, p.n));
    ASSERT_EQ(run.status == 4, run.rnorm == TypeParam(-77));
  }
  // The mixture reaches every outcome, so that none of the checks above is idle.
  EXPECT_GT(counts[0], 0);
  EXPECT_GT(counts[3], 0);
  EXPECT_GT(counts[4], 0);
  this->RecordProperty("solved", counts[0]);
  this->RecordProperty("nanBound", counts[3]);
  this->RecordProperty("limit", counts[4]);
}

TYPED_TEST(HostileInput, NnlsEndsWithAModeOfItsTable) {
  Random random(seed + 1);
  int counts[4] = {};
  loggedLines().clear();
  for (int count = 0; count < problemCount(); ++count) {
    const auto p = someProblem<TypeParam>(random);
    const Run<TypeParam> run = runNnls(p);
    ASSERT_TRUE(run.status == 1 || run.status == 3) << run.status;
    ++counts[run.status];
    ASSERT_TRUE(run.indexIsPermutation());
  }
  EXPECT_GT(counts[1], 0);
  EXPECT_GT(counts[3], 0);
  EXPECT_EQ(loggedLines().size(), static_cast<std::size_t>(counts[3])) << "a line a limit";
  this->RecordProperty("solved", counts[1]);
  this->RecordProperty("limit", counts[3]);
}

TEST(HostileInputOfExports, EveryEntryEndsWithAStatusOfItsTable) {
  Random random(seed + 2);
  loggedLines().clear();
  for (int count = 0; count < problemCount(); ++count) {
    const auto p = someProblem<double>(random);
    const int K = random.integer(-2, 4);
    const std::vector<double> lambda = someNumbers<double>(random, 3, 5);
    std::vector<double> x(static_cast<std::size_t>(p.n));
    int32_t status = -77;
    plsN_dll(p.A.data(), p.m, p.n, p.b.data(), x.data(), &status);
    ASSERT_TRUE(status == VORIN_PLSN_SOLVED || status == VORIN_PLSN_ITERATION_LIMIT);
    plsB_dll(p.A.data(), p.m, p.n, p.b.data(), x.data(), random.integer(-1, 40), &status);
    ASSERT_TRUE(status == VORIN_PLSB_SOLVED || status == VORIN_PLSB_ITERATION_LIMIT);
    plsReg_DLL(p.A.data(), p.m, p.n, p.b.data(), x.data(), lambda.data(), K, &status);
    ASSERT_TRUE(status == VORIN_PLSREG_SOLVED || status == VORIN_PLSREG_ITERATION_LIMIT);
    LUReg_DLL(p.A.data(), p.m, p.n, p.b.data(), x.data(), lambda.data(), K, &status);
    ASSERT_EQ(status, VORIN_LUREG_DONE);
  }
}

}  // namespace
}  // namespace vorin::testing
