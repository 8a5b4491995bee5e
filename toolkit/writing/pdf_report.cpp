#include "toolkit/writing/pdf_report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "toolkit/writing/gnuplot.hpp"

namespace vorin::toolkit {

namespace {

// Everything below is in points of 1/72 inch, from the upper left corner of the page.
constexpr double pageWidth = 595.3;
constexpr double pageHeight = 841.9;
constexpr double marginAcross = 51.0;
constexpr double marginAbove = 46.0;
constexpr double marginBelow = 56.0;  // with the line of the page number
constexpr double textWidth = pageWidth - 2.0 * marginAcross;
constexpr double bodySize = 9.0;
constexpr double smallSize = 7.5;
constexpr double headingSize = 11.0;
constexpr double titleSize = 15.0;
constexpr double lineSpacing = 1.4;
constexpr double gap = 12.0;  // between columns

constexpr std::string_view ink = "#202020";
constexpr std::string_view pale = "#505050";
constexpr std::string_view ruled = "#cfcfcf";
constexpr std::string_view headingInk = "#0b4f78";

struct Font {
  double size = bodySize;
  std::string_view colour = ink;
  bool bold = false;
};

bool continues(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// The bytes of the character at `at`.
std::size_t characterBytes(std::string_view text, std::size_t at) {
  std::size_t end = at + 1;
  while (end < text.size() && continues(text[end])) {
    ++end;
  }
  return end - at;
}

/// The width of a character over the size of the font.
double relativeWidth(std::string_view character) {
  constexpr std::string_view narrow = "iIl.,:;'|!()[]fjtr /\\";
  constexpr double narrowWidth = 0.42;
  constexpr double usualWidth = 0.66;
  constexpr double wideWidth = 1.0;
  if (character.size() > 2) {
    return wideWidth;
  }
  if (std::string_view("mwMW%@").find(character.front()) != std::string_view::npos) {
    return wideWidth;
  }
  return narrow.find(character.front()) != std::string_view::npos ? narrowWidth : usualWidth;
}

double widthOf(std::string_view text, double size) {
  double width = 0.0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t bytes = characterBytes(text, at);
    width += relativeWidth(text.substr(at, bytes)) * size;
    at += bytes;
  }
  return width;
}

/// Pages as they fill.
class Pages {
 public:
  void space(double height) { y_ += height; }

  /// Begins a page unless there is room for `height`.
  void need(double height) {
    if (y_ + height > pageHeight - marginBelow) {
      begin();
    }
  }

  /// A line of text at `x`, whose height moves nothing: `down` is where it begins below the
  /// current place.
  void put(double x, double down, std::string_view text, const Font& font) {
    // A label is centred about its height.
    pages_.back().texts += fmt::format(
        "set label {} at screen {:.5f},{:.5f} left noenhanced font '{},{:g}' tc rgb '{}'\n",
        scriptQuoted(text), x / pageWidth,
        1.0 - (y_ + down + 0.5 * lineSpacing * font.size) / pageHeight,
        font.bold ? "DejaVu Sans:Bold" : "DejaVu Sans", font.size, font.colour);
  }

  /// A text over the whole width.
  void paragraph(std::string_view text, const Font& font, double indent = 0.0) {
    for (const std::string& line : wrappedText(text, textWidth - indent, font.size)) {
      need(font.size * lineSpacing);
      put(marginAcross + indent, 0.0, line, font);
      y_ += font.size * lineSpacing;
    }
  }

  /// A line across the page.
  void rule(std::string_view colour) {
    arrow(marginAcross, y_, pageWidth - marginAcross, y_, 0.6, colour);
  }

  /// A bar at the left margin over the height from `top` to the current place.
  void bar(double top, std::string_view colour) {
    arrow(marginAcross + 2.0, top, marginAcross + 2.0, y_, 4.0, colour);
  }

  double place() const { return y_; }

