// Distances counted by hand.
#include "toolkit/reading/edit_distance.hpp"

#include <gtest/gtest.h>

namespace vorin::toolkit {
namespace {

TEST(EditDistance, CountsWhatTurnsOneWordIntoTheOther) {
  EXPECT_EQ(editDistance("", ""), 0U);
  EXPECT_EQ(editDistance("", "abc"), 3U);
  EXPECT_EQ(editDistance("weight", "weight"), 0U);
  EXPECT_EQ(editDistance("weight", "weght"), 1U);    // deleted
  EXPECT_EQ(editDistance("weight", "weiight"), 1U);  // inserted
  EXPECT_EQ(editDistance("weight", "woight"), 1U);   // replaced
  EXPECT_EQ(editDistance("kitten", "sitting"), 3U);
}

TEST(EditDistance, NeighboursThatAreSwappedCountOnce) {
  EXPECT_EQ(editDistance("ab", "ba"), 1U);
  EXPECT_EQ(editDistance("weight", "wieght"), 1U);
  EXPECT_EQ(editDistance("weight", "weigth"), 1U);
  EXPECT_EQ(editDistance("abcd", "badc"), 2U);
  EXPECT_EQ(editDistance("abxcd", "baycd"), 2U);
  // No place is edited more than once: swapped letters with one between them are two edits more.
  EXPECT_EQ(editDistance("ca", "abc"), 3U);
}

}  // namespace
}  // namespace vorin::toolkit
