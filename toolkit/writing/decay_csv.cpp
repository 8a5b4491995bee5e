#include "toolkit/writing/decay_csv.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "toolkit/reading/table.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

/// The name of a column without what would end a field or a line.
std::string fieldName(std::string_view name) {
  std::string text = inOneLine(name);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == ',' || c == '"' || c == ';'; }, ' ');
  return text;
}

}  // namespace

std::string decayCsv(const std::vector<FileDecay>& decays, Kernel kernel) {
  const std::vector<double>& times = decays.front().measured.decay.time;
  for (const FileDecay& decay : decays) {
    if (decay.measured.decay.time != times) {
      throw UserError(
          fmt::format("{}: {} and {} have other times (rows without a number are left out, and "
                      "zones have delays "
                      "of their own); write them one by one",
                      decay.file, inQuotes(decays.front().column), inQuotes(decay.column)));
    }
  }
  const bool single = decays.size() == 1;
  std::string text =
      fmt::format("{} {}, {}\n{}", single ? decayComment : "# decays of", decays.front().file,
                  inOneLine(decays.front().found.format), abscissaColumn(kernel));
  for (const FileDecay& decay : decays) {
    const bool isComplex = !decay.measured.imaginary.empty();
    const std::string before = single ? "" : fieldName(decay.column) + " ";
    text += fmt::format(",{}{}", before, isComplex ? "real" : "amplitude");
    text += isComplex ? fmt::format(",{}imaginary", before) : "";
  }
  text += '\n';
  for (std::size_t i = 0; i < times.size(); ++i) {
    // The shortest digits that read back to the same number.
    fmt::format_to(std::back_inserter(text), "{}", times[i]);
    for (const FileDecay& decay : decays) {
      fmt::format_to(std::back_inserter(text), ",{}", decay.measured.decay.amplitude[i]);
      if (!decay.measured.imaginary.empty()) {
        fmt::format_to(std::back_inserter(text), ",{}", decay.measured.imaginary[i]);
      }
    }
    text += '\n';
  }
  return text;
}

}  // namespace vorin::toolkit