  /// A picture of this height below the current place.
  void picture(const std::filesystem::path& folder, const PictureContent& content, double height) {
    need(height);
    // A picture without a title has no use for the room above its first panel.
    constexpr double room = 0.045;
    constexpr double overhang = 12.0;  // what the picture's own margins leave free
    const double bottom = 1.0 - (y_ + height) / pageHeight;
    const double top = 1.0 - y_ / pageHeight;
    pages_.back().panels =
        picturePanels(folder, content,
                      {(marginAcross - overhang) / pageWidth, bottom,
                       1.0 - (marginAcross - overhang) / pageWidth, top + room * (top - bottom)});
    y_ += height;
  }

  /// The script of all pages, each with its number and `name` at its foot.
  std::string script(std::string_view name) {
    std::string text;
    for (std::size_t i = 0; i < pages_.size(); ++i) {
      const std::string foot =
          fmt::format("{}   {} / {}", wrappedText(name, 0.8 * textWidth, smallSize).front(), i + 1,
                      pages_.size());
      text += fmt::format(
          "reset\nset encoding utf8\nset multiplot\nunset border\nunset tics\nunset key\n"
          "set lmargin at screen 0\nset rmargin at screen 1\nset bmargin at screen 0\n"
          "set tmargin at screen 1\n{}"
          "set label {} at screen 0.5,{:.5f} center noenhanced font 'DejaVu Sans,{:g}' tc rgb "
          "'{}'\nplot [0:1][0:1] 2 notitle\nunset label\nunset arrow\nset xtics\nset ytics\n{}"
          "unset multiplot\n",
          pages_[i].texts, scriptQuoted(foot), 0.5 * marginBelow / pageHeight, smallSize, pale,
          pages_[i].panels);
    }
    return text + "set output\n";
  }

 private:
  struct Page {
    std::string texts;
    std::string panels;
  };

  void begin() {
    pages_.emplace_back();
    y_ = marginAbove;
  }

  void arrow(double x1, double y1, double x2, double y2, double width, std::string_view colour) {
    pages_.back().texts += fmt::format(
        "set arrow from screen {:.5f},{:.5f} to screen {:.5f},{:.5f} nohead lw {:g} lc rgb '{}'\n",
        x1 / pageWidth, 1.0 - y1 / pageHeight, x2 / pageWidth, 1.0 - y2 / pageHeight, width,
        colour);
  }

