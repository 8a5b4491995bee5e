// What the report of a sample holds, and how pages are set.
#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "toolkit/writing/html_report.hpp"
#include "toolkit/writing/pdf_report.hpp"
#include "toolkit/writing/report_content.hpp"

namespace vorin::toolkit {
namespace {

/// An inversion with round numbers: 1 at 0.01 s and 3 at 0.1 s.
struct Example {
  Decay decay{{0.00005, 0.002, 0.003}, {8.0, 4.0, 2.0}};
  Inversion inversion;
  ReportContext context{"a.csv", decay, Kernel::t2};

  Example() {
    inversion.distribution = {{0.01, 0.03, 0.1}, {1.0, 0.0, 3.0}};
    inversion.fit = {7.0, 5.0, 1.0};
    inversion.weight = 0.5;
    inversion.noise = 1.0;
    inversion.noiseOrigin = NoiseOrigin::given;
    inversion.lastColumn = 2;
  }

  ReportContent content() const { return reportContent(inversion, context); }
};

/// The text of the cell beside `name` in the table `heading`; "absent" where there is none.
std::string found(const ReportContent& content, std::string_view heading, std::string_view name) {
  for (const ReportTable& table : content.tables) {
    for (const std::vector<ReportCell>& row : table.rows) {
      if (table.heading == heading && row.front().text == name) {
        return row.at(1).text;
      }
    }
  }
  return "absent";
}

TEST(SampleReport, HoldsMeasuresChecksAndSettings) {
  Example example;
  example.context.measures.cutoffs = {0.03};
  example.context.settings = {{"--cutoff", "30ms"}};
  example.context.amplitudeUnit = "pu";
  const ReportContent content = example.content();
  EXPECT_EQ(content.title, "a.csv");
  EXPECT_EQ(content.subtitle, "a.csv: 3 samples from 50.0 µs to 3.00 ms");
  EXPECT_EQ(found(content, "Results", "total amplitude"), "4 pu");
  // exp((ln 0.01 + 3 ln 0.1) / 4) = 10^-1.25
  EXPECT_EQ(found(content, "Results", "log mean of T2"), "56.2 ms");
  EXPECT_EQ(found(content, "Results", "share below 30.0 ms"), "25.0 %");
  EXPECT_EQ(found(content, "Results", "amount above 30.0 ms"), "3 pu");
  EXPECT_EQ(found(content, "Settings and versions", "--cutoff"), "30ms");
  EXPECT_NE(found(content, "Settings and versions", "numerical library"), "absent");
  // Residuals of 1, -1 and 1 and a noise of 1.
  EXPECT_EQ(found(content, "Checks of the residual", "root mean square over the noise"), "1.00");
  EXPECT_EQ(found(content, "Checks of the residual", "runs of one sign").substr(0, 2), "3 ");
}

TEST(SampleReport, TellsIntervalsOfABootstrap) {
  Example example;
  example.context.band = Band{{0.5, 0.0, 2.5}, {1.5, 0.25, 3.5}, 0.05, 0.06, 40, {}};
  example.context.band->distributions = {{1.0, 0.0, 3.0}, {1.0, 0.0, 3.0}};
  example.context.band->intervalTooNarrow = true;
  const ReportContent content = example.content();
  ASSERT_EQ(content.tables.front().columns.size(), 3U);
  EXPECT_EQ(content.tables.front().rows.front().at(2).text, "4 to 4");
  EXPECT_EQ(content.tables.at(1).rows.front().at(2).interval, "25.0 % to 25.0 %");
  ASSERT_FALSE(content.notes.empty());
  EXPECT_NE(content.notes.back().find("too narrow"), std::string::npos);
}

TEST(SampleReport, TellsRemarksOnceAndInOneLine) {
  Example example;
  example.context.found = {{"note", "2 rows without a number left out"}};
  example.inversion.relaxedTarget = 0.5;
  const ReportContent content = example.content();
  ASSERT_GE(content.notes.size(), 2U);
  EXPECT_EQ(content.notes.front(), "2 rows without a number left out");
  for (const std::string& note : content.notes) {
    EXPECT_EQ(note.find('\n'), std::string::npos) << note;
  }
  EXPECT_EQ(found(content, "Data", "note"), "absent");
}

TEST(SampleReport, TextsOfFilesAreNoMarkup) {
  const std::string hostile = "<script>alert('1')</script>&\"\x1b[31m\xff";
  Example example;
  example.context.name = hostile;
  example.context.amplitudeUnit = "<b>";
  example.context.picture.title = "</title>" + hostile;
  example.context.picture.amplitudeLabel = hostile;
  example.context.settings = {{"--columns", hostile}};
  example.context.found = {{"format", hostile}, {"note", hostile}};
  example.context.kernel = Kernel::matrix;
  example.context.kernelFile = hostile;
  const std::string page = htmlReport(example.content(), "<?xml?><svg></svg>");
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_EQ(page.find("<b>"), std::string::npos);
  EXPECT_EQ(page.find('\x1b'), std::string::npos);
  EXPECT_EQ(page.find('\xff'), std::string::npos);
  EXPECT_EQ(page.find("<?xml"), std::string::npos);
  EXPECT_NE(page.find("&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt;&amp;&quot;\\x1B[31m\\xFF"),
            std::string::npos);
  // The title ends once.
  EXPECT_EQ(page.find("</title>"), page.rfind("</title>"));
}

TEST(WrappedText, BreaksAtBlanksAndLosesNothing) {
  const std::string text = "one two three four five six seven eight nine ten";
  const std::vector<std::string> lines = wrappedText(text, 60.0, 9.0);
  EXPECT_GT(lines.size(), 3U);
  const std::string joined =
      std::accumulate(lines.begin() + 1, lines.end(), lines.front(),
                      [](const std::string& a, const std::string& b) { return a + " " + b; });
  EXPECT_EQ(joined, text);
}

TEST(WrappedText, LongWordsAreDividedBetweenCharacters) {
  std::string word;
  for (int i = 0; i < 40; ++i) {
    word += "µ";
  }
  const std::vector<std::string> lines = wrappedText(word, 60.0, 9.0);
  EXPECT_GT(lines.size(), 2U);
  std::string joined;
  for (const std::string& line : lines) {
    EXPECT_EQ(line.size() % 2, 0U) << line;  // two bytes each
    joined += line;
  }
  EXPECT_EQ(joined, word);
  EXPECT_EQ(wrappedText("short", 60.0, 9.0), std::vector<std::string>{"short"});
  EXPECT_TRUE(wrappedText("", 60.0, 9.0).empty());
}

}  // namespace
}  // namespace vorin::toolkit
