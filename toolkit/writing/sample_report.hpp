// The report of one sample as a file: HTML or PDF by its name.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "toolkit/reading/files.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// Throws UserError, which names `option`, unless the name of `report` ends in .html or .pdf and
/// gnuplot, which draws the picture, can be run.
void requireReport(const std::filesystem::path& report, std::string_view option);

/// The content of the file `report`, whose ending says what it is. `scratch` is for what is drawn
/// on the way; any number of threads may call, each with one of its own. Throws UserError when
/// gnuplot fails.
std::string sampleReport(const std::filesystem::path& report, const PrivateFolder& scratch,
                         const Inversion& inversion, const ReportContext& context);

}  // namespace vorin::toolkit
