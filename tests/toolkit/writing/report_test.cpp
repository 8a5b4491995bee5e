// The summary and the tables of one inversion, where they show more than numbers that
// other tests look at.
#include "toolkit/writing/report.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "toolkit/model/decay.hpp"
#include "toolkit/writing/batch_table.hpp"
#include "toolkit/writing/json_report.hpp"

namespace vorin::toolkit {
namespace {

/// An inversion with round numbers: 1 at 0.01 s and 3 at 0.1 s.
struct Example {
  Decay decay{{0.001, 0.002, 0.003}, {-8.0, 4.0, 2.0}};
  Inversion inversion;
  ReportContext context{"a.csv", decay, Kernel::t2};

  Example() {
    inversion.distribution = {{0.01, 0.03, 0.1}, {1.0, 0.0, 3.0}};
    inversion.fit = {4.0, 3.0, 2.0};
    inversion.weight = 0.5;
    inversion.noise = 0.1;
    inversion.noiseOrigin = NoiseOrigin::given;
  }

  bool summaryHolds(std::string_view text) const {
    return summary(inversion, context).find(text) != std::string::npos;
  }
};

TEST(Report, SignalToNoiseIsTheLargestMagnitudeOverTheNoise) {
  Example example;
  EXPECT_EQ(*signalToNoise(example.inversion, example.decay), 80.0);
  EXPECT_TRUE(example.summaryHolds("\n  signal to noise 80\n"));
  example.inversion.noise = 0.0;
  EXPECT_FALSE(signalToNoise(example.inversion, example.decay).has_value());
  EXPECT_FALSE(example.summaryHolds("signal to noise"));
}

TEST(Report, TheSupportIsTheColumnsThatTheDataReach) {
  Example example;
  example.inversion.mode = WeightMode::automatic;
  example.inversion.lastColumn = 2;
  EXPECT_FALSE(example.summaryHolds("support"));
  example.inversion.firstColumn = 1;
  EXPECT_TRUE(example.summaryHolds("\n  support         30.0 ms to "))
      << summary(example.inversion, example.context);
}

TEST(Report, ANoiseOfFewSamplesIsTold) {
  Example example;
  example.inversion.noiseSpread = 0.15;
  EXPECT_FALSE(example.summaryHolds("so few samples"));
  example.inversion.noiseSpread = 0.27;
  EXPECT_TRUE(example.summaryHolds("so few samples tell their noise to 27 % only"));
}

TEST(Report, ATargetThatTookThePlaceOfTheNoiseIsTold) {
  Example example;
  EXPECT_FALSE(example.summaryHolds("no fit of the binned samples"));
  example.inversion.relaxedTarget = 0.25;
  EXPECT_TRUE(example.summaryHolds("no fit of the binned samples comes closer than 0.25"));
}

TEST(Report, PeaksHavePositionShareAndWidth) {
  const Example example;
  EXPECT_TRUE(example.summaryHolds("peaks            10.0 ms   25.0 %   0.00 decades wide"))
      << summary(example.inversion, example.context);
}

TEST(Report, ABandAddsTwoColumnsAndAnInterval) {
  Example example;
  EXPECT_NE(distributionCsv(example.inversion, example.context)
                .find("\nt2_s,amplitude,cumulative\n0.01,1,1\n"),
            std::string::npos);
  example.context.band = Band{{0.5, 0.0, 2.5}, {1.5, 0.25, 3.5}, 0.05, 0.06, 40, {}};
  EXPECT_NE(distributionCsv(example.inversion, example.context)
                .find("\nt2_s,amplitude,lower,upper,cumulative\n0.01,1,0.5,1.5,1\n0.03,0,0,0.25,1\n"
                      "0.1,3,2.5,3.5,4\n"),
            std::string::npos);
  EXPECT_TRUE(
      example.summaryHolds("68 % interval   50.0 ms to 60.0 ms, by a bootstrap of 40 replicates"));
  const auto json = nlohmann::json::parse(jsonObject(example.inversion, example.context));
  EXPECT_EQ(json["bootstrap"]["replicates"], 40);
  EXPECT_EQ(json["bootstrap"]["upper"], (std::vector<double>{1.5, 0.25, 3.5}));
  EXPECT_EQ(json["bootstrap"]["log_mean_lower"], 0.05);
  EXPECT_EQ(json["bootstrap"]["log_mean_upper"], 0.06);
  EXPECT_EQ(json["bootstrap"]["interval_too_narrow"], false);
  EXPECT_FALSE(example.summaryHolds("too narrow"));
  example.context.band->intervalTooNarrow = true;
  EXPECT_TRUE(
      example.summaryHolds("                  too narrow: a broad peak may be several, which noise "
                           "alone does not show"));
}

TEST(Report, DiffusionHasItsOwnWordsAndUnits) {
  Example example;
  example.context.kernel = Kernel::diffusion;
  example.inversion.distribution.time = {1e-10, 1e-9, 1e-8};
  EXPECT_TRUE(example.summaryHolds("kernel          exp(-b D), 3 coefficients from 1.00e-10 m2/s"))
      << summary(example.inversion, example.context);
  EXPECT_TRUE(example.summaryHolds(" m2/s of D\n"));
  EXPECT_NE(fitCsv(example.inversion, example.context).find("\nb_s_m2,amplitude,fit,residual\n"),
            std::string::npos);
}

TEST(Report, AMatrixIsNamedByItsFile) {
  Example example;
  example.context.kernel = Kernel::matrix;
  example.context.kernelFile = "my\nkernel.txt";
  EXPECT_TRUE(
      example.summaryHolds("  kernel          matrix my\\x0Akernel.txt, 3 values from 0.01 to"));
  EXPECT_NE(
      distributionCsv(example.inversion, example.context).find("\ngrid,amplitude,cumulative\n"),
      std::string::npos);
}

TEST(Report, ThePhaseIsToldInDegrees) {
  Example example;
  EXPECT_FALSE(example.summaryHolds("phase"));
  example.context.phase = 1.5707963267948966;
  example.decay.quadratureNoise = 0.25;
  EXPECT_TRUE(example.summaryHolds("turned back by 90.00 degrees, imaginary noise 0.25\n"));
}

TEST(Report, NotesAndFindingsAreInJsonAndTheRow) {
  Example example;
  example.context.found = {
      {"format", "text"}, {"note", "1 row left out"}, {"note", "times sorted"}};
  example.inversion.finding = {FindingKind::structure};
  const auto json = nlohmann::json::parse(jsonObject(example.inversion, example.context));
  EXPECT_EQ(json["notes"][0], "1 row left out");
  EXPECT_EQ(json["notes"][1], "times sorted");
  EXPECT_EQ(json["finding"], "structure");
  EXPECT_EQ(json["finding_text"], findingText(example.inversion.finding));
  const BatchRow row = batchRow(example.inversion, example.context);
  EXPECT_EQ(row.notes.substr(0, 28), "1 row left out; times sorted");
  ASSERT_EQ(row.peakList.size(), 2U);
  EXPECT_EQ(row.peakList[0][3], 0.25);  // 1 of 4
  EXPECT_EQ(row.peakList[1][4], 3.0);
  example.inversion.finding = {};
  EXPECT_TRUE(nlohmann::json::parse(jsonObject(example.inversion, example.context))["finding_text"]
                  .is_null());
}

TEST(BatchTable, WhatSeparatesFieldsIsQuoted) {
  BatchRow row;
  row.file = "a,\"b\".csv";
  row.noise = std::numeric_limits<double>::quiet_NaN();
  const BatchLayout layout{Kernel::diffusion, {{1e-10}, {}}, false, false};
  row.measures = {1e-9, 2.0, 0.25, 6.0, 0.75};
  row.peaks = 2;
  row.peakList = {{1e-10, 1.5e-10, 0.1, 0.25, 2.0}, {2e-9, 3e-9, 0.2, 0.75, 6.0}};
  row.notes = "rows sorted; times, averaged";
  EXPECT_EQ(
      batchCsv({row}, layout),
      "file,samples,status,success,noise,weight,standard_error,log_mean_m2_s,total,peaks,"
      "mean_m2_s,amount_below_1e-10_m2_s,share_below_1e-10_m2_s,amount_above_1e-10_m2_s,"
      "share_above_1e-10_m2_s,message,notes,peak_positions_m2_s,peak_centres_m2_s,peak_widths,peak_"
      "shares,"
      "peak_amounts\n"
      "\"a,\"\"b\"\".csv\",0,0,true,,,,,,2,1e-09,2,0.25,6,0.75,,\"rows sorted; times, averaged\","
      "1e-10 2e-09,1.5e-10 3e-09,0.1 0.2,0.25 0.75,2 6\n");
}

TEST(BatchTable, AFailureIsARowWithItsSentence) {
  const BatchRow row = failureRow("bad.csv", "bad.csv, line 2: \"x\" is no number");
  const BatchLayout layout{Kernel::t2, {{0.033}, {50.0}}, true, false};
  const std::string csv = batchCsv({row}, layout);
  const std::string first = csv.substr(0, csv.find('\n'));
  const std::string second = csv.substr(first.size() + 1);
  EXPECT_EQ(second, "bad.csv,,,false,,,,,,," + std::string(6 * 3, ',') +
                        "\"bad.csv, line 2: \"\"x\"\" is no number\",,,,,,\n");
  // As many commas as the header has; two of the row's are inside quotes.
  EXPECT_EQ(std::count(first.begin(), first.end(), ','),
            std::count(second.begin(), second.end(), ',') - 1);
  const BatchText text({row.file}, layout);
  EXPECT_EQ(text.row(row), "bad.csv             -   - (!)\n");
  EXPECT_EQ(BatchText::ending({row}),
            "bad.csv, line 2: \"x\" is no number\n0 of 1 inversions successful\n");
}

TEST(BatchTable, LongNamesAreCutInFront) {
  BatchRow row;
  row.file = std::string(50, 'x') + "end.csv";
  const BatchText text({row.file}, BatchLayout{});
  EXPECT_EQ(text.row(row).substr(0, 42), ".." + std::string(31, 'x') + "end.csv  ");
  EXPECT_EQ(text.heading().size(), text.row(row).size());
}

}  // namespace
}  // namespace vorin::toolkit
