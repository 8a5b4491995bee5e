// Columns of numbers in a text file: comma, semicolon, tab or blanks between the fields,
// a point or, where the separator is no comma, a comma before the decimals; comment lines
// that begin with '#', empty lines, and one header line of words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "toolkit/reading/text_file.hpp"

namespace vorin::toolkit {

/// The rows of one file, all with as many fields. Numbers are read from it by the column,
/// so that columns that nobody asks for may hold anything.
class Table {
 public:
  /// Lays out `file`, which must outlive the table. Throws UserError, with file and line,
  /// for rows of unequal length, overlong lines, and when there are no rows. For messages,
  /// `names` describes a row of two columns ("time and amplitude", or nothing) and
  /// `example` is a row as it should be.
  Table(const TextFile& file, std::string_view names, std::string_view example);

  std::size_t rows() const { return lines_.size(); }
  std::size_t columns() const { return columns_; }
  const std::string& name() const { return name_; }
  /// Line number, from 1, of a row in the file.
  long lineOf(std::size_t row) const { return lines_[row]; }
  /// The names of the columns, or none when the file has no header that fits.
  const std::vector<std::string>& header() const { return header_; }

  /// True when commas separate the fields and nothing in the file shows that they are not
  /// decimal commas: more than two whole numbers in every row.
  bool commasMayBeDecimal() const;

  /// The numbers of a column (from 0). Throws UserError, with file and line, for what is
  /// not a finite number; `quantity` names the column in messages.
  std::vector<double> numbers(std::size_t column, std::string_view quantity) const;

  /// The place of a row in messages: "decay.csv, line 7".
  std::string place(std::size_t row) const;

 private:
  void takeRow(std::string_view line, long number, bool last, std::string_view names);
  void setHeader(std::string_view line);
  [[noreturn]] void failLength(std::size_t found, std::string_view line, long number, bool last,
                               std::string_view names) const;
  double numberAt(std::size_t row, std::size_t column, std::string_view quantity) const;

  std::string name_;
  char separator_ = '\0';  ///< ' ' is any run of blanks
  std::size_t columns_ = 0;
  std::vector<std::string_view> fields_;  ///< row-major
  std::vector<long> lines_;
  std::vector<std::string> header_;
};

}  // namespace vorin::toolkit
