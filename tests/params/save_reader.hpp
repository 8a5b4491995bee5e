// Save sections in the lines of a log, read back as a program outside the library does:
// by the reader that the programs use.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "toolkit/reading/save_section.hpp"

namespace vorin::test {

using Lines = std::vector<std::string>;
using SavedSection = toolkit::SaveSection;

inline const std::string sectionTitle = " !  Vorin save1";

/// The lines from the title of a section on; none if there is no section.
inline Lines sectionOf(const Lines& all) {
  std::size_t first = 0;
  while (first < all.size() && all[first] != sectionTitle) {
    ++first;
  }
  return {all.begin() + static_cast<std::ptrdiff_t>(first), all.end()};
}

/// The one section that `lines` are, in full and with nothing behind it.
inline SavedSection readSection(const Lines& lines) {
  std::string content;
  for (const std::string& line : lines) {
    content += line;
    content += '\n';
  }
  EXPECT_EQ(toolkit::saveSectionCount(content), 1U);
  SavedSection section = toolkit::readSaveSection(content, "the log", 1);
  EXPECT_FALSE(section.compact);
  EXPECT_EQ(section.firstLine, 1);
  EXPECT_EQ(section.lastLine, static_cast<long>(lines.size())) << "lines behind the section";
  return section;
}

}  // namespace vorin::test
