// Files of many decays: Stelar's zones and LAS echo arrays, put together by what is known of them.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <utility>

#include "support/child.hpp"
#include "support/refusal.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/formats/blocks.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using test::expectRefusal;
using test::TemporaryFolder;
using Numbers = std::vector<double>;
namespace fs = std::filesystem;

// Blocks that differ in a complex factor alone give these factors, times one number.
TEST(Blocks, AmplitudesOfOneShapeAreItsFactors) {
  constexpr std::size_t length = 40;
  const std::vector<std::complex<double>> factors{{-3.0, 0.5}, {0.0, 0.0}, {1.0, -2.0}, {4.0, 1.0}};
  std::vector<std::complex<double>> samples;
  for (const std::complex<double>& factor : factors) {
    for (std::size_t k = 0; k < length; ++k) {  // off resonance, so that the mean nearly vanishes
      const auto t = static_cast<double>(k);
      samples.push_back(factor * std::polar(std::exp(-t / 30.0), 0.9 * t));
    }
  }
  const ColumnNumbers found = blockAmplitudes(samples, length);
  const std::complex<double> scale =
      std::complex<double>(found.real[3], found.imaginary[3]) / factors[3];
  EXPECT_GT(std::abs(scale), 0.1);
  for (std::size_t b = 0; b < factors.size(); ++b) {
    EXPECT_NEAR(
        std::abs(std::complex<double>(found.real[b], found.imaginary[b]) - scale * factors[b]), 0.0,
        1e-12);
  }
}

TEST(Blocks, ConstantBlocksGiveTheirValue) {
  const ColumnNumbers found =
      blockAmplitudes({{2, 1}, {2, 1}, {2, 1}, {-6, -3}, {-6, -3}, {-6, -3}}, 3);
  EXPECT_NEAR(std::hypot(found.real[0], found.imaginary[0]), std::sqrt(5.0), 1e-12);
  EXPECT_NEAR(found.real[1], -3.0 * found.real[0], 1e-12);
  EXPECT_NEAR(found.imaginary[1], -3.0 * found.imaginary[0], 1e-12);
}

// The shape that the blocks share is that of the greatest ones, though the first has none of it.
TEST(Blocks, ASmallBlockOfAnotherShapeDoesNotCount) {
  const ColumnNumbers found = blockAmplitudes({1, 0, 0, 0, 3, 4, 0, -6, -8}, 3);
  EXPECT_NEAR(std::hypot(found.real[0], found.imaginary[0]), 0.0, 1e-12);
  EXPECT_NEAR(std::hypot(found.real[1], found.imaginary[1]), 25.0 / 7.0, 1e-12);
  EXPECT_NEAR(found.real[2], -2.0 * found.real[1], 1e-12);
}

std::string zone(int number, const std::string& keys, const Numbers& amplitudes) {
  std::string text =
      fmt::format("ZONE=\t{}.1\r\nBRLX =\t0.{}\r\nBS =\t3\r\nNBLK =\t{}\r\n{}DATA=\r\n", number,
                  number, amplitudes.size(), keys);
  for (const double amplitude : amplitudes) {
    for (int k = 0; k < 3; ++k) {
      text += fmt::format("{}\t{}\r\n", amplitude, 0);
    }
  }
  return text;
}

