// Numbers and texts in fields of fixed length: what hosts without formatted output
// of their own get from the text exports, and how the save section packs a line.
// Results are texts of at most 32 characters, for a field that is cut or padded to
// the host's length (fillField). A format is text of the kind "(F10.6)": F fixed
// and E exponent notation, G the one of both that suits, I an integer; then columns,
// a point, and places.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vorin::params {

/// Fills `destination` with `source` less its blanks and tabs, cut or padded with
/// blanks. `newLength` may be null; else it gets the number of characters in
/// `destination` before the padding. The two must not overlap.
void StripBlanks(std::span<char> destination, std::int32_t* newLength, std::string_view source);

/// The format, cut to 8 characters, in which a host shows all of `values` in `width`
/// columns: "(I8)" when each lies within 2e-12 of an integer (also when there are
/// none), else "(G 8. 2)" with `width` - 6 significant places. A number of the
/// second form that needs more than two columns shows stars.
std::string formatFor(std::span<const double> values, std::int32_t width);

/// `x` as text: an integer, when it is one to 2e-12, with a blank or its sign in
/// front; otherwise so that it reads back to 6 significant places, in fixed notation
/// from 0.1 to below 1e6 and in exponent notation outside.
std::string toText(double x);

/// How toText writes a number that has to be fitted into columns.
struct RealFormat {
  std::int32_t w = 0;       ///< columns in exponent notation
  std::int32_t d = 0;       ///< places in exponent notation; steers the decimals else
  double lower = 0;         ///< magnitudes below it take exponent notation
  double upper = 0;         ///< and so do those at or above it
  std::int32_t fewest = 0;  ///< columns in fixed notation: at least these and w - 4, at most w
};

/// `x` in exponent or fixed notation, as `format` says. In fixed notation of wf
/// columns the decimals are
///
///   (d - w) - (int(log10|x| + 0.5) + (1 if x < 0)) + 4 + wf,   from 0 to wf - 2,
///
/// int cutting off the fraction, so that d = w - 6 and up keeps about the same
/// number of significant places through the range. A value too wide for its columns
/// shows stars, and so does every value when the columns are more than 32; with no
/// columns the text is empty.
std::string toText(double x, const RealFormat& format);

}  // namespace vorin::params
