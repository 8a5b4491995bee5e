// An inversion as JSON, for programs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// How the weight came about, in a word: "given", "automatic", "noise" or
/// "corner".
std::string_view weightOrigin(const Inversion& inversion);

/// Where the noise came from, in a word: "given", "differences", ...; empty for none.
std::string_view noiseOriginWord(NoiseOrigin origin);

/// One object, in SI units and the unit of the data; what is not known is null.
std::string jsonObject(const Inversion& inversion, const ReportContext& context);

/// The object of a decay that could not be inverted: its name and the sentence that says why.
std::string failureObject(const std::string& name, const std::string& sentence);

/// `objects` as one array.
std::string jsonArray(const std::vector<std::string>& objects);

}  // namespace vorin::toolkit
