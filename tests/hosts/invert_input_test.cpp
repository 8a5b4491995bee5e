// The ways in which vorin invert takes decays, against a decay of two exponentials that
// each of them tells in its own form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/model/grid.hpp"
#include "toolkit/model/kernel.hpp"
#include "toolkit/model/simulation.hpp"
#include "toolkit/reading/csv.hpp"

namespace vorin::toolkit::test {
namespace {

using Words = std::vector<std::string>;

const std::string sampleFile = std::string(VORIN_SAMPLE_DIR) + "/decay.csv";

/// A decay as text, a row for each of `times`, by `row`.
std::string rows(const Decay& decay, const std::function<std::string(double, double)>& row) {
  std::string text;
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    text += row(decay.time[i], decay.amplitude[i]) + "\n";
  }
  return text;
}

/// `text` with a comma for each point.
std::string withCommas(std::string text) {
  std::replace(text.begin(), text.end(), '.', ',');
  return text;
}

/// The distribution that the program writes for decay.txt in `folder`.
Distribution inverted(const TemporaryFolder& folder, Words options, std::string_view input = {}) {
  const std::string name = input.empty() ? "decay.txt" : "-";
  Words words{"invert", name, "--out", "out.csv"};
  words.insert(words.end(), options.begin(), options.end());
  const Outcome outcome = runProgram(folder.path(), words, input);
  EXPECT_EQ(outcome.status, 0) << outcome.err << outcome.out;
  return readDistribution(folder / "out.csv");
}

TEST(InvertInput, EveryFormOfAFileGivesTheSameDistribution) {
  const TemporaryFolder folder;
  const Decay sample = readDecay(sampleFile);
  fs::copy_file(sampleFile, folder / "decay.txt");
  const Distribution expected = inverted(folder, {});
  struct Form {
    std::string content;
    Words options;
  };
  const std::vector<Form> forms{
      {withCommas(rows(sample, [](double t, double y) { return fmt::format("{};{}", t, y); })), {}},
      {rows(sample, [](double t, double y) { return fmt::format("{} {}\r", t, y); }), {}},
      {"n\tIm\ttime\tRe\n" +
           rows(sample, [](double t, double y) { return fmt::format("1\tx\t{}\t{}", t, y); }),
       {"--columns", "time,Re"}},
      {rows(sample, [](double t, double y) { return fmt::format("{},{}", t * 1e6, y); }),
       {"--time-unit", "us"}},
  };
  for (const Form& form : forms) {
    writeFile(folder / "decay.txt", form.content);
    const Distribution found = inverted(folder, form.options);
    ASSERT_EQ(found.time.size(), expected.time.size());
    for (std::size_t k = 0; k < found.time.size(); ++k) {
      // The last bit of a time in other units may differ.
      EXPECT_NEAR(found.amplitude[k], expected.amplitude[k], 1e-3) << k;
    }
  }
}

TEST(InvertInput, StandardInputIsReadLikeAFile) {
  const TemporaryFolder folder;
  const std::string content = contentOf(sampleFile);
  const Distribution found = inverted(folder, {}, content);
  fs::copy_file(sampleFile, folder / "decay.txt");
  const Distribution expected = inverted(folder, {});
  EXPECT_EQ(found.amplitude, expected.amplitude);
}

TEST(InvertInput, ComplexDataAreTurnedAndTellTheirNoise) {
  const TemporaryFolder folder;
  const Decay sample = readDecay(sampleFile);
  const double angle = -2.1;  // beyond a right angle: the sign must be found too
  NormalNoise noise(5);
  writeFile(folder / "decay.txt", "t,re,im\n" + rows(sample, [&](double t, double y) {
                                    const double im = 0.2 * noise.next();
                                    return fmt::format("{},{},{}", t,
                                                       y * std::cos(angle) - im * std::sin(angle),
                                                       y * std::sin(angle) + im * std::cos(angle));
                                  }));
  const Outcome outcome = runProgram(folder.path(), {"invert", "decay.txt", "--columns", "t,re,im",
                                                     "--noise", "quadrature", "--fit", "fit.csv"});
  EXPECT_EQ(outcome.status, 0) << outcome.err << outcome.out;
  double degrees = 0.0;
  double imaginaryNoise = 0.0;
  const std::size_t at = outcome.out.find("complex data");
  ASSERT_NE(at, std::string::npos) << outcome.out;
  ASSERT_EQ(std::sscanf(outcome.out.c_str() + at,
                        "complex data turned back by %lf degrees, imaginary noise %lf", &degrees,
                        &imaginaryNoise),
            2);
  // The phase of samples y is known to sigma / |y|, |y| being the root of their sum of
  // squares; the noise of 3000 samples to 1 / sqrt(6000) = 1.3 %.
  double squares = 0.0;
  for (double y : sample.amplitude) {
    squares += y * y;
  }
  const double spread = 0.2 / std::sqrt(squares);
  EXPECT_NEAR(degrees * std::numbers::pi / 180.0, angle, 4.0 * spread + 1e-4);
  EXPECT_NEAR(imaginaryNoise / 0.2, 1.0, 4.0 * 0.013);
  // The written amplitudes are those of the real channel after the turn.
  DecayFormat format;
  format.columns = parseColumns("time_s,amplitude", "--columns");
  const Decay turned = readMeasuredDecay(folder / "fit.csv", format).decay;
  for (std::size_t i = 0; i < sample.time.size(); ++i) {
    // An angle of 4 spreads moves a sample by that times its imaginary part, 1 at most.
    ASSERT_NEAR(turned.amplitude[i], sample.amplitude[i], 4.0 * spread + 1e-5 * 100.0);
  }
}

TEST(InvertInput, SkippedSamplesDoNotTurnThePhase) {
  const TemporaryFolder folder;
  writeFile(folder / "decay.txt", "0.5 0 900\n1 4 0\n2 3 0\n3 2 0\n4 1 0\n");
  const Outcome outcome = runProgram(
      folder.path(), {"invert", "decay.txt", "--columns", "1,2,3", "--skip", "1", "--weight", "1"});
  EXPECT_NE(outcome.out.find("turned back by 0.00 degrees, imaginary noise 0"), std::string::npos)
      << outcome.out << outcome.err;
}

TEST(InvertInput, TwoDiffusionCoefficientsAreFound) {
  const TemporaryFolder folder;
  NormalNoise noise(2);
  std::string text = "b;signal\n";
  double truth = 0.0;  // log mean
  for (int i = 0; i < 100; ++i) {
    const double b = 25.0 * i;  // s/mm2
    text += fmt::format(
        "{};{}\n", b,
        60.0 * std::exp(-b * 2.3e-3) + 40.0 * std::exp(-b * 0.4e-3) + 0.05 * noise.next());
  }
  truth = std::pow(2.3e-9, 0.6) * std::pow(0.4e-9, 0.4);
  writeFile(folder / "decay.txt", text);
  const Words options{"--kernel", "diffusion", "--time-unit",
                      "s/mm2",    "--grid",    "0.05um2/ms:20um2/ms:100",
                      "--noise",  "0.05"};
  const Distribution found = inverted(folder, options);
  EXPECT_NEAR(found.time.front(), 0.05e-9, 1e-15);
  // The sum of the amplitudes is the signal at b = 0, known to about the noise.
  EXPECT_NEAR(totalAmplitude(found), 100.0, 0.5);
  EXPECT_NEAR(std::log(logMean(found) / truth), 0.0, 0.03);
  EXPECT_EQ(peaks(found, 0.05).size(), 2U);
  const std::string content = contentOf(folder / "out.csv");
  EXPECT_NE(content.find("kernel exp(-b D)"), std::string::npos);
  EXPECT_NE(content.find("m2/s\nd_m2_s,amplitude,cumulative\n"), std::string::npos);
}

TEST(InvertInput, AMatrixOfT2GivesWhatTheT2KernelGives) {
  const TemporaryFolder folder;
  fs::copy_file(sampleFile, folder / "decay.txt");
  const Decay sample = readDecay(sampleFile);
  const std::vector<double> grid = LogGrid{1e-4, 10.0, 40}.times();
  std::string text;
  for (double t : sample.time) {
    for (double T : grid) {
      text += fmt::format("{:.17g} ", kernelValue(Kernel::t2, t, T));
    }
    text += "\n";
  }
  writeFile(folder / "k.txt", text);
  for (const Words& more : {Words{}, Words{"--skip", "7"}}) {
    Words matrix{"--kernel", "k.txt", "--grid", "1e-4:10:40"};
    Words named{"--grid", "1e-4:10:40"};
    matrix.insert(matrix.end(), more.begin(), more.end());
    named.insert(named.end(), more.begin(), more.end());
    const Distribution byMatrix = inverted(folder, matrix);
    const Distribution byName = inverted(folder, named);
    EXPECT_EQ(byMatrix.amplitude, byName.amplitude);
  }
  const Outcome outcome = runProgram(
      folder.path(), {"invert", "decay.txt", "--kernel", "k.txt", "--grid", "1e-4:10:40"});
  EXPECT_NE(outcome.out.find("kernel          matrix k.txt, 40 values from 0.0001 to 10\n"),
            std::string::npos)
      << outcome.out;
}

TEST(InvertInput, AGridFileIsTakenAsItStands) {
  const TemporaryFolder folder;
  fs::copy_file(sampleFile, folder / "decay.txt");
  writeFile(folder / "grid.txt", "0.001\n0.005\n0.01\n0.04\n0.1\n0.2\n1\n");
  EXPECT_EQ(inverted(folder, {"--grid", "grid.txt", "--noise", "1"}).time,
            (std::vector<double>{0.001, 0.005, 0.01, 0.04, 0.1, 0.2, 1.0}));
}

}  // namespace
}  // namespace vorin::toolkit::test
