// Several inversions in one table, a row a decay.
#pragma once

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// A row of the table: one inversion, or a decay that could not be inverted. Unknown numbers are
/// not-a-number.
struct BatchRow {
  static constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

  std::string file;
  std::size_t samples = 0;
  bool inverted = true;  ///< false: `advice` says why, and there are no numbers
  int status = 0;
  bool success = true;
  std::string advice;  ///< the status in words
  double noise = unknown;
  double weight = unknown;
  double standardError = unknown;
  double logMean = unknown;
  double total = unknown;
  std::size_t peaks = 0;
  /// Of each peak position, centre, width, share and amount.
  std::vector<std::array<double, 5>> peakList{};
  std::string notes{};           ///< the remarks on data and inversion, with "; " between them
  std::vector<double> measures;  ///< as BatchLayout lists them; none where not inverted
};

BatchRow batchRow(const Inversion& inversion, const ReportContext& context);

/// The row of a decay that could not be inverted, with the sentence that says why.
BatchRow failureRow(const std::string& name, const std::string& sentence);

/// What the rows of one table have in common.
struct BatchLayout {
  Kernel kernel = Kernel::t2;
  MeasureChoice measures{};
  bool intervals = false;         ///< of a bootstrap
  bool showsPercentiles = false;  ///< in the terminal

  /// The columns of the measures in the CSV: "mean_s", "p10_s", "share_below_0.033_s", with
  /// intervals each followed by that name with "_lower" and "_upper".
  std::vector<std::string> columns() const;
};

/// The table for the terminal, a line at a time, so that each can be shown as soon as its
/// inversion is done.
class BatchText {
 public:
  /// For decays of these names.
  BatchText(const std::vector<std::string>& names, BatchLayout layout);

  std::string heading() const;
  std::string row(const BatchRow& row) const;
  /// What the statuses other than success mean, and how many there are.
  static std::string ending(const std::vector<BatchRow>& rows);

 private:
  /// A column of the measures that the terminal shows too.
  struct Shown {
    std::string heading;
    std::size_t index;  ///< in BatchRow::measures
    bool share;         ///< shown as a percentage
  };

  BatchLayout layout_;
  std::size_t width_;  ///< of the first column
  std::vector<Shown> shown_;
};

/// The table as CSV, with a header line; grid values in SI units.
std::string batchCsv(const std::vector<BatchRow>& rows, const BatchLayout& layout);

}  // namespace vorin::toolkit
