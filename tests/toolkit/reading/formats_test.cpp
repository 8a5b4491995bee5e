// Instrument formats: real files where they are present beside the project, and bytes put together
// here by what is known of the layouts.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>

#include "support/child.hpp"
#include "support/refusal.hpp"
#include "toolkit/model/phase.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {
namespace {

using test::refusal;
using test::TemporaryFolder;
using test::writeFile;
using Numbers = std::vector<double>;
namespace fs = std::filesystem;

fs::path realFile(const char* name) {
  return fs::path(VORIN_MEASURED_DATA_DIR) / ".." / "instrument_files" / name;
}

template <class Number>
void put(std::string& bytes, Number number) {
  std::string own(sizeof(Number), '\0');
  std::memcpy(own.data(), &number, sizeof(Number));
  bytes += own;
}

TEST(RealFiles, AreKnownByTheirContent) {
  if (!fs::exists(realFile("minispec/cpmg.dps"))) {
    GTEST_SKIP() << "no instrument files";
  }
  const FileDecay minispec = readFileDecay(realFile("minispec/cpmg.dps"), {});
  EXPECT_EQ(minispec.found.format, "minispec text");
  EXPECT_DOUBLE_EQ(minispec.measured.decay.time.front(), 0.21508e-3);
  EXPECT_EQ(minispec.measured.decay.time.size(), 10000U);

  const FileDecay geospec = readFileDecay(realFile("geospec/inversion_recovery.txt"), {});
  EXPECT_EQ(geospec.found.format, "GeoSpec text, T1 test");
  EXPECT_EQ(geospec.measured.decay.time.size(), 32U);
  EXPECT_DOUBLE_EQ(geospec.measured.decay.time.back(), 5.693147);
  EXPECT_EQ(geospec.measured.imaginary.back(), -10224.0);

  // The same decay as text and as binary; the text has six digits.
  const MeasuredDecay text = readMeasuredDecay(realFile("prospa/data.csv"), {});
  const MeasuredDecay binary = readMeasuredDecay(realFile("prospa/data.1d"), {});
  ASSERT_EQ(text.decay.time.size(), binary.decay.time.size());
  for (std::size_t i = 0; i < text.decay.time.size(); ++i) {
    ASSERT_NEAR(text.decay.time[i], binary.decay.time[i], 1e-5 * binary.decay.time[i]);
    ASSERT_NEAR(text.decay.amplitude[i], binary.decay.amplitude[i], 1e-5);
    ASSERT_NEAR(text.imaginary[i], binary.imaginary[i], 1e-5);
  }
  EXPECT_NE(refusal(realFile("prospa/data.pt1")).find("this is a plot of Prospa"),
            std::string::npos);
  EXPECT_NE(refusal(realFile("spinsolve_t1t2/T1IRT2.dat")).find("16 rows of 1024 echoes"),
            std::string::npos);

  MeasuredDecay recovery = readMeasuredDecay(realFile("tecmag/IR_silicon_oil.tnt"), {});
  EXPECT_EQ(recovery.decay.time.size(), 16U);
  EXPECT_DOUBLE_EQ(recovery.decay.time[3], 0.99e-3);
  phaseCorrect(recovery, Kernel::t1Inversion);
  EXPECT_LT(recovery.decay.amplitude.front(), -0.5 * recovery.decay.amplitude.back());
  EXPECT_NE(refusal(realFile("tecmag/CPMG_silicon_oil.tnt")).find("--spacing 200us"),
            std::string::npos);
  DecayFormat spaced;
  spaced.spacing = Spacing{"200us", 200e-6, {}};
  EXPECT_EQ(readMeasuredDecay(realFile("tecmag/CPMG_silicon_oil.tnt"), spaced).imaginary.size(),
            5000U);
}

// Three columns of numbers are a minispec's where the first counts echoes that are evenly spaced.
TEST(Minispec, IsKnownByEvenlySpacedEchoes) {
  const TemporaryFolder folder;
  const auto formatOf = [&](const std::string& lastTime) {
    writeFile(folder / "f.txt", "0\t0.2\t8\n1\t0.4\t4\n2\t0.6\t2\n3\t" + lastTime + "\t1\n");
    try {
      return readFileDecay(folder / "f.txt", {}).found.format;
    } catch (const UserError&) {
      return std::string("refused");
    }
  };
  EXPECT_EQ(formatOf("0.8"), "minispec text");
  EXPECT_NE(formatOf("1.7"), "minispec text");
}

TEST(Prospa, EveryTypeOfNumbersIsRead) {
  const TemporaryFolder folder;
  const auto file = [](std::int32_t type, std::int32_t count) {
    std::string bytes = "SORPATAD1.1V";
    for (const std::int32_t number : {type, count, 1, 1, 1}) {
      put(bytes, number);
    }
    return bytes;
  };
  std::string timed = file(504, 2);
  for (const float number : {1.0F, 2.0F, 5.0F, -1.0F, 4.0F, -2.0F}) {
    put(timed, number);
  }
  writeFile(folder / "d.1d", timed);
  EXPECT_NE(refusal(folder / "d.1d").find("tells the unit of the times; give it by --time-unit"),
            std::string::npos);
  DecayFormat format;
  format.unit = 1e-6;
  const MeasuredDecay decay = readMeasuredDecay(folder / "d.1d", format);
  EXPECT_EQ(decay.decay.time, (Numbers{1.0 / 1e6, 2.0 / 1e6}));
  EXPECT_EQ(decay.decay.amplitude, (Numbers{5, 4}));
  EXPECT_EQ(decay.imaginary, (Numbers{-1, -2}));
  writeFile(folder / "acqu.par", "dwellTime = 1\n");
  EXPECT_EQ(readMeasuredDecay(folder / "d.1d", {}).decay.time, decay.decay.time);

  std::string plain = file(502, 3);
  for (const double number : {3.0, 2.0, 1.0}) {
    put(plain, number);
  }
  writeFile(folder / "p.1d", plain);
  EXPECT_NE(refusal(folder / "p.1d").find("give the time between two by --spacing"),
            std::string::npos);
  format.spacing = Spacing{"1ms", 1e-3, {}};
  format.unit.reset();
  EXPECT_EQ(readMeasuredDecay(folder / "p.1d", format).decay.amplitude, (Numbers{3, 2, 1}));
  writeFile(folder / "p.1d", plain.substr(0, plain.size() - 1));
  EXPECT_NE(refusal(folder / "p.1d", format).find("cut off"), std::string::npos);
  writeFile(folder / "p.1d", file(500, 2'000'000'000));
  EXPECT_NE(refusal(folder / "p.1d", format).find("cut off"), std::string::npos);
}

TEST(Prospa, RowsOfAMatrixAreDecaysWhereTheyAreChosen) {
  const TemporaryFolder folder;
  std::string bytes = "SORPATAD1.1V";
  for (const std::int32_t number : {501, 3, 2, 1, 1}) {  // complex, 3 samples, 2 rows
    put(bytes, number);
  }
  for (const float number : {9.F, 1.F, 6.F, 2.F, 3.F, 3.F, 8.F, -1.F, 4.F, -2.F, 2.F, -3.F}) {
    put(bytes, number);
  }
  writeFile(folder / "d.2d", bytes);
  EXPECT_NE(refusal(folder / "d.2d").find("or take its rows as decays by --columns -,1..2"),
            std::string::npos);
  const DecayFormat format = readDecayFormat({"-,1..2", "", "", "200us"}, Quantity::time, "--");
  const std::vector<FileDecay> decays = readDecays(folder / "d.2d", format);
  ASSERT_EQ(decays.size(), 2U);
  EXPECT_EQ(decays[0].measured.decay.amplitude, (Numbers{9, 6, 3}));
  EXPECT_EQ(decays[1].measured.decay.amplitude, (Numbers{8, 4, 2}));
  EXPECT_EQ(decays[1].measured.imaginary, (Numbers{-1, -2, -3}));
  EXPECT_DOUBLE_EQ(decays[1].measured.decay.time[2], 600e-6);
  writeFile(folder / "d.2d", bytes.substr(0, bytes.size() - 1));
  EXPECT_NE(refusal(folder / "d.2d", format).find("cut off"), std::string::npos);
}

TEST(Topspin, ASeriesIsReadInBothByteOrdersAndWithPaddedRows) {
  const TemporaryFolder folder;
  for (const bool big : {false, true}) {
    for (const int points : {16, 256}) {  // padded, and a block of 1024 bytes as they are
      writeFile(folder / "acqus", fmt::format("##TITLE= x\n##$TD= {}\n##$AQ_mod= 3\n##$DTYPA= 0\n"
                                              "##$BYTORDA= {}\n##$GRPDLY= 1.5\n",
                                              points, big ? 1 : 0));
      writeFile(folder / "acqu2s", "##TITLE= x\n##$TD= 2\n");
      writeFile(folder / "vdlist", "20.000m \n1.5");
      std::string ser;
      for (const std::int32_t signal : {-100, 300}) {
        std::string row;
        for (int k = 0; k < points; ++k) {  // complex points 0 and 1 are before the signal
          // and those behind the sixth have decayed
          const std::int32_t number = k < 4 ? 7 : k >= 12 ? 1 : k % 2 == 0 ? signal : 10;
          std::string own;
          put(own, number);
          row += big ? std::string(own.rbegin(), own.rend()) : own;
        }
        row.resize(1024);
        ser += row;
      }
      writeFile(folder / "ser", ser);
      for (const fs::path& path : {folder.path(), folder / "ser"}) {
        const MeasuredDecay decay = readMeasuredDecay(path, {});
        EXPECT_EQ(decay.decay.time, (Numbers{20.0 / 1e3, 1.5}));
        EXPECT_EQ(decay.decay.amplitude, (Numbers{-100, 300}));
        EXPECT_EQ(decay.imaginary, (Numbers{10, 10}));
      }
    }
  }
  writeFile(folder / "vdlist", "20m\n");
  EXPECT_NE(refusal(folder.path()).find("there are 1 delays for 2 rows"), std::string::npos);
  fs::remove(folder / "vdlist");
  EXPECT_NE(refusal(folder.path()).find("there is no vdlist"), std::string::npos);
}

TEST(Topspin, PointsArePairsOfNumbers) {
  const TemporaryFolder folder;
  const auto told = [&](const std::string& pair) {
    writeFile(folder / "t1.dx",
              "##TITLE= x\n##DATA TYPE= Relaxation Data\n"
              "##XYPOINTS= (XY..XY)\n2e-3, 4\n" +
                  pair + "\n##END=\n");
    return refusal(folder / "t1.dx");
  };
  EXPECT_EQ(told("1e-3, 5"), "read");
  for (const char* pair : {"1e-3, x", "x, 5", "1e-3", "1e-3, 5, 6", "x, y"}) {
    EXPECT_NE(told(pair).find("line 5: \"" + std::string(pair) + "\" is no pair of numbers"),
              std::string::npos)
        << pair;
  }
}

TEST(Topspin, TablesOfPeaksAreColumns) {
  const TemporaryFolder folder;
  writeFile(folder / "ct1t2.txt",
            "Dataset :\n x\n\n    tau    ppm     integral    intensity\n\n"
            "  1.000s  4.3  2.0  9\n  500.000m  4.3  1.0  8\n\nPeak 2\n"
            "    tau    ppm     integral    intensity\n\n 1.000s  1.2  7.0  9\n"
            " 500.000m  1.2  6.0  8\n");
  EXPECT_NE(refusal(folder / "ct1t2.txt").find("there are 3 columns"), std::string::npos);
  DecayFormat format;
  format.columns = parseColumns("1,2..3", "--columns");
  const std::vector<FileDecay> peaks = readDecays(folder / "ct1t2.txt", format);
  ASSERT_EQ(peaks.size(), 2U);
  EXPECT_EQ(peaks[1].column, "1.2 ppm");
  EXPECT_EQ(peaks[1].measured.decay.time, (Numbers{0.5, 1.0}));
  EXPECT_EQ(peaks[1].measured.decay.amplitude, (Numbers{6, 7}));
}

/// Two rows of two complex samples, in acquisitions of `window` samples, with a table of their
/// delays under a name of `letters` letters.
std::string tecmagFile(std::size_t letters, std::int32_t window = 2) {
  std::string bytes = "TNT1.008";
  bytes.resize(20 + 16);
  for (const std::int32_t count : {2, 2, 1, 1, window}) {  // of each dimension, and of the window
    put(bytes, count);
  }
  bytes.resize(20 + 272);
  put(bytes, 1e-6);
  bytes.resize(20 + 1024);
  bytes += "DATA";
  bytes.resize(bytes.size() + 8);
  for (const float number : {4.F, 1.F, 4.F, 1.F, 2.F, -1.F, 2.F, -1.F}) {
    put(bytes, number);
  }
  const std::string table = std::string(letters, 'd') + ":2";
  const std::string delays = "1m\r\n20m\r\n";
  bytes += table + std::string(8, '\0');
  put(bytes, static_cast<std::int32_t>(table.size()));
  bytes += table;
  put(bytes, static_cast<std::int32_t>(delays.size()));
  return bytes + delays;
}

TEST(Tecmag, TheDelaysHaveANameOfSixteenLettersAtMost) {
  const TemporaryFolder folder;
  for (const std::size_t letters : {1U, 16U}) {
    writeFile(folder / "d.tnt", tecmagFile(letters));
    const MeasuredDecay decay = readMeasuredDecay(folder / "d.tnt", {});
    EXPECT_EQ(decay.decay.time, (Numbers{1.0 / 1e3, 20.0 / 1e3}));
    EXPECT_EQ(decay.decay.amplitude, (Numbers{8, 4}));
    EXPECT_EQ(decay.imaginary, (Numbers{2, -2}));
  }
  writeFile(folder / "d.tnt", tecmagFile(17));
  EXPECT_NE(refusal(folder / "d.tnt").find("0 tables of delays"), std::string::npos);
  writeFile(folder / "d.tnt", tecmagFile(16, 1));
  EXPECT_NE(refusal(folder / "d.tnt").find("2 rows of 2 acquisitions, a map over two axes"),
            std::string::npos);
}

TEST(GeoSpec, MapsAndDiffusionAreAskedFor) {
  const TemporaryFolder folder;
  writeFile(folder / "g.txt", "[GITData]\nTestType=106\n[Data]\n1\t0\t2\t3\n1\t1\t2\t3\n");
  EXPECT_NE(refusal(folder / "g.txt").find("this is a T1-T2 map over two axes"), std::string::npos);
  writeFile(folder / "g.txt",
            "[GITData]\r\nTestType=105\r\n[Data]\r\n1\t0\t2\t3\r\n2\t0\t1\t3\r\n");
  EXPECT_NE(refusal(folder / "g.txt").find("give it by --time-unit"), std::string::npos);
  writeFile(folder / "g.txt", "[GITData]\n[Data]\n1\t0\t2\n");
  EXPECT_NE(refusal(folder / "g.txt").find("line 3: a row of [Data]"), std::string::npos);
}

}  // namespace
}  // namespace vorin::toolkit
