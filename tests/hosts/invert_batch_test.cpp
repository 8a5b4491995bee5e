// Several decays in one run: each comes out as it does alone, and the table and the JSON
// tell what the summaries tell.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/child.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/model/decay.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/csv.hpp"

namespace vorin::toolkit::test {
namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

/// Decays a.csv, b.csv and c.csv of one shape with different truth, and d.csv of another.
void makeDecays(const TemporaryFolder& folder) {
  const std::vector<Words> cases{
      {"a.csv", "--seed", "1"},
      {"b.csv", "--seed", "2", "--peak", "0.02:0.2:50"},
      {"c.csv", "--seed", "3", "--noise", "0.8"},
      {"d.csv", "--seed", "4", "--spacing", "0.0005", "--samples", "700"},
  };
  for (const Words& options : cases) {
    Words words{"simulate", "--out"};
    words.insert(words.end(), options.begin(), options.end());
    ASSERT_EQ(runProgram(folder.path(), words).status, 0);
  }
}

TEST(InvertBatch, EachDecayComesOutAsItDoesAlone) {
  const TemporaryFolder folder;
  makeDecays(folder);
  const Outcome all =
      runProgram(folder.path(), {"invert", "d.csv", "c.csv", "a.csv", "b.csv", "--out",
                                 "{}_all.csv", "--fit", "{}_allfit.csv", "--json", "{}_all.json"});
  EXPECT_EQ(all.status, 0) << all.err;
  for (const std::string stem : {"a", "b", "c", "d"}) {
    const Outcome one = runProgram(folder.path(), {"invert", stem + ".csv", "--out", "one.csv",
                                                   "--fit", "onefit.csv", "--json", "one.json"});
    EXPECT_EQ(one.status, 0) << one.err;
    EXPECT_EQ(contentOf(folder / "one.csv"), contentOf(folder / (stem + "_all.csv")));
    EXPECT_EQ(contentOf(folder / "onefit.csv"), contentOf(folder / (stem + "_allfit.csv")));
    EXPECT_EQ(contentOf(folder / "one.json"), contentOf(folder / (stem + "_all.json")));
  }
}

TEST(InvertBatch, TableAndJsonTellTheSame) {
  const TemporaryFolder folder;
  makeDecays(folder);
  const Outcome outcome = runProgram(folder.path(), {"invert", "a.csv", "b.csv", "d.csv", "--table",
                                                     "table.csv", "--json", "all.json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json all = Json::parse(contentOf(folder / "all.json"));
  ASSERT_TRUE(all.is_array());
  ASSERT_EQ(all.size(), 3U);
  std::string table =
      "file,samples,status,success,noise,weight,standard_error,log_mean_s,total,peaks,mean_s,"
      "p10_s,p50_s,p90_s,message,notes,peak_positions_s,peak_centres_s,peak_widths,peak_shares,"
      "peak_amounts\n";
  for (const Json& one : all) {
    table += fmt::format(
        "{},{},{},{},{:.8g},{:.8g},{:.8g},{:.8g},{:.8g},{},{:.8g},{:.8g},{:.8g},{:.8g},,",
        one["file"].get<std::string>(), one["samples"].get<int>(), one["status"].get<int>(),
        one["success"].get<bool>(), one["noise"].get<double>(), one["weight"].get<double>(),
        one["standard_error"].get<double>(), one["log_mean"].get<double>(),
        one["total"].get<double>(), one["peaks"].size(), one["mean"].get<double>(),
        one["percentiles"][0]["position"].get<double>(),
        one["percentiles"][1]["position"].get<double>(),
        one["percentiles"][2]["position"].get<double>());
    EXPECT_TRUE(one["notes"].empty());
    for (const char* field : {"position", "centre", "width", "share", "amount"}) {
      const char* before = ",";
      for (const Json& peak : one["peaks"]) {
        table += fmt::format("{}{:.8g}", before, peak[field].get<double>());
        before = " ";
      }
    }
    table += '\n';
  }
  EXPECT_EQ(contentOf(folder / "table.csv"), table);
  EXPECT_NE(outcome.out.find("\n3 of 3 inversions successful\n"), std::string::npos);
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 5);
}

TEST(InvertBatch, AnUnsuccessfulOneIsNamedAndTheOthersAreDone) {
  const TemporaryFolder folder;
  makeDecays(folder);
  // Noise that fits c.csv, and that every fit of a.csv is closer than.
  std::string loud;
  const Decay decay = readDecay(folder / "a.csv");
  for (std::size_t i = 0; i < decay.time.size(); ++i) {
    loud += fmt::format("{},{}\n", decay.time[i], 100.0 * decay.amplitude[i]);
  }
  writeFile(folder / "loud.csv", loud);
  const Outcome outcome = runProgram(
      folder.path(), {"invert", "a.csv", "loud.csv", "--noise", "90", "--out", "{}_t2.csv"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.out.find("\na.csv: every fit is closer to the data than the noise asks for; "
                             "give a smaller one (--noise)"),
            std::string::npos)
      << outcome.out;
  EXPECT_NE(outcome.out.find("\n1 of 2 inversions successful\n"), std::string::npos);
  EXPECT_TRUE(fs::exists(folder / "a_t2.csv"));
  EXPECT_TRUE(fs::exists(folder / "loud_t2.csv"));
}

TEST(InvertJson, HoldsTheWholeResult) {
  const TemporaryFolder folder;
  makeDecays(folder);
  const Outcome outcome = runProgram(
      folder.path(), {"invert", "a.csv", "--json", "-", "--out", "out.csv", "--no-picture"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const Json one = Json::parse(outcome.out);  // nothing but JSON on standard output
  EXPECT_EQ(one["file"], "a.csv");
  EXPECT_EQ(one["kernel"], "t2");
  EXPECT_EQ(one["status"], 0);
  EXPECT_EQ(one["status_text"], "success");
  EXPECT_EQ(one["success"], true);
  EXPECT_EQ(one["samples"], 3000);
  EXPECT_EQ(one["weight_origin"], "automatic");
  EXPECT_EQ(one["noise_origin"], "residual");
  // 3000 samples without some ten degrees of freedom.
  EXPECT_NEAR(one["noise_spread"].get<double>(), 1.0 / std::sqrt(2.0 * 2990.0), 1e-4);
  EXPECT_GE(one["support"][0].get<double>(), one["grid"].front().get<double>());
  EXPECT_LE(one["support"][1].get<double>(), one["grid"].back().get<double>());
  EXPECT_TRUE(one["left_out"].empty());
  for (const char* name : {"offset", "efficiency", "finding"}) {
    EXPECT_TRUE(one[name].is_null()) << name;
  }
  EXPECT_FALSE(one.contains("bootstrap"));
  const Distribution written = readDistribution(folder / "out.csv");
  const Distribution inJson{one["grid"], one["distribution"]};
  ASSERT_EQ(inJson.time.size(), written.time.size());
  for (std::size_t k = 0; k < written.time.size(); ++k) {
    EXPECT_NEAR(inJson.time[k] / written.time[k], 1.0, 1e-7);
    EXPECT_NEAR(inJson.amplitude[k], written.amplitude[k], 1e-7 * (1.0 + written.amplitude[k]));
  }
  EXPECT_DOUBLE_EQ(one["total"].get<double>(), totalAmplitude(inJson));
  EXPECT_DOUBLE_EQ(one["log_mean"].get<double>(), logMean(inJson));
  const std::vector<Peak> found = peaks(inJson);
  ASSERT_EQ(one["peaks"].size(), found.size());
  for (std::size_t p = 0; p < found.size(); ++p) {
    EXPECT_DOUBLE_EQ(one["peaks"][p]["position"].get<double>(), found[p].time);
    EXPECT_DOUBLE_EQ(one["peaks"][p]["share"].get<double>(), found[p].share);
    EXPECT_DOUBLE_EQ(one["peaks"][p]["width"].get<double>(), found[p].width);
    EXPECT_EQ(one["peaks"][p]["at_grid_end"], found[p].atGridEnd);
  }
  // The largest sample of a.csv over its noise.
  const Decay decay = readDecay(folder / "a.csv");
  double largest = 0.0;
  for (double y : decay.amplitude) {
    largest = std::max(largest, y);
  }
  EXPECT_DOUBLE_EQ(one["signal_to_noise"].get<double>(), largest / one["noise"].get<double>());
}

TEST(InvertJson, WhatIsNotKnownIsNull) {
  const TemporaryFolder folder;
  writeFile(folder / "rising.csv", "0.001,-3\n0.002,-2\n0.003,-1\n");
  const Outcome outcome =
      runProgram(folder.path(), {"invert", "rising.csv", "--weight", "1", "--json", "-"});
  const Json one = Json::parse(outcome.out);
  EXPECT_TRUE(one["noise"].is_null());
  EXPECT_TRUE(one["noise_origin"].is_null());
  EXPECT_TRUE(one["signal_to_noise"].is_null());
  EXPECT_TRUE(one["wanted_standard_error"].is_null());
  EXPECT_TRUE(one["log_mean"].is_null());  // data below 0 leave an empty distribution
  EXPECT_EQ(one["peaks"].size(), 0U);
  EXPECT_EQ(one["weight_origin"], "given");
}

TEST(InvertJson, AFileNameNeedNotBeUtf8) {
  const TemporaryFolder folder;
  const std::string name = "caf\xE9.csv";
  writeFile(folder / name, "0.001,3\n0.002,2\n0.003,1\n");
  const Outcome outcome =
      runProgram(folder.path(), {"invert", name, "--weight", "1", "--json", "-"});
  EXPECT_EQ(Json::parse(outcome.out)["file"], "caf\xEF\xBF\xBD.csv");
}

}  // namespace
}  // namespace vorin::toolkit::test
