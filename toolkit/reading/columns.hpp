// Columns of numbers, whatever file they come from: what a reader of a format hands over, and what
// decay_columns.hpp makes decays from.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/reading/found.hpp"
#include "toolkit/reading/header_units.hpp"

namespace vorin::toolkit {

/// The unit that a file tells of a column, and where it does.
struct ToldUnit {
  NamedUnit unit;
  std::string where;   ///< "header, line 2", "the format's"
  bool loose = false;  ///< behind an underscore in a name, which is no contradiction to a kernel
};

/// A unit of time with `size` seconds in one of it.
ToldUnit timeUnit(double size, std::string_view text, std::string_view where);

/// The numbers of a column; NaN where there is none.
struct ColumnNumbers {
  std::vector<double> real;
  std::vector<double> imaginary{};  ///< as many; empty for a column of real numbers
};

/// How missing numbers are taken.
enum class Missing {
  refused,    ///< an empty field is a mistake
  notANumber  ///< it is NaN, as for the shorter ones of several decays
};

class ColumnSource {
 public:
  ColumnSource() = default;
  ColumnSource(const ColumnSource&) = delete;
  ColumnSource& operator=(const ColumnSource&) = delete;
  virtual ~ColumnSource() = default;

  /// Of the file, for messages.
  const std::string& name() const { return name_; }
  virtual std::size_t rows() const = 0;
  virtual std::size_t columns() const = 0;
  /// The names of the columns, or none.
  virtual const std::vector<std::string>& header() const = 0;
  /// The place of a row in messages: "decay.csv, line 7".
  virtual std::string place(std::size_t row) const = 0;
  /// The same within the file: "line 7".
  virtual std::string rowName(std::size_t row) const = 0;
  /// The numbers of a column (from 0); `quantity` names it in messages. Throws UserError, with
  /// file and row, for what is no number and for infinities.
  virtual ColumnNumbers samples(std::size_t column, std::string_view quantity,
                                Missing missing) const = 0;
  /// What the file tells of the column's unit. Throws UserError where it contradicts itself.
  virtual std::optional<ToldUnit> unitOf(std::size_t column) const = 0;
  /// What stands in brackets in the column's name without being a unit.
  virtual std::string unknownUnitOf(std::size_t /*column*/) const { return {}; }
  /// Throws UserError, in the words of the format, where the columns can't be taken by default:
  /// more than two that nobody chose from.
  virtual void requireChoice(std::string_view abscissa) const = 0;

  /// The columns of abscissa, amplitude and imaginary channel, from 0, where the format tells
  /// them; empty where the user has to or the first two of two are meant.
  std::vector<std::size_t> roles;
  /// Each column behind the first is a decay over it, unless the user chooses some.
  bool takeAll = false;
  Found found;

 protected:
  explicit ColumnSource(std::string name) : name_(std::move(name)) {}

 private:
  std::string name_;
};

/// Columns that are there as numbers: those of containers and instruments.
class NumberColumns : public ColumnSource {
 public:
  struct Column {
    std::string name;
    ColumnNumbers numbers;
    std::optional<ToldUnit> unit{};
  };

  explicit NumberColumns(std::string name) : ColumnSource(std::move(name)) {}

  /// All columns are to have as many rows.
  void add(Column column);

  std::size_t rows() const override {
    return columns_.empty() ? 0 : columns_.front().numbers.real.size();
  }
  std::size_t columns() const override { return columns_.size(); }
  const std::vector<std::string>& header() const override { return header_; }
  std::string place(std::size_t row) const override;
  std::string rowName(std::size_t row) const override;
  ColumnNumbers samples(std::size_t column, std::string_view quantity,
                        Missing missing) const override;
  std::optional<ToldUnit> unitOf(std::size_t column) const override;
  void requireChoice(std::string_view abscissa) const override;

 private:
  std::vector<Column> columns_;
  std::vector<std::string> header_;
};

}  // namespace vorin::toolkit
