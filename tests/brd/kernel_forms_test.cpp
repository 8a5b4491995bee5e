// The forms of a kernel that problems share, against their definitions.
#include "brd/kernel_forms.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

using vorin::brd::KernelForms;

TEST(KernelForms, MeanSquareIsThatOfTheColumnNorms) {
  // Columns (1, 2), (3, 4) and (5, 6): (5 + 25 + 61) / 3.
  const std::vector<double> K{1, 2, 3, 4, 5, 6};
  EXPECT_DOUBLE_EQ(KernelForms<double>(2, 3, K.data()).meanSquare(), 91.0 / 3.0);
  EXPECT_EQ(KernelForms<double>(2, 0, nullptr).meanSquare(), 0.0);
}

TEST(KernelForms, GramIsTheProductOfTheColumns) {
  const std::vector<double> K{1, 2, 3, 4, 5, 6};
  const KernelForms<double> forms(2, 3, K.data());
  const double* const gram = forms.gram();
  const std::vector<double> expected{5, 11, 17, 11, 25, 39, 17, 39, 61};
  EXPECT_EQ(std::vector<double>(gram, gram + 9), expected);
}

}  // namespace
