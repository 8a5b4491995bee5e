// A reader of full save sections, as a program outside the library would have it:
// blanks between the items of a line count for nothing, the kernel is read by columns.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace vorin::test {

using Lines = std::vector<std::string>;
using Row = std::vector<double>;

struct SavedSection {
  int labelledNf = -1;
  int labelledNg = -1;
  std::vector<std::pair<std::string, std::string>> parameters;  ///< key, text less outer blanks
  std::vector<Row> coefficients;
  std::vector<Row> data;
  std::vector<Row> kernel;
};

inline const std::string sectionTitle = " !  Vorin save1";

/// The lines from the title of a section on; none if there is no section.
inline Lines sectionOf(const Lines& all) {
  std::size_t first = 0;
  while (first < all.size() && all[first] != sectionTitle) {
    ++first;
  }
  return {all.begin() + static_cast<std::ptrdiff_t>(first), all.end()};
}

inline std::string withoutOuterBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

class SectionReader {
 public:
  explicit SectionReader(Lines lines) : lines_(std::move(lines)) {}

  SavedSection read() {
    SavedSection section;
    expect(sectionTitle);
    expect("");
    expect(" [PARAM]");
    section.labelledNf = count("nf");
    section.labelledNg = count("ng");
    while (!atEnd() && !lines_[next_].empty()) {
      const std::string line = take();
      section.parameters.emplace_back(line.substr(0, 4),
                                      withoutOuterBlanks(line.size() > 7 ? line.substr(7) : ""));
    }
    expect("");
    expect(" [COEF]");
    expect("");
    expect("");
    section.coefficients = freeFormRows();
    expect("");
    expect(" [DATA]");
    expect("");
    expect("");
    section.data = freeFormRows();
    expect("");
    expect(" [K]");
    section.kernel = kernelRows();
    expect("");
    expect(" [EOF]");
    EXPECT_TRUE(atEnd()) << "lines behind the section";
    return section;
  }

 private:
  bool atEnd() const { return next_ == lines_.size(); }
  std::string take() { return atEnd() ? "(end of the section)" : lines_[next_++]; }
  void expect(const std::string& line) { EXPECT_EQ(take(), line) << "line " << next_; }

  int count(const std::string& label) {
    std::istringstream items(take());
    std::string word;
    int value = -1;
    items >> word >> value;
    EXPECT_EQ(word, label);
    return value;
  }

  static double number(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    EXPECT_EQ(*end, '\0') << '"' << text << '"';
    return value;
  }

  std::vector<Row> freeFormRows() {
    std::vector<Row> rows;
    while (!atEnd() && !lines_[next_].empty()) {
      EXPECT_EQ(lines_[next_].front(), ' ') << lines_[next_];
      std::istringstream items(take());
      Row row;
      for (std::string word; items >> word;) {
        row.push_back(number(word));
      }
      rows.push_back(row);
    }
    return rows;
  }

  std::vector<Row> kernelRows() {
    constexpr std::size_t columns = 13;
    std::vector<Row> rows;
    while (!atEnd() && !lines_[next_].empty()) {
      const std::string line = take();
      EXPECT_EQ(line.size() % columns, 0U) << line;
      Row row;
      for (std::size_t at = 0; at < line.size(); at += columns) {
        EXPECT_EQ(line[at], ' ') << line;
        row.push_back(number(withoutOuterBlanks(line.substr(at, columns))));
      }
      rows.push_back(row);
    }
    return rows;
  }

  Lines lines_;
  std::size_t next_ = 0;
};

}  // namespace vorin::test
