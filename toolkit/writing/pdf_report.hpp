// A report as pages of A4 in PDF. gnuplot draws all of it, the tables too: it is what the pictures
// need already, and its PDF terminal takes any UTF-8 with the fonts of the system.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/reading/files.hpp"
#include "toolkit/writing/report_content.hpp"

namespace vorin::toolkit {

/// The lines into which `text` is broken, at blanks where it has some, so that none is wider than
/// `width` at the font size `size`, both in points. Widths are estimates on the safe side for a
/// wide sans-serif font; no character is divided.
std::vector<std::string> wrappedText(std::string_view text, double width, double size);

/// The file's content. Throws UserError, which names `report`, when gnuplot fails.
std::string pdfReport(const std::filesystem::path& report, const PrivateFolder& scratch,
                      const ReportContent& content);

}  // namespace vorin::toolkit
