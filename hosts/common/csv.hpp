// Reading two columns of numbers, as instruments and spreadsheets leave them:
// comma, semicolon, tab or blanks between the fields, comment lines that begin
// with '#', empty lines, and one optional header line of words.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::host {

struct TwoColumns {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<long> line;  ///< line of the file, from 1, that each row stands on
};

/// The rows of `path`. Throws UserError, with file and line, for a file that can't
/// be read, has no rows, or has a row that is not two finite numbers. The names
/// stand for the columns in messages.
TwoColumns readTwoColumns(const std::filesystem::path& path, std::string_view xName,
                          std::string_view yName);

/// A measured decay: times in seconds, rising, none negative; amplitudes in the
/// instrument's unit. Two samples at least.
struct Decay {
  std::vector<double> time;
  std::vector<double> amplitude;
  std::optional<double> quadratureNoise{};  ///< deviation of the imaginary channel, if complex
};

/// The decay in `path`. Throws UserError as readTwoColumns does, and for times that
/// are negative or do not rise, for fewer than two rows, and for amplitudes that
/// are all 0.
Decay readDecay(const std::filesystem::path& path);

/// A distribution: relaxation times in seconds, rising, all positive; the amplitude of each.
struct Distribution {
  std::vector<double> time;
  std::vector<double> amplitude;
};

/// The distribution in `path`, for comparison. Throws UserError as readDecay does,
/// and for times of 0 or amplitudes below 0.
Distribution readDistribution(const std::filesystem::path& path);

}  // namespace vorin::host
