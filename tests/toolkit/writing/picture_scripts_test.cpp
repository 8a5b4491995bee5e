// What gnuplot is told to draw, read off the scripts: all points within their axes, all lines on
// the page, and of many samples those that can be seen.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <numeric>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "toolkit/two_dimensional/map_picture.hpp"
#include "toolkit/writing/lcurve_picture.hpp"
#include "toolkit/writing/pdf_report.hpp"
#include "toolkit/writing/picture_parts.hpp"
#include "toolkit/writing/report_content.hpp"
#include "toolkit/writing/together_picture.hpp"

namespace vorin::toolkit {
namespace {

/// The last script that was run in `scratch`.
std::string scriptIn(const PrivateFolder& scratch) {
  const std::ifstream file(scratch.path() / "picture.gp");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// What the groups of `pattern` hold, wherever it is found.
std::vector<std::vector<double>> numbersIn(const std::string& text, const char* pattern) {
  const std::regex expression(pattern);
  std::vector<std::vector<double>> found;
  for (auto at = std::sregex_iterator(text.begin(), text.end(), expression);
       at != std::sregex_iterator(); ++at) {
    found.emplace_back();
    for (std::size_t group = 1; group < at->size(); ++group) {
      found.back().push_back(std::stod((*at)[group].str()));
    }
  }
  return found;
}

/// Of a line that falls and its fit, a column of the picture holds the ends; and where the fit is
/// farthest off on either side.
TEST(SeenSamples, AreTheExtremesOfAmplitudeAndResidual) {
  constexpr std::size_t count = 40000;  // twenty in each of 2000 columns
  std::vector<double> time(count);
  std::vector<double> amplitude(count);
  for (std::size_t i = 0; i < count; ++i) {
    time[i] = 1000.0 + static_cast<double>(i);
    amplitude[i] = 1e6 - static_cast<double>(i);
  }
  std::vector<double> fit = amplitude;
  fit[20007] -= 0.5;
  fit[20011] += 0.5;
  const std::vector<std::size_t> seen = seenSamples(time, amplitude, fit);
  EXPECT_TRUE(std::binary_search(seen.begin(), seen.end(), 20007U));
  EXPECT_TRUE(std::binary_search(seen.begin(), seen.end(), 20011U));
  EXPECT_FALSE(std::binary_search(seen.begin(), seen.end(), 20009U));
  EXPECT_LE(seen.size(), 8004U);
  EXPECT_EQ(seen.front(), 0U);
  EXPECT_EQ(seen.back(), count - 1);
}

TEST(SeenSamples, AreAllOfThemWhereTheyAreFew) {
  std::vector<double> time(8000);
  std::iota(time.begin(), time.end(), 0.0);
  EXPECT_EQ(seenSamples(time, time, {}).size(), 8000U);
}

TEST(SeenSamples, OfEqualOnesIsOneInAColumn) {
  constexpr std::size_t count = 40000;
  std::vector<double> time(count);
  std::iota(time.begin(), time.end(), 1000.0);
  const std::vector<double> flat(count, 3.0);
  EXPECT_EQ(seenSamples(time, flat, flat).size(), 2000U);
}

/// An L-curve of `count` weights over four decades, what is drawn of it, and the ends of its axes.
struct DrawnLCurve {
  LCurve curve;
  std::string script;
  std::vector<double> x;
  std::vector<double> y;
};

DrawnLCurve drawnLCurve(int count) {
  DrawnLCurve drawn;
  for (int i = 0; i < count; ++i) {
    const double weight = std::pow(10.0, -2.0 + 4.0 * i / (count - 1));
    drawn.curve.points.push_back({weight, 1.0 + weight, 20.0 / (1.0 + weight)});
  }
  drawn.curve.corner = drawn.curve.points.size() / 2;
  drawn.curve.used = drawn.curve.points[drawn.curve.points.size() / 3];
  const Decay decay{{1.0, 2.0}, {2.0, 1.0}};
  const PrivateFolder scratch;
  drawLCurve("l.svg", scratch, drawn.curve, {"a.csv", decay, Kernel::t2});
  drawn.script = scriptIn(scratch);
  drawn.x = numbersIn(drawn.script, "set xrange \\[([^:\\]]+):([^\\]]+)\\]").at(0);
  drawn.y = numbersIn(drawn.script, "set yrange \\[([^:\\]]+):([^\\]]+)\\]").at(0);
  return drawn;
}

TEST(LCurvePicture, AllPointsLieWithinTheAxes) {
  const DrawnLCurve drawn = drawnLCurve(17);
  std::vector<double> across;
  std::vector<double> up;
  for (const LCurvePoint& point : drawn.curve.points) {
    across.push_back(std::log(point.residualNorm / drawn.x[0]) / std::log(drawn.x[1] / drawn.x[0]));
    up.push_back(std::log(point.solutionNorm / drawn.y[0]) / std::log(drawn.y[1] / drawn.y[0]));
  }
  // Over the whole width and height, with room at the ends, more of it where the labels are.
  for (const std::vector<double>& places : {across, up}) {
    const auto [least, most] = std::minmax_element(places.begin(), places.end());
    EXPECT_NEAR(*least, 0.05, 0.015);
    EXPECT_NEAR(*most, 0.90, 0.02);
  }
}

// Along the axes, which are logarithms, a tenth beside or a twenty-second part above each other.
TEST(LCurvePicture, LabelsLeaveEachOtherRoom) {
  const auto [curve, script, x, y] = drawnLCurve(120);
  auto labels = numbersIn(script, "set label '[0-9.e+-]+' at ([^,]+),([^ ]+) left");
  ASSERT_GE(labels.size(), 5U);
  labels.push_back({curve.used.residualNorm, curve.used.solutionNorm});
  for (std::size_t i = 0; i < labels.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      const double across = std::log(labels[i][0] / labels[k][0]) / std::log(x[1] / x[0]);
      const double up = std::log(labels[i][1] / labels[k][1]) / std::log(y[1] / y[0]);
      EXPECT_TRUE(std::fabs(across) > 0.0999 || std::fabs(up) > 0.0449) << i << ' ' << k;
    }
  }
}

TEST(MapPicture, TheLineOfEqualTimesIsSolidAndTheStrongest) {
  MapInversion inversion;
  inversion.grid1 = {0.01, 0.1, 1.0};
  inversion.grid2 = {0.001, 0.03, 1.0};
  inversion.distribution.assign(9, 1.0);
  inversion.status = MapStatus::success;
  const ScratchFolder scratch;
  MapContext context;
  context.name = "m.csv";
  drawMap("m.svg", scratch, inversion, context);
  // From (log T2, log T1) to the same ratio at the end of the axes.
  const auto lines = numbersIn(scriptIn(scratch),
                               "set arrow [0-9]+ from ([^,]+),([^ ]+) to ([^,]+),([^ ]+) nohead lw "
                               "([0-9.]+) dt ([0-9])");
  ASSERT_EQ(lines.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(lines[i][1] - lines[i][0], static_cast<double>(i), 1e-6);
    EXPECT_NEAR(lines[i][3] - lines[i][2], static_cast<double>(i), 1e-6);
    EXPECT_EQ(lines[i][5] == 1.0, i == 0);
    EXPECT_TRUE(i == 0 || lines[i][4] < lines[0][4]);
  }
}

// Two decades of times that are above zero.
TEST(TogetherPicture, TimesOfTwoDecadesAreOnALogarithmicAxis) {
  for (const auto& [first, last, isLogarithmic] :
       {std::tuple(0.01, 1.0, true), std::tuple(0.01, 0.9, false), std::tuple(0.0, 1.0, false)}) {
    const Decay decay{{first, last}, {2.0, 1.0}};
    const TogetherCurve curve{
        "a", decay.time, decay.amplitude, decay.amplitude, {{0.01, 0.1}, {1.0, 2.0}}};
    const PrivateFolder scratch;
    drawTogether("p.svg", scratch, {curve, curve}, Arrangement::overlay,
                 {"a.csv", decay, Kernel::t2});
    const std::string script = scriptIn(scratch);
    const std::string decays = script.substr(0, script.find("using 1:2 with points"));
    const std::size_t said = decays.rfind("set logscale x\nset xrange");
    EXPECT_EQ(said != std::string::npos && decays[said - 1] == '\n', isLogarithmic)
        << first << ' ' << last;
  }
}

TEST(TogetherPicture, LinesAreDashedWhereTheColoursComeAgain) {
  const Decay decay{{0.001, 0.002}, {2.0, 1.0}};
  const TogetherCurve curve{
      "a", decay.time, decay.amplitude, decay.amplitude, {{0.01, 0.1}, {1.0, 2.0}}};
  const PrivateFolder scratch;
  drawTogether("p.svg", scratch, std::vector<TogetherCurve>(mostTogether, curve),
               Arrangement::overlay, {"a.csv", decay, Kernel::t2});
  std::vector<std::string> styles;
  const std::string script = scriptIn(scratch);
  const std::regex expression("lc rgb '(#[0-9a-f]+)' dt ([0-9])");
  for (auto at = std::sregex_iterator(script.begin(), script.end(), expression);
       at != std::sregex_iterator(); ++at) {
    const std::string style = (*at)[1].str() + " " + (*at)[2].str();
    if (std::find(styles.begin(), styles.end(), style) == styles.end()) {
      styles.push_back(style);
    }
  }
  ASSERT_EQ(styles.size(), mostTogether);
  EXPECT_EQ(numbersIn(script, "'decay([0-9]+).dat' using 1:2 with points").size(), mostTogether);
  EXPECT_EQ(numbersIn(script, "'decay([0-9]+).dat' using 1:3 with lines").size(), mostTogether);
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(styles[i].back(), '1') << i;  // solid
    EXPECT_NE(styles[i + 8].back(), '1') << i;
    EXPECT_EQ(styles[i].substr(0, 7), styles[i + 8].substr(0, 7)) << i;
  }
}

// The amplitudes of three bins, added up, at the four edges of the bins.
TEST(Picture, TheCumulativeCurveGoesFromEdgeToEdge) {
  PictureContent content;
  content.time = {0.001, 0.002};
  content.amplitude = {2.0, 1.0};
  content.distribution = {{0.01, 0.1, 1.0}, {1.0, 2.0, 1.0}};
  const PrivateFolder scratch;
  picturePanels(scratch.path(), content, {});
  std::ifstream file(scratch.path() / "cumulative.dat");
  std::vector<double> times;
  std::vector<double> shares;
  for (double time = 0.0, share = 0.0; file >> time >> share;) {
    times.push_back(time);
    shares.push_back(share);
  }
  EXPECT_TRUE(file.eof());
  EXPECT_EQ(shares, (std::vector<double>{0.0, 25.0, 75.0, 100.0}));
  ASSERT_EQ(times.size(), 4U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_LT(times[i], content.distribution.time[i]);
    EXPECT_GT(times[i + 1], content.distribution.time[i]);
  }
}

ReportContent smallReport() {
  Inversion inversion;
  inversion.distribution = {{0.01, 0.03, 0.1}, {1.0, 0.0, 3.0}};
  inversion.fit = {7.0, 5.0, 1.0};
  inversion.noise = 1.0;
  inversion.lastColumn = 2;
  const Decay decay{{0.001, 0.002, 0.003}, {8.0, 4.0, 2.0}};
  return reportContent(inversion, {"a.csv", decay, Kernel::t2});
}

TEST(PdfReport, HasAllPagesWithTheirNumbers) {
  const PrivateFolder scratch;
  ReportContent content = smallReport();
  content.notes.assign(150, "a remark");  // 841.9 points have room for some 60 lines of 9 points
  pdfReport("r.pdf", scratch, content);
  const auto feet = numbersIn(scriptIn(scratch), "   ([0-9]+) / ([0-9]+)'");
  ASSERT_GE(feet.size(), 3U);
  for (std::size_t i = 0; i < feet.size(); ++i) {
    EXPECT_EQ(feet[i][0], static_cast<double>(i + 1));
    EXPECT_EQ(feet[i][1], static_cast<double>(feet.size()));
  }
}

constexpr double pageWidth = 595.3;  // of A4, in points
constexpr double margin = 51.0;

/// A letter of DejaVu Sans, and how much wider it is than the font is high.
struct Letter {
  std::string bytes;
  double width;
};
const Letter wideLetter{"m", 0.974};
const Letter longDash{"\xE2\x80\x94", 1.0};

/// Where the lines of a report that are made of `letter` and blanks begin and end, in points.
std::vector<std::pair<double, double>> linesOf(const std::string& script, const Letter& letter) {
  const std::regex expression("label '((?:" + letter.bytes +
                              "| )+)' at screen ([^,]+),.* font '[^,]*,([0-9.]+)'");
  std::vector<std::pair<double, double>> lines;
  for (auto at = std::sregex_iterator(script.begin(), script.end(), expression);
       at != std::sregex_iterator(); ++at) {
    const std::string text = (*at)[1].str();
    const auto count = std::count(text.begin(), text.end(), letter.bytes.back());
    const double begin = pageWidth * std::stod((*at)[2].str());
    lines.emplace_back(
        begin, begin + letter.width * static_cast<double>(count) * std::stod((*at)[3].str()));
  }
  return lines;
}

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

TEST(PdfReport, TextsAreBrokenWithinThePage) {
  for (const Letter& letter : {wideLetter, longDash}) {
    const PrivateFolder scratch;
    ReportContent content = smallReport();
    content.notes = {repeated(letter.bytes + letter.bytes + ' ', 100)};
    pdfReport("r.pdf", scratch, content);
    double longest = 0.0;
    for (const auto& [begin, end] : linesOf(scriptIn(scratch), letter)) {
      EXPECT_LE(end, pageWidth - margin);
      longest = std::max(longest, end);
    }
    EXPECT_GE(longest, 0.5 * pageWidth);
  }
}

TEST(PdfReport, CellsEndBeforeTheNextColumn) {
  const PrivateFolder scratch;
  ReportContent content = smallReport();
  const std::string word = repeated(longDash.bytes, 100);
  content.tables = {{"two columns", {"a", "b"}, {{{word}, {word}}}}};
  pdfReport("r.pdf", scratch, content);
  std::map<double, double> ends;  // of the longest line, by the left end of its column
  for (const auto& [begin, end] : linesOf(scriptIn(scratch), longDash)) {
    ends[begin] = std::max(ends[begin], end);
  }
  ASSERT_EQ(ends.size(), 2U);
  EXPECT_LT(ends.begin()->second, ends.rbegin()->first);
  EXPECT_LT(ends.rbegin()->second, pageWidth - margin);
}

TEST(PdfReport, LinesLieOnThePage) {
  const PrivateFolder scratch;
  pdfReport("r.pdf", scratch, smallReport());
  const auto lines = numbersIn(scriptIn(scratch),
                               "set arrow from screen ([^,]+),([^ ]+) to screen ([^,]+),([^ ]+) ");
  EXPECT_FALSE(lines.empty());
  for (const std::vector<double>& line : lines) {
    for (const double place : line) {
      EXPECT_GE(place, 0.0);
      EXPECT_LE(place, 1.0);
    }
    EXPECT_TRUE(line[0] < line[2] || line[1] != line[3]);
  }
}

}  // namespace
}  // namespace vorin::toolkit
