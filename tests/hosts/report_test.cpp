// vorin invert --report: the files that it leaves.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/child.hpp"

namespace vorin::toolkit::test {
namespace {

const std::string sampleFile = std::string(VORIN_SAMPLE_DIR) + "/decay.csv";

std::size_t countOf(const std::string& text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(ReportFile, AsHtmlNeedsNoOtherFile) {
  const TemporaryFolder folder;
  const Outcome outcome =
      runProgram(folder.path(), {"invert", sampleFile, "--cutoff", "33ms", "--bootstrap", "20",
                                 "--report", "r.html", "--no-picture"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const std::string page = contentOf(folder / "r.html");
  for (const char* text :
       {"<!DOCTYPE html>", "<svg", ">measured<", ">cumulative<", ">cutoff<",
        ">share below 33.0 ms<", ">68 % interval<", ">Peaks<", ">Checks of the residual<",
        ">--cutoff<", ">33ms<", ">numerical library<", "@media print"}) {
    EXPECT_NE(page.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(countOf(page, "<svg"), 1U);
  // Nothing is fetched: the only addresses are the names of XML's vocabularies.
  EXPECT_EQ(countOf(page, "http://") + countOf(page, "https://"),
            countOf(page, "http://www.w3.org/"));
  EXPECT_EQ(page.find("src="), std::string::npos);
  EXPECT_EQ(countOf(page, "<script"), 0U);
}

TEST(ReportFile, AsPdfIsWhole) {
  const TemporaryFolder folder;
  ASSERT_EQ(runProgram(folder.path(),
                       {"invert", sampleFile, "--weight", "1", "--report", "r.pdf", "--no-picture"})
                .status,
            0);
  const std::string file = contentOf(folder / "r.pdf");
  EXPECT_EQ(file.substr(0, 5), "%PDF-");
  EXPECT_NE(file.find("%%EOF"), std::string::npos);
}

TEST(ReportFile, HostileNamesHeadersAndUnitsAreTexts) {
  const TemporaryFolder folder;
  const std::string name = "<img src=x onerror=alert(1)>'$(touch made)`touch made`\".csv";
  std::string rows = "time (ms),\"</text><script>alert(2)</script>\"\n";
  for (int i = 1; i <= 60; ++i) {
    rows += fmt::format("{},{}\n", i, 100.0 * std::exp(-i / 20.0) + (i % 3 - 1));
  }
  writeFile(folder / name, rows);
  for (const char* report : {"r.html", "r.pdf"}) {
    const Outcome outcome = runProgram(
        folder.path(), {"invert", name, "--columns", "1,</text><script>alert(2)</script>",
                        "--calibrate", "100<b>'p=100", "--amplitude-label", "</text><script>\\@{^",
                        "--noise", "0.8", "--report", report, "--no-picture"});
    ASSERT_NE(outcome.status, 2) << outcome.err;
    ASSERT_TRUE(fs::exists(folder / report)) << outcome.err;
  }
  EXPECT_FALSE(fs::exists(folder / "made"));
  const std::string page = contentOf(folder / "r.html");
  EXPECT_EQ(page.find("<img"), std::string::npos);
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_EQ(page.find("<b>"), std::string::npos);
  EXPECT_NE(page.find("&lt;img src=x onerror=alert(1)&gt;"), std::string::npos);
}

TEST(ReportFile, OfSeveralDecaysHasANameEach) {
  const TemporaryFolder folder;
  writeFile(folder / "b.csv", contentOf(sampleFile));
  const Outcome refused =
      runProgram(folder.path(), {"invert", sampleFile, "b.csv", "--report", "r.html"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.err.find("--report r.html: there are 2 decays"), std::string::npos);
  EXPECT_FALSE(fs::exists(folder / "r.html"));
  ASSERT_EQ(runProgram(folder.path(),
                       {"invert", sampleFile, "b.csv", "--weight", "1", "--report", "out/{}.html"})
                .status,
            0);
  EXPECT_TRUE(fs::exists(folder / "out/decay.html"));
  EXPECT_TRUE(fs::exists(folder / "out/b.html"));
}

TEST(ReportFile, OtherKindsAreRefused) {
  const TemporaryFolder folder;
  const Outcome outcome = runProgram(folder.path(), {"invert", sampleFile, "--report", "r.docx"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("--report r.docx: the name must end in .html or .pdf"),
            std::string::npos)
      << outcome.err;
  EXPECT_FALSE(fs::exists(folder / "r.docx"));
}

}  // namespace
}  // namespace vorin::toolkit::test
