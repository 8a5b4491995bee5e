// Logarithmic grids.
#include "common/grid.hpp"

#include <gtest/gtest.h>

#include "common/user_error.hpp"

namespace vorin::host {
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

TEST(Grid, TextThatIsNoGridIsRefused) {
  for (const char* text : {"",      "1",       "1:2",     "1:2:",    ":2:3",    "a:2:3",    "1:b:3",
                           "1:2:c", "1:2:3:4", "1:2:3.5", "0:2:3",   "-1:2:3",  "2:1:3",    "1:1:3",
                           "1:2:1", "1:2:0",   "1:2:-5",  "nan:2:3", "1:inf:3", "1:2:10001"}) {
    EXPECT_THROW(parseGrid(text, "--grid"), UserError) << text;
  }
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
}  // namespace vorin::host
