#include "toolkit/writing/sample_report.hpp"

#include <fmt/format.h>

#include "toolkit/user_error.hpp"
#include "toolkit/writing/gnuplot.hpp"
#include "toolkit/writing/html_report.hpp"
#include "toolkit/writing/pdf_report.hpp"
#include "toolkit/writing/report_content.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

std::string svgOf(const fs::path& report, const PrivateFolder& scratch,
                  const PictureContent& content) {
  constexpr int width = 1000;
  constexpr int height = 900;
  const PicturePlace withoutTitle{0.0, 0.0, 1.0, 1.045};
  const std::string script = "set multiplot\n" +
                             picturePanels(scratch.path(), content, withoutTitle) +
                             "unset multiplot\nset output\n";
  return runGnuplot(report, Canvas("picture.svg", {}, {width, height}).terminal(), scratch, script);
}

}  // namespace

void requireReport(const fs::path& report, std::string_view option) {
  const std::string kind = report.extension().string();
  if (kind != ".html" && kind != ".pdf") {
    throw UserError(
        fmt::format("{} {}: the name must end in .html or .pdf", option, report.string()));
  }
  requireGnuplotInstalled(report, option);
}

std::string sampleReport(const fs::path& report, const PrivateFolder& scratch,
                         const Inversion& inversion, const ReportContext& context) {
  const ReportContent content = reportContent(inversion, context);
  return report.extension() == ".pdf"
             ? pdfReport(report, scratch, content)
             : htmlReport(content, svgOf(report, scratch, content.picture));
}

}  // namespace vorin::toolkit
