// What a reader found in a file: every reader fills it, and the hosts show it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

struct Found {
  std::string format;      ///< "text, fields separated by commas", "GeoSpec text"
  bool plainText = true;   ///< columns of text without anything special
  std::string columns;     ///< those that were taken: "1 \"time (ms)\" and 2 \"signal\", of 5"
  std::string unit;        ///< of the first column in the file: "ms"
  std::string unitOrigin;  ///< who says so: "header, line 2", "--time-unit", "by default"
  bool unitTold = false;   ///< true when the file says so and it is no SI unit
  /// What was done to the rows and what looks odd, a sentence each.
  std::vector<std::string> notes;
};

/// A line of a summary.
struct FoundLine {
  std::string_view label;
  std::string text;
};

/// What a summary of an inversion says: units that the file tells, a special format, all notes.
/// Nothing for a plain file in SI units.
std::vector<FoundLine> notableLines(const Found& found);

/// All of it.
std::vector<FoundLine> allLines(const Found& found);

}  // namespace vorin::toolkit
