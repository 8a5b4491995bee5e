// Where in a text the rows of numbers are: what stands above them is a header of any length,
// what stands below them a footer.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/reading/text_file.hpp"

namespace vorin::toolkit {

/// A line that is not empty, without blanks at its ends.
struct TextLine {
  std::string_view text;
  long number = 0;       ///< from 1 in the file
  bool endless = false;  ///< the file ends in it, without a line end
};

struct TableLayout {
  char separator = '\0';              ///< of the fields; ' ' is any run of blanks
  std::vector<TextLine> header{};     ///< lines above the rows that are no comments
  std::optional<TextLine> comment{};  ///< the last comment above the rows
  std::vector<TextLine> rows{};
  std::vector<TextLine> footer{};
  bool separatorTold = false;  ///< by a line "sep=;"
};

/// The fields of a row, without blanks and quotes around them. A separator inside double quotes
/// is part of its field.
std::vector<std::string_view> fieldsOf(std::string_view row, char separator);

/// The separator of the fields of a row: a semicolon or tab where there is one. With commas and
/// blanks only, commas separate the fields if that leaves numbers ("0.001, 3"); otherwise they are
/// decimal separators if that does ("0,001 3,5").
char separatorOf(std::string_view row);

/// The number in `field`, in which one comma may be the decimal separator.
std::optional<double> numberWithComma(std::string_view field);

/// True for the words for "no number" that programs write: "nan", "NA", "#N/A", "null" ...
bool meansNoNumber(std::string_view field);

/// The real and imaginary part of "1+2j", "(1-2i)", as programs write complex numbers.
struct ComplexNumber {
  double real;
  double imaginary;
};
std::optional<ComplexNumber> parseComplex(std::string_view field);

/// Finds the rows: the longest run of lines of one count of fields that hold numbers, with what
/// looks like a row above it and all up to the last line that does. With `headerLines` the rows
/// begin behind so many lines of the file. Throws UserError for an overlong line.
TableLayout layOut(const TextFile& file, std::optional<std::size_t> headerLines);

}  // namespace vorin::toolkit
