// The conversions of numbers for compilers without a whole <charconv>, against those of <charconv>.
#include "params/decimal_text.hpp"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "toolkit/reading/real_numbers.hpp"

namespace {

template <class Real, class... Format>
std::string byCharconv(Real value, Format... format) {
  char buffer[1200];
  const auto written = std::to_chars(buffer, buffer + sizeof buffer, value, format...);
  return {buffer, written.ptr};
}

/// Numbers of every size, and those at which one form becomes shorter than the other.
template <class Real, class Bits>
std::vector<Real> manyNumbers() {
  std::vector<Real> values = {Real(0),
                              Real(1),
                              Real(0.1),
                              Real(100000),
                              Real(1e5),
                              Real(123456),
                              Real(1e-4),
                              Real(1e-5),
                              Real(0.00012),
                              Real(1e22),
                              Real(2e22),
                              std::numeric_limits<Real>::max(),
                              std::numeric_limits<Real>::min(),
                              std::numeric_limits<Real>::denorm_min()};
  std::mt19937_64 engine(11);
  while (values.size() < 4000) {
    const Bits bits = static_cast<Bits>(engine()) & (static_cast<Bits>(-1) >> 1U);
    Real value = 0;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value)) {
      values.push_back(value);
    }
    values.push_back(std::round(std::exp2(Real(engine() % 80))));
    values.push_back(Real(engine() % 100000) / Real(1000));
  }
  return values;
}

TEST(DecimalText, ShortestTextIsThatOfCharconv) {
  for (const double value : manyNumbers<double, std::uint64_t>()) {
    EXPECT_EQ(vorin::params::shortestDecimalText(value), byCharconv(value));
  }
  for (const float value : manyNumbers<float, std::uint32_t>()) {
    EXPECT_EQ(vorin::params::shortestDecimalText(value), byCharconv(value));
  }
}

TEST(DecimalText, TextOfAskedDecimalsIsThatOfCharconv) {
  for (const double value : manyNumbers<double, std::uint64_t>()) {
    for (const int decimals : {0, 1, 5, 17, 40}) {
      EXPECT_EQ(vorin::params::scientificText(value, decimals),
                byCharconv(value, std::chars_format::scientific, decimals));
      EXPECT_EQ(vorin::params::fixedText(value, decimals),
                byCharconv(value, std::chars_format::fixed, decimals));
    }
  }
}

TEST(DecimalText, NumbersAreReadBackToTheBit) {
  for (const double value : manyNumbers<double, std::uint64_t>()) {
    EXPECT_EQ(vorin::toolkit::realNumber(byCharconv(value)), value);
    EXPECT_EQ(vorin::toolkit::realNumber(byCharconv(-value)), -value);
  }
}

TEST(DecimalText, ShortNumbersAreReadAsByCharconv) {
  std::mt19937_64 engine(12);
  const auto below = [&](std::uint64_t end) { return static_cast<std::size_t>(engine() % end); };
  for (int i = 0; i < 20000; ++i) {
    std::string text = std::to_string(engine() >> below(60));
    text = text.substr(0, 1 + below(17));
    if (below(3) != 0) {
      text.insert(below(text.size() + 1), ".");
    }
    if (below(2) != 0) {
      text += (below(2) != 0 ? "e" : "E") + std::string(below(3) == 0 ? "-" : "") +
              (below(8) == 0 ? "0" : "") + std::to_string(below(40));
    }
    double expected = 0.0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), expected);
    ASSERT_EQ(read.ptr, text.data() + text.size()) << text;
    EXPECT_EQ(vorin::toolkit::realNumber(text), expected) << text;
    EXPECT_EQ(vorin::toolkit::realNumber("-" + text), -expected) << text;
  }
  EXPECT_TRUE(std::signbit(vorin::toolkit::realNumber("-0").value()));
}

TEST(DecimalText, BeyondTheRangeTheyAreInfiniteOrZero) {
  using vorin::toolkit::realNumber;
  const std::string zeros(400, '0');
  for (const std::string& text :
       {std::string("1.5e400"), "1" + zeros, "0.01" + zeros + "e999",
        std::string("0.1e+99999999999999999999"), std::string(".0001e4000")}) {
    EXPECT_EQ(realNumber(text), std::numeric_limits<double>::infinity()) << text;
    EXPECT_EQ(realNumber("-" + text), -std::numeric_limits<double>::infinity()) << text;
  }
  for (const std::string& text :
       {std::string("1.5e-400"), "0." + zeros + "1", "1" + zeros + "e-999",
        std::string("123E-99999999999999999999")}) {
    EXPECT_EQ(realNumber(text), 0.0) << text;
    EXPECT_TRUE(std::signbit(realNumber("-" + text).value())) << text;
  }
}

TEST(DecimalText, OnlyWholeNumbersAreRead) {
  using vorin::toolkit::realNumber;
  EXPECT_EQ(realNumber("5."), 5.0);
  EXPECT_EQ(realNumber("-.5E+1"), -5.0);
  EXPECT_EQ(realNumber("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(realNumber("-Inf"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(realNumber("1e-999"), 0.0);
  EXPECT_TRUE(std::isnan(realNumber("NaN").value()));
  for (const char* text : {"", "-", ".", "+1", " 1", "1 ", "0x1p3", "1e", "1e+", "1,5", "1.2.3",
                           "--1", "e5", "infinite", "1d5", "1_0"}) {
    EXPECT_FALSE(realNumber(text).has_value()) << text;
  }
}

}  // namespace
