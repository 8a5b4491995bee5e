// How the options of `vorin invert` that choose the method read, and what the summary says.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/reading/csv.hpp"

namespace vorin::toolkit::test {
namespace {

const std::string sampleFile = std::string(VORIN_SAMPLE_DIR) + "/decay.csv";
const std::string sampleTruth = std::string(VORIN_SAMPLE_DIR) + "/decay_truth.csv";

struct BadMethod {
  const char* what;
  std::vector<std::string> options;
  std::string sentence;
};

void PrintTo(const BadMethod& bad, std::ostream* out) {
  *out << bad.what;
}

class BadMethods : public testing::TestWithParam<BadMethod> {};

TEST_P(BadMethods, AreRefusedInOneSentence) {
  const TemporaryFolder folder;
  std::vector<std::string> words{"invert", sampleFile, "--out", "out.csv", "--log", "run.log"};
  words.insert(words.end(), GetParam().options.begin(), GetParam().options.end());
  const Outcome outcome = runProgram(folder.path(), words);
  expectRefusal(outcome, GetParam().sentence);
  EXPECT_TRUE(folder.names().empty());
}

std::string weightSentence(const std::string& value) {
  return "--weight \"" + value + "\": write noise, corner or a number above 0";
}
std::string noiseSentence(const std::string& value) {
  return "--noise \"" + value +
         "\": write a number above 0, difference, fit, ridge, scan or quadrature";
}
std::string compressSentence(const std::string& value) {
  return "--compress \"" + value +
         "\": write N or N,RATIO, a whole number from 1 to 10000 and a number from 0 to below 1, "
         "for instance 20,1e-6";
}
std::string rejectSentence(const std::string& value) {
  return "--reject-outliers \"" + value +
         "\": a number of 1 or above is required, the standard deviations beyond which a sample is "
         "an outlier, or robust, or robust and such a number, as robust,4";
}

INSTANTIATE_TEST_SUITE_P(
    Options, BadMethods,
    testing::ValuesIn(std::vector<BadMethod>{
        {"WeightZero", {"--weight", "0"}, weightSentence("0")},
        {"WeightNegative", {"--weight", "-1"}, weightSentence("-1")},
        {"WeightWord", {"--weight", "Corner"}, weightSentence("Corner")},
        {"WeightNan", {"--weight", "nan"}, weightSentence("nan")},
        {"WeightVast", {"--weight", "1e39"}, weightSentence("1e39")},
        {"NoiseZero", {"--noise", "0"}, noiseSentence("0")},
        {"NoiseWord", {"--noise", "guess"}, noiseSentence("guess")},
        {"NoiseNegative", {"--noise", "-0.1"}, noiseSentence("-0.1")},
        {"NoiseOfNoChannel",
         {"--noise", "quadrature"},
         "--noise quadrature: the data have no imaginary channel; give data with one, or another "
         "noise (--noise SIGMA or difference)"},
        {"CompressZero", {"--compress", "0"}, compressSentence("0")},
        {"CompressNegative", {"--compress", "-3"}, compressSentence("-3")},
        {"CompressTooMany", {"--compress", "10001"}, compressSentence("10001")},
        {"CompressHalf", {"--compress", "2.5"}, compressSentence("2.5")},
        {"CompressNoRatio", {"--compress", "20,"}, compressSentence("20,")},
        {"CompressRatioOfOne", {"--compress", "20,1"}, compressSentence("20,1")},
        {"CompressRatioNegative", {"--compress", "20,-1e-3"}, compressSentence("20,-1e-3")},
        {"CompressThree", {"--compress", "20,0.1,3"}, compressSentence("20,0.1,3")},
        {"CompressWord", {"--compress", "much"}, compressSentence("much")},
        {"RejectZero", {"--reject-outliers", "0"}, rejectSentence("0")},
        {"RejectTooFew", {"--reject-outliers", "0.9"}, rejectSentence("0.9")},
        {"RejectWord", {"--reject-outliers", "all"}, rejectSentence("all")},
        {"RejectNan", {"--reject-outliers", "nan"}, rejectSentence("nan")},
        {"RejectRobustNothing", {"--reject-outliers", "robust,"}, rejectSentence("robust,")},
        {"RejectRobustWord", {"--reject-outliers", "robust4"}, rejectSentence("robust4")},
        {"RejectWithoutBins",
         {"--reject-outliers", "--prune", "none"},
         "--reject-outliers with --prune none: the library keeps outliers out of bins; let samples "
         "be gathered (--prune log), or write --reject-outliers robust"},
        {"BootstrapFew",
         {"--bootstrap", "19"},
         "--bootstrap \"19\": a whole number from 20 to 100000 is required"},
        {"BootstrapMany",
         {"--bootstrap", "100001"},
         "--bootstrap \"100001\": a whole number from 20 to 100000 is required"},
        {"BootstrapWord",
         {"--bootstrap", "yes"},
         "--bootstrap \"yes\": a whole number from 20 to 100000 is required"},
        {"SeedNegative",
         {"--bootstrap", "20", "--seed", "-1"},
         "--seed \"-1\": a whole number of 0 or above is required"},
        {"SeedWord",
         {"--bootstrap", "20", "--seed", "x"},
         "--seed \"x\": a whole number of 0 or above is required"},
        {"SeedOfNothing",
         {"--seed", "3"},
         "--seed \"3\": it is that of --bootstrap, which is not asked for"},
        {"LCurveOfNoKind",
         {"--plot-lcurve", "l.gif"},
         "--plot-lcurve l.gif: the name must end in .png, .svg or .pdf"},
        {"LCurveInNoFolder",
         {"--plot-lcurve", "/dev/null/l.png"},
         "--plot-lcurve /dev/null/l.png: /dev/null is no folder; give another name"},
        {"LCurveOverAnother",
         {"--plot-lcurve", "out.csv"},
         "--plot-lcurve out.csv: two outputs have this name; give each its own"},
    }),
    [](const auto& row) { return std::string(row.param.what); });

TEST(MethodOptions, AFileAfterAnOptionalValueIsReadOrTold) {
  const TemporaryFolder folder;
  fs::copy_file(sampleFile, folder / "a.csv");
  for (const char* option : {"--compress", "--reject-outliers"}) {
    const Outcome first = runProgram(folder.path(), {"invert", "a.csv", option});
    const Outcome last = runProgram(folder.path(), {"invert", option, "a.csv"});
    EXPECT_EQ(first.status, 0) << first.err;
    if (last.status == 0) {
      EXPECT_EQ(last.out, first.out);
    } else {
      EXPECT_NE(last.err.find("write the file before it"), std::string::npos) << last.err;
    }
  }
}

/// What the summary of the sample says behind `label`.
std::string told(const std::vector<std::string>& options, const std::string& label) {
  const TemporaryFolder folder;
  std::vector<std::string> words{"invert", sampleFile, "--truth", sampleTruth};
  words.insert(words.end(), options.begin(), options.end());
  const Outcome outcome = runProgram(folder.path(), words);
  EXPECT_EQ(outcome.status, 0) << outcome.err << outcome.out;
  EXPECT_EQ(outcome.err, "");
  const std::string line = fmt::format("\n  {:<16}", label);
  const std::size_t at = outcome.out.find(line);
  if (at == std::string::npos) {
    return "";
  }
  const std::size_t start = at + line.size();
  return outcome.out.substr(start, outcome.out.find('\n', start) - start);
}

TEST(MethodOptions, TheSummarySaysWhereTheNoiseComesFrom) {
  EXPECT_NE(told({}, "noise").find("(from the residual of the closest fit)"), std::string::npos);
  EXPECT_NE(
      told({"--method", "classic"}, "noise").find("(from differences of neighbouring samples)"),
      std::string::npos);
  EXPECT_EQ(told({"--noise", "0.25"}, "noise"), "0.25 (given)");
  EXPECT_NE(
      told({"--noise", "difference"}, "noise").find("(from the library's second differences)"),
      std::string::npos);
  EXPECT_NE(told({"--noise", "fit"}, "noise").find("(from the library's fit without a penalty)"),
            std::string::npos);
  EXPECT_NE(told({"--noise", "ridge"}, "noise").find("(from the library's ridge fit)"),
            std::string::npos);
  EXPECT_NE(told({"--noise", "scan"}, "noise").find("(from the library's scan of weights)"),
            std::string::npos);
  EXPECT_NE(told({"--set", "NALG=REG"}, "noise").find("(estimated by the library)"),
            std::string::npos);
}

TEST(MethodOptions, EveryEstimateIsCloseToTheNoiseOfTheSample) {
  for (const char* source : {"difference", "fit", "ridge", "scan"}) {
    const double noise = std::stod(told({"--noise", source}, "noise"));
    // 0.2; the fits spread as the 200 bins do, by a twentieth.
    EXPECT_NEAR(noise / 0.2, 1.0, 0.2) << source;
  }
}

TEST(MethodOptions, TheCornerAndItsFactorAreTold) {
  const std::string weight = told({"--weight", "corner"}, "weight");
  EXPECT_NE(weight.find("(0.1 times that of the L-curve's corner, "), std::string::npos) << weight;
  const std::string corner = told({"--weight", "corner", "--set", "RWEI=1"}, "weight");
  EXPECT_NE(corner.find(" (corner of the L-curve)"), std::string::npos) << corner;
  EXPECT_NEAR(std::stod(corner) / std::stod(weight), 10.0, 0.01);
  EXPECT_EQ(told({"--weight", "corner"}, "weight"), told({"--set", "TARG=2"}, "weight"));
  EXPECT_EQ(told({"--weight", "noise"}, "weight"), told({}, "weight"));
}

TEST(MethodOptions, CompressionIsThatOfItsStandardValue) {
  const auto weight = [](std::vector<std::string> options) {
    options.insert(options.end(), {"--method", "classic"});
    return told(options, "weight");
  };
  const std::string standard = weight({"--compress"});
  EXPECT_EQ(standard, weight({"--compress", "20,1e-6"}));
  EXPECT_EQ(standard, weight({"--compress=20"}));
  EXPECT_NE(standard, weight({"--compress", "8"}));
  EXPECT_NE(standard, weight({}));
}

TEST(MethodOptions, TheChosenWeightIsThatBeforeTheCompression) {
  const std::string weight = told({}, "weight");
  EXPECT_NE(weight.find("(chosen from the data)"), std::string::npos) << weight;
  EXPECT_EQ(told({"--method", "automatic"}, "weight"), weight);
  EXPECT_EQ(told({"--compress"}, "weight"), weight);
  EXPECT_NEAR(std::stod(told({"--compress"}, "log mean")), std::stod(told({}, "log mean")), 0.5);
}

TEST(MethodOptions, AKeyOfTheLibrarysSearchAsksForIt) {
  EXPECT_EQ(told({"--set", "WTOL=0.001"}, "weight"),
            told({"--method", "classic", "--set", "WTOL=0.001"}, "weight"));
}

TEST(MethodOptions, OutliersAreCounted) {
  EXPECT_EQ(told({}, "outliers"), "");
  EXPECT_EQ(told({"--reject-outliers", "8"}, "outliers"), "none of 3000 samples left out");
  const TemporaryFolder folder;
  Decay decay = readDecay(sampleFile);
  for (std::size_t i : {70U, 1500U, 2900U}) {
    decay.amplitude[i] += 6.0;
  }
  std::string text;
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    text += fmt::format("{},{}\n", decay.time[i], decay.amplitude[i]);
  }
  writeFile(folder / "spikes.csv", text);
  for (const char* how : {"8", "robust,8", "robust"}) {
    const Outcome outcome =
        runProgram(folder.path(), {"invert", "spikes.csv", "--reject-outliers", how});
    EXPECT_NE(outcome.out.find("3 of 3000 samples left out"), std::string::npos) << outcome.out;
  }
}

TEST(MethodOptions, TheBootstrapIsToldAndWritten) {
  const std::string interval = told({"--bootstrap", "25"}, "68 % interval");
  EXPECT_NE(interval, "");
  EXPECT_EQ(told({"--bootstrap", "25", "--seed", "1"}, "68 % interval"), interval);
  EXPECT_EQ(told({}, "68 % interval"), "");
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(
      folder.path(), {"invert", sampleFile, "--bootstrap", "25", "--seed", "4", "--out", "f.csv"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");  // no bar where stderr is no terminal
  EXPECT_NE(contentOf(folder / "f.csv").find("\nt2_s,amplitude,lower,upper,cumulative\n"),
            std::string::npos);
}

TEST(MethodOptions, DrawsTheLCurveOfEachKindAndPath) {
  const TemporaryFolder folder;
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"--weight", "corner", "--plot-lcurve", "l.png"}, "\x89PNG"},
      {{"--plot-lcurve", "l.svg"}, "<?xml"},
      {{"--weight", "1", "--compress", "--plot-lcurve", "l.pdf"}, "%PDF"},
      {{"--weight", "corner", "--prune", "none", "--compress", "--plot-lcurve", "m.svg"}, "<?xml"}};
  for (const auto& [options, start] : cases) {
    std::vector<std::string> words{"invert", sampleFile};
    words.insert(words.end(), options.begin(), options.end());
    const Outcome outcome = runProgram(folder.path(), words);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string content = contentOf(folder / options.back());
    EXPECT_EQ(content.substr(0, start.size()), start);
    EXPECT_GT(content.size(), 5000U);
  }
  const std::string picture = contentOf(folder / "m.svg");
  for (const char* words : {"corner: ", "weight of the result: ", "norm of the residual",
                            "norm of the distribution", "decay.csv: L-curve"}) {
    EXPECT_NE(picture.find(words), std::string::npos) << words;
  }
}

}  // namespace
}  // namespace vorin::toolkit::test
