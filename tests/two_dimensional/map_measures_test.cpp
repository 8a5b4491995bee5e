// Totals, projections, peaks and regions of maps known by construction.
#include "toolkit/two_dimensional/map_measures.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "toolkit/model/grid.hpp"
#include "toolkit/two_dimensional/map_simulation.hpp"

namespace vorin::toolkit::test {
namespace {

TEST(MapMeasures, SumsOfASmallMap) {
  const std::vector<double> grid1{1.0, 2.0};
  const std::vector<double> grid2{1.0, 10.0, 100.0};
  const std::vector<double> amplitude{1.0, 2.0, 3.0, 4.0, 5.0, 6.0};
  const MapView map{grid1, grid2, amplitude};
  EXPECT_EQ(totalAmplitude(map), 21.0);
  EXPECT_EQ(projection1(map), (std::vector<double>{6.0, 15.0}));
  EXPECT_EQ(projection2(map), (std::vector<double>{5.0, 7.0, 9.0}));
}

// A share of 2 / 8, which is exact in binary.
TEST(MapMeasures, APeakOfTheSmallestShareItselfIsTold) {
  const std::vector<double> grid{1.0, 2.0, 4.0, 8.0, 16.0};
  std::vector<double> amplitude(25, 0.0);
  amplitude[6] = 6.0;   // row 1, column 1
  amplitude[18] = 2.0;  // row 3, column 3
  const std::vector<MapPeak> peaks = mapPeaks({grid, grid, amplitude}, 0.25);
  ASSERT_EQ(peaks.size(), 2U);
  EXPECT_EQ(peaks[1].share, 0.25);
  EXPECT_EQ(mapPeaks({grid, grid, amplitude}, 0.3).size(), 1U);
}

TEST(MapMeasures, PeaksAreWhereTheyWerePut) {
  const std::vector<double> grid1 = LogGrid{1e-3, 10.0, 81}.times();
  const std::vector<double> grid2 = LogGrid{1e-3, 10.0, 61}.times();
  const std::vector<double> amplitude =
      mapOf({{0.5, 0.03, 0.1, 30.0}, {0.05, 0.3, 0.2, 70.0}}, grid1, grid2);
  std::vector<int> cells;
  const std::vector<MapPeak> peaks = mapPeaks({grid1, grid2, amplitude}, 0.005, &cells);
  ASSERT_EQ(peaks.size(), 2U);
  EXPECT_NEAR(peaks[0].share, 0.7, 1e-3);
  EXPECT_NEAR(peaks[1].share, 0.3, 1e-3);
  EXPECT_NEAR(peaks[0].position1, 0.05, 0.05 * 0.02);
  EXPECT_NEAR(peaks[0].position2, 0.3, 0.3 * 0.02);
  EXPECT_NEAR(peaks[0].logMean1, 0.05, 0.05 * 0.01);
  EXPECT_NEAR(peaks[0].width1, 0.2, 0.005);
  EXPECT_NEAR(peaks[1].logMean2, 0.03, 0.03 * 0.01);
  EXPECT_FALSE(peaks[0].atGridEnd);
  double first = 0.0;
  for (std::size_t cell = 0; cell < cells.size(); ++cell) {
    first += cells[cell] == 0 ? amplitude[cell] : 0.0;
  }
  EXPECT_NEAR(first / 100.0, peaks[0].share, 1e-12);
}

TEST(MapMeasures, ARippleIsNoPeakAndAValleyIsOne) {
  const std::vector<double> grid{1.0, 2.0, 4.0, 8.0, 16.0};
  const std::vector<double> two{1.0, 2.0};
  // One row of a map, over a row of 0: heights 10, 9, 10 are one peak, 10, 7, 10 are two.
  const std::vector<double> ripple{0, 0, 0, 0, 0, 2, 10, 9, 10, 2};
  const std::vector<double> valley{0, 0, 0, 0, 0, 2, 10, 7, 10, 2};
  EXPECT_EQ(mapPeaks({two, grid, ripple}).size(), 1U);
  EXPECT_EQ(mapPeaks({two, grid, valley}).size(), 2U);
  EXPECT_TRUE(mapPeaks({two, grid, ripple})[0].atGridEnd);
  EXPECT_TRUE(mapPeaks({two, grid, std::vector<double>(10, 0.0)}).empty());
}

TEST(MapMeasures, RegionsShareOutTheMap) {
  const std::vector<double> grid{1.0, 10.0, 100.0};
  const std::vector<double> even(9, 2.0);
  const MapView map{grid, grid, even};
  // The cell of 10 reaches from sqrt(10) to sqrt(1000); half of it in the logarithm from 10 on.
  EXPECT_NEAR(regionShare(map, {std::sqrt(10.0), std::sqrt(1000.0), 0.01, 1e5}), 1.0 / 3.0, 1e-12);
  EXPECT_NEAR(regionShare(map, {10.0, std::sqrt(1000.0), 0.01, 1e5}), 1.0 / 6.0, 1e-12);
  EXPECT_NEAR(regionShare(map, {0.01, 1e5, 0.01, 1e5}), 1.0, 1e-12);
  EXPECT_NEAR(regionShare(map, {10.0, 1e5, 10.0, 1e5}) + regionShare(map, {10.0, 1e5, 0.01, 10.0}) +
                  regionShare(map, {0.01, 10.0, 0.01, 1e5}),
              1.0, 1e-12);
  EXPECT_TRUE(std::isnan(regionShare({grid, grid, std::vector<double>(9, 0.0)}, {1, 2, 1, 2})));
}

}  // namespace
}  // namespace vorin::toolkit::test
