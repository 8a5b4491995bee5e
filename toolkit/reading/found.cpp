#include "toolkit/reading/found.hpp"

namespace vorin::toolkit {

namespace {

std::string unitText(const Found& found) {
  return found.unit + " (" + found.unitOrigin + ")";
}

void addNotes(const Found& found, std::vector<FoundLine>& lines) {
  for (const std::string& note : found.notes) {
    lines.push_back({"note", note});
  }
}

}  // namespace

std::vector<FoundLine> notableLines(const Found& found) {
  std::vector<FoundLine> lines;
  if (!found.plainText) {
    lines.push_back({"format", found.format});
  }
  if (found.unitTold) {
    lines.push_back({"unit", unitText(found)});
  }
  addNotes(found, lines);
  return lines;
}

std::vector<FoundLine> allLines(const Found& found) {
  std::vector<FoundLine> lines{{"format", found.format}, {"columns", found.columns}};
  if (!found.unit.empty()) {
    lines.push_back({"unit", unitText(found)});
  }
  addNotes(found, lines);
  return lines;
}

}  // namespace vorin::toolkit