TEST(Stelar, EachZoneIsADecayWithDelaysOfItsOwn) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.sdf";
  const std::string start = "STELAR Data File\r\nNAME =\tx\r\n";
  const std::string logarithmic =
      "T1MX =\t0.25\r\nBGRD =\tLOG\r\nBINI =\t(4*T1MX)\r\nBEND =\t(0.04*T1MX)\r\n";
  test::writeFile(path, start + zone(1, logarithmic, {5, 3, 1}) +
                            zone(2, "BGRD =\tLIN\r\nBINI =\t0.1\r\nBEND =\t0.4\r\n", {1, 2, 3, 4}));
  const std::vector<FileDecay> zones = readDecays(path, {});
  ASSERT_EQ(zones.size(), 2U);
  // From 1 s down to 10 ms by tenths, sorted.
  ASSERT_EQ(zones[0].measured.decay.time.size(), 3U);
  EXPECT_NEAR(zones[0].measured.decay.time[0], 0.01, 1e-15);
  EXPECT_NEAR(zones[0].measured.decay.time[1], 0.1, 1e-15);
  EXPECT_NEAR(zones[0].measured.decay.time[2], 1.0, 1e-15);
  EXPECT_NEAR(zones[0].measured.decay.amplitude[0], 1.0, 1e-12);
  EXPECT_NEAR(zones[0].measured.decay.amplitude[2], 5.0, 1e-12);
  EXPECT_EQ(zones[0].column, "zone 1");
  EXPECT_EQ(zones[1].found.format,
            "Stelar file, zone 2 of 2 (0.2 MHz), 4 blocks of 3 points, each reduced to one number");
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(zones[1].measured.decay.time[i], 0.1 * static_cast<double>(i + 1), 1e-15);
    EXPECT_NEAR(zones[1].measured.decay.amplitude[i], static_cast<double>(i + 1), 1e-12);
  }
  EXPECT_EQ(readDecays(path.string() + ":2", {}).size(), 1U);
  EXPECT_EQ(readDecays(path.string() + ":2", {})[0].measured.decay.time.size(), 4U);
  EXPECT_THROW(readFileDecay(path, {}), UserError);
  expectRefusal(path.string() + ":3", "there is no zone \"3\"; the zones are numbered from 1 to 2");

  test::writeFile(path, start + zone(1, "BGRD =\tLIN\r\nBINI =\t0\r\nBEND =\t0.2\r\n", {1, 2, 3}));
  EXPECT_EQ(readFileDecay(path, {}).measured.decay.time, (Numbers{0.0, 0.1, 0.2}));
  test::writeFile(path, start + zone(1, "BGRD =\tLIN\r\nBINI =\t0.2\r\nBEND =\t0\r\n", {1, 2, 3}));
  EXPECT_EQ(readFileDecay(path, {}).measured.decay.time, (Numbers{0.0, 0.1, 0.2}));

  const std::string whole = start + zone(1, logarithmic, {5, 3, 1});
  const auto changed = [&](const std::string& from, const std::string& to) {
    std::string text = whole;
    text.replace(text.find(from), from.size(), to);
    test::writeFile(path, text);
  };
  changed("LOG", "LIST");
  expectRefusal(path, "zone 1: the delays are \"LIST\" by BGRD; LOG and LIN are read");
  changed("(4*T1MX)", "(4*T2MX)");
  expectRefusal(path, "zone 1: BINI is \"(4*T2MX)\"; a number is needed, or one times T1MX");
  changed("NBLK =\t3", "NBLK =\t4000000");
  expectRefusal(path, "zone 1: there are 9 samples; NBLK x BS are 4e+06 x 3");
  for (const auto& [begin, end] : {std::pair("0", "0.4"), std::pair("0.4", "0"),
                                   std::pair("-0.1", "0.4"), std::pair("0.4", "-0.1")}) {
    changed("BINI =\t(4*T1MX)\r\nBEND =\t(0.04*T1MX)",
            fmt::format("BINI =\t{}\r\nBEND =\t{}", begin, end));
    expectRefusal(path, "zone 1: the delays go from");
  }
  for (const auto& [begin, end] : {std::pair("-0.1", "0.4"), std::pair("0.4", "-0.1")}) {
    test::writeFile(
        path,
        start + zone(1, fmt::format("BGRD =\tLIN\r\nBINI =\t{}\r\nBEND =\t{}\r\n", begin, end),
                     {1, 2, 3}));
    expectRefusal(path, "s; none is below 0");
  }
  changed("5\t0\r\n", "5\r\n");
  expectRefusal(path, "line 12: \"5\" is no pair of numbers");
  changed("NBLK =\t3", "NBLK =\t1");
  expectRefusal(path, "no zone with 2 blocks or more");
  test::writeFile(path, "NMRD SEQUENCE NAME: x\r\n");
  expectRefusal(path, "a Stelar file of version 2, which is not read");
}

TEST(Las, EchoArraysAreDecaysOverDepth) {
  const TemporaryFolder folder;
  const fs::path path = folder / "f.las";
  const std::string head =
      "# a log\n~Version\nVERS. 3.0 : CWLS LAS\nDLM. COMMA : x\n~Well\nNULL. -999.25 : none\n"
      "~Log_Definition\nDEPT.M : depth {F}\nGR.API : gamma: ray {F}\n"
      "NMR[1].ms 99 : NMR Echo Array {A:0}\nNMR[2].ms 99 : NMR Echo Array {A:5}\n"
      "NMR[3].ms 99 : NMR Echo Array {A:10}\n";
  test::writeFile(path, head +
                            "~Log_Data | Log_Definition\n1670.0,80,10,8,6\n"
                            "1669.5,81,-999.25,-999.25,-999.25\n1669.0,82,20,-999.25,5\n");
  const std::vector<FileDecay> decays = readDecays(path, {});
  ASSERT_EQ(decays.size(), 2U);
  EXPECT_EQ(decays[0].column, "DEPT 1670.0");
  EXPECT_EQ(decays[0].measured.decay.time, (Numbers{0.0, 0.005, 0.01}));
  EXPECT_EQ(decays[0].measured.decay.amplitude, (Numbers{10, 8, 6}));
  EXPECT_EQ(decays[0].found.format, "LAS echo array \"NMR\", 3 echoes at 2 depths");
  EXPECT_EQ(decays[0].found.unit, "ms");
  EXPECT_EQ(decays[1].measured.decay.time, (Numbers{0.0, 0.01}));
  EXPECT_EQ(decays[1].measured.decay.amplitude, (Numbers{20, 5}));
  EXPECT_EQ(decays[0].found.notes.front(), "1 depth is without echoes left out");
  test::writeFile(path, head + "~Log_Data | Log_Definition\n1670.0,80,10,8\n");
  expectRefusal(path, "line 14: there is no number for \"NMR[3]\"");
  test::writeFile(path,
                  "~Version\nVERS. 2.0 : x\n~Curve\nDEPT.M : depth\nCBP1.V : bin\n~A\n1 2\n2 3\n");
  expectRefusal(path, "this LAS file has curves over depth, no echo arrays");
}

}  // namespace
}  // namespace vorin::toolkit
