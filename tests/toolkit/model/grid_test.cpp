// Logarithmic grids.
#include "toolkit/model/grid.hpp"

#include <gtest/gtest.h>

#include "support/child.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

TEST(Grid, DecadesAreEvenlyDivided) {
  const std::vector<double> times = LogGrid{1e-3, 10.0, 5}.times();
  ASSERT_EQ(times.size(), 5U);
  EXPECT_EQ(times.front(), 1e-3);
  EXPECT_EQ(times.back(), 10.0);
  for (int k = 0; k < 5; ++k) {
    const double expected[] = {1e-3, 1e-2, 1e-1, 1.0, 10.0};
    EXPECT_NEAR(times[static_cast<std::size_t>(k)] / expected[k], 1.0, 1e-14);
  }
}

TEST(Grid, IsReadFromItsText) {
  const LogGrid grid = parseGrid("1e-4:10:64", "--grid");
  EXPECT_EQ(grid.from, 1e-4);
  EXPECT_EQ(grid.to, 10.0);
  EXPECT_EQ(grid.points, 64);
}

TEST(Grid, ItsLimitsAreWithinIt) {
  EXPECT_EQ(parseGrid("1e-30:10:2", "--grid").from, 1e-30);
  EXPECT_EQ(parseGrid("1e-30:10:10000", "--grid").points, 10000);
  EXPECT_THROW(parseGrid("9.9e-31:10:2", "--grid"), UserError);
}

TEST(Grid, TextThatIsNoGridIsRefused) {
  for (const char* text : {"",      "1",       "1:2",     "1:2:",    ":2:3",    "a:2:3",    "1:b:3",
                           "1:2:c", "1:2:3:4", "1:2:3.5", "0:2:3",   "-1:2:3",  "2:1:3",    "1:1:3",
                           "1:2:1", "1:2:0",   "1:2:-5",  "nan:2:3", "1:inf:3", "1:2:10001"}) {
    EXPECT_THROW(parseGrid(text, "--grid"), UserError) << text;
  }
}

TEST(Grid, ValuesMayCarryUnits) {
  const LogGrid grid = parseGrid("1ms:10 s:100", "--grid");
  EXPECT_EQ(grid.from, 0.001);
  EXPECT_EQ(grid.to, 10.0);
  EXPECT_EQ(parseGrid("0.1um2/ms:1e-8:50", "--grid", Quantity::diffusion).from, 0.1e-9);
  EXPECT_THROW(parseGrid("1ms:1e-8:50", "--grid", Quantity::diffusion), UserError);
}

TEST(Grid, MayBeTheFirstColumnOfAFile) {
  const test::TemporaryFolder folder;
  test::writeFile(folder / "grid.csv", "t2_s,amplitude\n0.001,9\n0.01,x\n0.5,7\n");
  EXPECT_EQ(gridValues((folder / "grid.csv").string(), "--grid", Quantity::time),
            (std::vector<double>{0.001, 0.01, 0.5}));
  EXPECT_EQ(gridValues("1:4:3", "--grid", Quantity::time).size(), 3U);
}

TEST(Grid, OfDiffusionIsTheReciprocalOfTheRangeOfB) {
  const LogGrid grid = gridFor({0.0, 1e7, 1e9}, Kernel::diffusion);
  EXPECT_DOUBLE_EQ(grid.from, 1.0 / 3e9);
  EXPECT_DOUBLE_EQ(grid.to, 3.0 / 1e7);
  EXPECT_EQ(grid.points, 100);
}

TEST(Grid, SuitsTheSamples) {
  const LogGrid grid = gridFor({0.003, 0.006, 0.9});
  EXPECT_DOUBLE_EQ(grid.from, 0.001);
  EXPECT_DOUBLE_EQ(grid.to, 2.7);
  EXPECT_EQ(grid.points, 100);
}

TEST(Grid, ATimeOfZeroDoesNotSetItsStart) {
  EXPECT_DOUBLE_EQ(gridFor({0.0, 0.006, 0.9}).from, 0.002);
}

}  // namespace
}  // namespace vorin::toolkit