  std::vector<Page> pages_{1};
  double y_ = marginAbove;
};

/// The widths of columns: what each takes where that fits; otherwise the wide ones share what the
/// others leave.
std::vector<double> columnWidths(const ReportTable& table) {
  constexpr double namesShare = 0.3;  // of a table without a head, so that all of them are aligned
  if (table.columns.empty()) {
    return {namesShare * textWidth, (1.0 - namesShare) * textWidth};
  }
  std::vector<double> widths;
  for (std::size_t k = 0; k < table.columns.size(); ++k) {
    double widest = widthOf(table.columns[k], bodySize);
    for (const std::vector<ReportCell>& row : table.rows) {
      widest =
          std::max({widest, widthOf(row[k].text, bodySize), widthOf(row[k].interval, smallSize)});
    }
    widths.push_back(widest + gap);
  }
  std::vector<std::size_t> order(widths.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return widths[a] < widths[b]; });
  double left = textWidth;
  for (std::size_t i = 0; i < order.size(); ++i) {
    double& width = widths[order[i]];
    width = std::min(width, left / static_cast<double>(order.size() - i));
    left -= width;
  }
  // What is left over goes to all alike.
  for (double& width : widths) {
    width += left / static_cast<double>(widths.size());
  }
  return widths;
}

struct CellLines {
  std::vector<std::string> text;
  std::vector<std::string> interval;
  double height() const {
    return lineSpacing * (static_cast<double>(text.size()) * bodySize +
                          static_cast<double>(interval.size()) * smallSize);
  }
};

void writeRow(Pages& pages, const std::vector<ReportCell>& row, const std::vector<double>& widths,
              const Font& font) {
  constexpr double padding = 2.0;
  std::vector<CellLines> cells;
  double height = 0.0;
  for (std::size_t k = 0; k < row.size(); ++k) {
    cells.push_back({wrappedText(row[k].text, widths[k] - gap, bodySize),
                     wrappedText(row[k].interval, widths[k] - gap, smallSize)});
    height = std::max(height, cells.back().height());
  }
  pages.need(height + 2.0 * padding);
  double x = marginAcross;
  for (std::size_t k = 0; k < cells.size(); ++k) {
    double down = padding;
    for (const std::string& line : cells[k].text) {
      pages.put(x, down, line, font);
      down += bodySize * lineSpacing;
    }
    for (const std::string& line : cells[k].interval) {
      pages.put(x, down, line, {smallSize, pale});
      down += smallSize * lineSpacing;
    }
    x += widths[k];
  }
  pages.space(height + 2.0 * padding);
  pages.rule(ruled);
}

void writeTable(Pages& pages, const ReportTable& table) {
  constexpr double room = 70.0;  // a heading is not left alone at the foot of a page
  constexpr double above = 12.0;
  pages.need(room);
  pages.space(above);
  pages.paragraph(table.heading, {headingSize, headingInk, true});
  const std::vector<double> widths = columnWidths(table);
  if (!table.columns.empty()) {
    std::vector<ReportCell> head;
    for (const std::string& column : table.columns) {
      head.push_back({column});
    }
    writeRow(pages, head, widths, {bodySize, pale});
  }
  for (const std::vector<ReportCell>& row : table.rows) {
    writeRow(pages, row, widths, {});
  }
}

void writeStatus(Pages& pages, const ReportContent& content) {
  constexpr double indent = 10.0;
  constexpr double around = 5.0;
  pages.space(around);
  const double top = pages.place();
  pages.paragraph(content.status, {bodySize, ink}, indent);
  pages.bar(top, content.success ? "#009e73" : "#d55e00");
  pages.space(around);
  for (const std::string& note : content.notes) {
    pages.paragraph("\xE2\x80\xA2 " + note, {});
  }
}

}  // namespace

std::vector<std::string> wrappedText(std::string_view text, double width, double size) {
  std::vector<std::string> lines;
  std::size_t start = 0;      // of the line
  std::size_t lastBlank = 0;  // within it; `start` for none
  double used = 0.0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t bytes = characterBytes(text, at);
    used += relativeWidth(text.substr(at, bytes)) * size;
    if (text[at] == ' ') {
      lastBlank = at;
    } else if (used > width && at > start) {
      const bool atBlank = lastBlank > start;
      const std::size_t end = atBlank ? lastBlank : at;
      lines.emplace_back(text.substr(start, end - start));
      start = atBlank ? lastBlank + 1 : at;
      lastBlank = start;
      used = widthOf(text.substr(start, at + bytes - start), size);
    }
    at += bytes;
  }
  if (start < text.size()) {
    lines.emplace_back(text.substr(start));
  }
  return lines;
}

std::string pdfReport(const std::filesystem::path& report, const PrivateFolder& scratch,
                      const ReportContent& content) {
  Pages pages;
  pages.paragraph(content.title, {titleSize, ink, true});
  pages.paragraph(content.subtitle, {bodySize, pale});
  writeStatus(pages, content);
  constexpr double pictureHeight = 400.0;
  pages.picture(scratch.path(), content.picture, pictureHeight);
  for (const ReportTable& table : content.tables) {
    writeTable(pages, table);
  }
  // The terminal takes 96 of its points for an inch: three quarters make them those of paper.
  constexpr std::string_view terminal =
      "pdfcairo size 21cm,29.7cm font 'DejaVu Sans,8' fontscale 0.75 linewidth 0.7 pointscale 0.5";
  return runGnuplot(report, terminal, scratch, pages.script(content.title));
}

}  // namespace vorin::toolkit
