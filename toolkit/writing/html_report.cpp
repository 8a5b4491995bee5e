#include "toolkit/writing/html_report.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace vorin::toolkit {

namespace {

// No script, font or picture is fetched or run whatever a text holds: the policy is a second
// barrier behind the escapes.
constexpr std::string_view head = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
)";

constexpr std::string_view style = R"(<style>
@page { size: A4; margin: 16mm 18mm; }
body { font: 15px/1.4 "DejaVu Sans", Verdana, sans-serif; color: #202020; background: #fff;
  max-width: 60em; margin: 1.5em auto; padding: 0 1em; }
h1 { font-size: 1.5em; margin: 0; overflow-wrap: anywhere; }
h2 { font-size: 1.05em; margin: 1.4em 0 0.3em; color: #0b4f78; }
p { margin: 0.3em 0; overflow-wrap: anywhere; }
.subtitle { color: #505050; }
.good, .bad { padding: 0.35em 0.7em; border-left: 5px solid #009e73; background: #f1f8f5; }
.bad { border-color: #d55e00; background: #fdf3ec; }
ul { margin: 0.4em 0; padding-left: 1.3em; }
li { overflow-wrap: anywhere; }
figure { margin: 0.8em 0; }
svg { display: block; width: 100%; height: auto; }
table { border-collapse: collapse; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: 0.22em 0.9em 0.22em 0;
  border-bottom: 1px solid #d8d8d8; overflow-wrap: anywhere; }
thead th { border-bottom: 1px solid #707070; color: #505050; font-weight: normal; }
tbody th { font-weight: normal; width: 32%; }
small { color: #505050; white-space: nowrap; }
@media print {
  body { font-size: 9.5pt; margin: 0; padding: 0; max-width: none; }
  h2 { break-after: avoid; }
  figure, tr { break-inside: avoid; }
  .good, .bad { print-color-adjust: exact; }
}
</style>
)";

std::string tableText(const ReportTable& table) {
  std::string text = fmt::format("<section>\n<h2>{}</h2>\n<table>\n", htmlEscaped(table.heading));
  if (!table.columns.empty()) {
    text += "<thead><tr>";
    for (const std::string& column : table.columns) {
      text += fmt::format("<th scope=\"col\">{}</th>", htmlEscaped(column));
    }
    text += "</tr></thead>\n";
  }
  text += "<tbody>\n";
  for (const std::vector<ReportCell>& row : table.rows) {
    text += "<tr>";
    for (const ReportCell& cell : row) {
      const bool first = &cell == &row.front();
      text += fmt::format("<{0}{1}>{2}{3}</{0}>", first ? "th" : "td",
                          first ? " scope=\"row\"" : "", htmlEscaped(cell.text),
                          cell.interval.empty()
                              ? ""
                              : fmt::format("<br><small>{}</small>", htmlEscaped(cell.interval)));
    }
    text += "</tr>\n";
  }
  return text + "</tbody>\n</table>\n</section>\n";
}

/// The picture without what stands before its first element, for a place inside a page.
std::string_view element(std::string_view svg) {
  return svg.substr(std::min(svg.find("<svg"), svg.size()));
}

}  // namespace

std::string htmlEscaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string htmlReport(const ReportContent& content, std::string_view svg) {
  std::string text = fmt::format("{}<title>{}</title>\n{}</head>\n<body>\n", head,
                                 htmlEscaped(content.title), style);
  text += fmt::format("<h1>{}</h1>\n<p class=\"subtitle\">{}</p>\n<p class=\"{}\">{}</p>\n",
                      htmlEscaped(content.title), htmlEscaped(content.subtitle),
                      content.success ? "good" : "bad", htmlEscaped(content.status));
  if (!content.notes.empty()) {
    text += "<ul>\n";
    for (const std::string& note : content.notes) {
      text += fmt::format("<li>{}</li>\n", htmlEscaped(note));
    }
    text += "</ul>\n";
  }
  text += fmt::format("<figure>\n{}</figure>\n", element(svg));
  for (const ReportTable& table : content.tables) {
    text += tableText(table);
  }
  return text + "</body>\n</html>\n";
}

}  // namespace vorin::toolkit
