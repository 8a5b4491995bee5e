// Units as users write them, and values as users read them.
#include "toolkit/reading/units.hpp"

#include <gtest/gtest.h>

#include "toolkit/reading/header_units.hpp"

namespace vorin::toolkit {
namespace {

TEST(Units, ANumberMayCarryAUnit) {
  const auto time = [](const char* text) { return parseQuantity(text, Quantity::time); };
  EXPECT_EQ(time("0.001"), 0.001);
  EXPECT_EQ(time("1ms"), 0.001);
  EXPECT_EQ(time(" 1 ms "), 0.001);
  EXPECT_EQ(time("250us"), 250e-6);
  EXPECT_EQ(time("2.5e1ns"), 25e-9);
  EXPECT_EQ(time("1e-3s"), 0.001);
  EXPECT_EQ(time("3\xC2\xB5s"), 3e-6);
  EXPECT_EQ(parseQuantity("1000s/mm2", Quantity::bValue), 1e9);
  EXPECT_EQ(parseQuantity("1 ms/um^2", Quantity::bValue), 1e9);
  EXPECT_EQ(parseQuantity("2.3um2/ms", Quantity::diffusion), 2.3e-9);
  EXPECT_EQ(parseQuantity("1e-5cm2/s", Quantity::diffusion), 1e-9);
}

TEST(Units, InAHeaderMayStandBehindIn) {
  for (const char* text : {"ms", "in ms", "(in ms)", "In ms", "[ in  ms ]"}) {
    const auto unit = unitFrom(text);
    ASSERT_TRUE(unit) << text;
    EXPECT_EQ(unit->size, 1e-3) << text;
    EXPECT_EQ(unit->text, "ms") << text;
  }
  EXPECT_FALSE(unitFrom("inms"));
}

TEST(Units, BracketsComeInPairs) {
  for (const char* text : {"(s)", "[s]", "<s>", "{s}", "[(s)]"}) {
    const auto unit = unitFrom(text);
    ASSERT_TRUE(unit) << text;
    EXPECT_EQ(unit->text, "s");
  }
  for (const char* text : {"(sx", "[sx", "<sx", "{sx", "xs)", "xs]", "xs>", "xs}", "(s]", "<s}"}) {
    EXPECT_FALSE(unitFrom(text)) << text;
  }
}

TEST(Units, AnythingElseIsNoQuantity) {
  for (const char* text : {"", "ms", "1m", "1 hour", "1 m s", "one s", "1e", "--1s", "1ms2"}) {
    EXPECT_FALSE(parseQuantity(text, Quantity::time)) << text;
  }
  EXPECT_FALSE(parseQuantity("1ms", Quantity::diffusion));
  EXPECT_FALSE(parseQuantity("1ms", Quantity::plain));
  EXPECT_FALSE(parseQuantity("1m2/s", Quantity::time));
}

TEST(Units, ListsNameEachUnitOnce) {
  EXPECT_EQ(unitList(Quantity::time), "s, ms, us or ns");
  EXPECT_EQ(unitList(Quantity::bValue), "s/m2, s/cm2, s/mm2 or ms/um2");
}

TEST(Units, ValuesReadInTheUnitThatSuitsThem) {
  EXPECT_EQ(quantityText(0.0229, Quantity::time), "22.9 ms");
  EXPECT_EQ(quantityText(2.299e-9, Quantity::diffusion), "2.30e-9 m2/s");
  EXPECT_EQ(quantityText(1.5e9, Quantity::bValue), "1500 s/mm2");
  EXPECT_EQ(quantityText(0.0, Quantity::bValue), "0 s/mm2");
  EXPECT_EQ(quantityText(12.3, Quantity::plain), "12.3");
}

TEST(Units, InPrintHaveGreekLettersAndPowers) {
  EXPECT_EQ(quantityText(66.7e-6, Quantity::time, UnitStyle::typeset), "66.7 \xC2\xB5s");
  EXPECT_EQ(quantityText(5e5, Quantity::time, UnitStyle::typeset), "5 \xC3\x97 10\xE2\x81\xB5 s");
  EXPECT_EQ(quantityText(2.3e-9, Quantity::diffusion, UnitStyle::typeset),
            "2.30 \xC3\x97 10\xE2\x81\xBB\xE2\x81\xB9 m\xC2\xB2/s");
  EXPECT_EQ(quantityText(1.5e9, Quantity::bValue, UnitStyle::typeset), "1500 s/mm\xC2\xB2");
  EXPECT_EQ(quantityText(0.25, Quantity::plain, UnitStyle::typeset), "0.25");
}

}  // namespace
}  // namespace vorin::toolkit
