// The products that searches over kernels are made of, by hand.
#include "toolkit/inverting/repeated_fit.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace vorin::toolkit {
namespace {

TEST(RepeatedFit, ProjectsTheDataOnEveryColumn) {
  const std::vector<float> K{1, 2, 3, 4, 5, 6};  // columns (1, 2), (3, 4), (5, 6)
  std::vector<double> Ktd(1, 99.0);
  projectOnColumns(K, {10.0, 1.0}, Ktd);
  EXPECT_EQ(Ktd, (std::vector<double>{12.0, 34.0, 56.0}));
  projectOnColumns(K, {1.0, 0.0}, Ktd);
  EXPECT_EQ(Ktd, (std::vector<double>{1.0, 3.0, 5.0}));
}

}  // namespace
}  // namespace vorin::toolkit
