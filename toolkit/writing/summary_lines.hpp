// What is told of an inversion beside its measures, a label and a text each. The terminal's
// summary, the batch table, JSON and the reports take these lines, so that all of them tell the
// same.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// The label of a remark on the lines before it.
inline constexpr std::string_view noteLabel = "note";

/// "3000 samples from 200 µs to 600 ms".
std::string sampleText(const ReportContext& context);

/// The kernel's formula, or the file of its matrix.
std::string kernelText(const ReportContext& context);

/// "too narrow: ...", what is told of an interval that a broad peak makes too narrow.
std::string_view tooNarrowText();

/// What the data are: what the reader tells, the phase, the kernel with its grid.
std::vector<FoundLine> dataLines(const Inversion& inversion, const ReportContext& context);

/// How they were inverted: status, noise, outliers, weight, standard error, what was chosen.
std::vector<FoundLine> inversionLines(const Inversion& inversion, const ReportContext& context);

/// What the measures call for: a wider grid.
std::vector<FoundLine> measureNotes(const Measures& measures);

/// The texts of all remarks, each in one line.
std::vector<std::string> allNotes(const Inversion& inversion, const ReportContext& context,
                                  const Measures& measures);

}  // namespace vorin::toolkit
