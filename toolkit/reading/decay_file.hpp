// Decays from files of any kind: what the user says about a file, and what is read from it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/model/decay.hpp"
#include "toolkit/reading/found.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// The columns of a decay, as numbers from 1 or as names of the header: abscissa, amplitude, and
/// the imaginary channel of complex data, if there is one.
struct ColumnChoice {
  std::string text;  ///< as the user gave it
  std::vector<std::string> columns;
  /// For many decays of one abscissa: the columns, from 1, of amplitude and, unless it is 0,
  /// imaginary channel of each. Then `columns` holds the abscissa alone.
  struct Channels {
    std::size_t real = 0;
    std::size_t imaginary = 0;
  };
  std::vector<Channels> many{};
};

/// Reads "X,Y" or "X,Y,IM"; "X,A..B", "X,A,B..C" and so on for many decays, and "X,A:B,C:D" for
/// such with an imaginary channel each. "-" is an abscissa that is not in the file, and
/// `oneAllowed` takes "Y" alone; both are for samples of even spacing. Throws UserError, which
/// names `option`, for anything else.
ColumnChoice parseColumns(std::string_view text, std::string_view option, bool oneAllowed = false);

/// Evenly spaced samples whose times are not in the file, or whose first column numbers them.
struct Spacing {
  std::string text;             ///< as the user gave it
  double step = 0.0;            ///< SI units between two samples
  std::optional<double> first;  ///< that of the first sample; a step unless it is numbered
};

/// How the file of a decay is to be read.
struct DecayFormat {
  std::optional<ColumnChoice> columns;  ///< without it the file must have two, or tell them
  Quantity abscissa = Quantity::time;
  std::optional<double> unit{};  ///< SI units in one of the file's abscissa; else as the file says
  std::string unitText{};        ///< as the user gave it
  std::optional<std::size_t> headerLines{};  ///< above the rows; else they are found
  std::optional<Spacing> spacing{};
};

/// The settings of reading as the user wrote them, empty where there is none.
struct DecayFormatText {
  std::string columns;
  std::string timeUnit;
  std::string headerLines;
  std::string spacing;
};

/// Reads them for an abscissa of `quantity`. `prefix` is "--" for a command line; the names of
/// settings stand in sentences without it, with underscores. Throws UserError.
DecayFormat readDecayFormat(const DecayFormatText& text, Quantity quantity,
                            std::string_view prefix);

/// A decay of a file, in SI units.
struct FileDecay {
  std::string file;    ///< as given, for messages
  std::string column;  ///< for many decays of one file: the name or number of the column
  MeasuredDecay measured;
  Found found;
};

/// All decays that `format` selects in `path` ("-": standard input; FILE:PATH an array inside a
/// container). Rows without numbers are left out, times sorted, and samples of one time averaged;
/// Found tells so. Throws UserError, which names file and line, for a file that can't be read, a
/// column that isn't there, a field that is no number, times that are negative, fewer than two
/// rows, amplitudes that are all 0 or beyond all units.
std::vector<FileDecay> readDecays(const std::filesystem::path& path, const DecayFormat& format);

/// The one decay in `path`. Throws UserError as readDecays does, and where columns for several are
/// chosen.
FileDecay readFileDecay(const std::filesystem::path& path, const DecayFormat& format);
MeasuredDecay readMeasuredDecay(const std::filesystem::path& path, const DecayFormat& format);

/// The decay in a file of two columns, times in seconds unless it tells another unit.
Decay readDecay(const std::filesystem::path& path);

}  // namespace vorin::toolkit
