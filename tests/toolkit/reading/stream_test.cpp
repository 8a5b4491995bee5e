// The stream between the program that reads containers and the toolkit: what is encoded is decoded,
// and what is cut anywhere is refused.
#include "toolkit/reading/containers/stream.hpp"

#include <gtest/gtest.h>

#include <string>

namespace vorin::toolkit::containers {
namespace {

TEST(ContainerStream, EveryCutIsNoticed) {
  Array complex;
  complex.name = "/scan/z";
  complex.times = "/scan/t";
  complex.unit = "mV";
  complex.shape = {3};
  complex.real = {8.0, 4.0, 2.0};
  complex.imaginary = {-1.0, -2.0, -3.0};
  Array real;
  real.name = "/scan/t";
  real.unit = "s";
  real.shape = {1, 2};
  real.real = {1.0, 2.0};
  const std::string arrays = encodedStart() + encoded(complex) + encoded(real);
  const std::string whole = arrays + encoded(Listed{"/note", "text"}) + encodedEnd();

  Content content;
  ASSERT_TRUE(decode(whole, content));
  ASSERT_EQ(content.arrays.size(), 2U);
  EXPECT_EQ(content.arrays[0].name, complex.name);
  EXPECT_EQ(content.arrays[0].times, complex.times);
  EXPECT_EQ(content.arrays[0].unit, complex.unit);
  EXPECT_EQ(content.arrays[0].shape, complex.shape);
  EXPECT_EQ(content.arrays[0].real, complex.real);
  EXPECT_EQ(content.arrays[0].imaginary, complex.imaginary);
  EXPECT_EQ(content.arrays[1].shape, real.shape);
  EXPECT_EQ(content.arrays[1].real, real.real);
  EXPECT_TRUE(content.arrays[1].imaginary.empty());
  ASSERT_EQ(content.listed.size(), 1U);
  EXPECT_EQ(content.listed[0].what, "text");
  EXPECT_EQ(content.error, "");

  for (std::size_t length = 0; length < whole.size(); ++length) {
    Content part;
    EXPECT_FALSE(decode(whole.substr(0, length), part)) << length;
    // What was cut within is not handed out.
    EXPECT_EQ(part.arrays.size(), length < (encodedStart() + encoded(complex)).size() ? 0U
                                  : length < arrays.size()                            ? 1U
                                                                                      : 2U)
        << length;
  }
}

TEST(ContainerStream, AnErrorEndsIt) {
  Content content;
  EXPECT_TRUE(decode(encodedStart() + encodedError("the file is damaged"), content));
  EXPECT_EQ(content.error, "the file is damaged");
}

}  // namespace
}  // namespace vorin::toolkit::containers
