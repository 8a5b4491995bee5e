// Columns of numbers in a text file: comma, semicolon, tab or blanks between the fields,
// a point or, where the separator is no comma, a comma before the decimals; comment lines,
// empty lines, a header of any length, a row of units, and a footer.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/reading/columns.hpp"
#include "toolkit/reading/table_layout.hpp"
#include "toolkit/reading/text_file.hpp"

namespace vorin::toolkit {

/// With this the programs begin the file of a decay. Where it does, three columns are time, real
/// and imaginary channel.
inline constexpr std::string_view decayComment = "# decay of";

/// The rows of one file, all with as many fields. Numbers are read from it by the column,
/// so that columns that nobody asks for may hold anything.
class Table : public ColumnSource {
 public:
  /// Lays out `file`, which must outlive the table. Throws UserError, with file and line,
  /// for rows of unequal length, overlong lines, and when there are no rows. For messages,
  /// `names` describes a row of two columns ("time and amplitude", or nothing) and
  /// `example` is a row as it should be. `headerLines` is the count of lines above the rows
  /// where the user gives it.
  Table(const TextFile& file, std::string_view names, std::string_view example,
        std::optional<std::size_t> headerLines = {});

  std::size_t rows() const override { return lines_.size(); }
  std::size_t columns() const override { return columns_; }
  /// Line number, from 1, of a row in the file.
  long lineOf(std::size_t row) const { return lines_[row]; }
  char separator() const { return separator_; }
  const std::vector<std::string>& header() const override { return header_; }
  std::string place(std::size_t row) const override;
  std::string rowName(std::size_t row) const override;

  /// The text of a field, from 0.
  std::string_view field(std::size_t row, std::size_t column) const {
    return fields_[row * stride_ + column];
  }

  /// The finite numbers of a column. Throws UserError, with file and line, for anything else.
  std::vector<double> numbers(std::size_t column, std::string_view quantity) const;

  ColumnNumbers samples(std::size_t column, std::string_view quantity,
                        Missing missing) const override;
  std::optional<ToldUnit> unitOf(std::size_t column) const override;
  std::string unknownUnitOf(std::size_t column) const override;
  void requireChoice(std::string_view abscissa) const override;

 private:
  void takeRows(const TableLayout& layout, std::string_view names);
  void takeNames(const TableLayout& layout);
  bool setHeader(const TextLine& line);
  bool setUnits(const TextLine& line);
  bool isEmpty(std::size_t column) const;
  void dropEmptyColumns();
  bool commasMayBeDecimal() const;
  void describe(const TextFile& file, const TableLayout& layout);
  [[noreturn]] void failLength(std::size_t count, const TextLine& line,
                               std::string_view names) const;
  [[noreturn]] void failNumber(std::size_t row, std::string_view field,
                               std::string_view quantity) const;
  void requireOneDecimalSeparator(std::size_t column) const;

  char separator_ = '\0';   ///< ' ' is any run of blanks
  std::size_t stride_ = 0;  ///< fields of a row, with empty ones at its end
  std::size_t columns_ = 0;
  std::size_t emptyRows_ = 0;
  std::vector<std::string_view> fields_;  ///< row-major
  std::vector<long> lines_;
  std::vector<std::string> header_;
  long headerLine_ = 0;
  std::vector<std::string> units_;  ///< of a row of units
  long unitsLine_ = 0;
  std::string nameLine_;  ///< the line right above the rows, where it holds no names
};

/// The table of a decay in `file`, whose abscissa is called `abscissa`.
Table decayTable(const TextFile& file, std::string_view abscissa,
                 std::optional<std::size_t> headerLines);

}  // namespace vorin::toolkit
