// A report as one file of HTML that needs no other: styles and picture are inside.
#pragma once

#include <string>
#include <string_view>

#include "toolkit/writing/report_content.hpp"

namespace vorin::toolkit {

/// `text` with the characters that HTML reads as markup written as references.
std::string htmlEscaped(std::string_view text);

/// The page. `svg` is the picture as gnuplot writes it.
std::string htmlReport(const ReportContent& content, std::string_view svg);

}  // namespace vorin::toolkit
