// Several inversions in one table, a row a decay.
#pragma once

#include <string>
#include <vector>

#include "toolkit/inverting/inversion.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit {

/// A row of the table: one inversion. Unknown numbers are not-a-number.
struct BatchRow {
  std::string file;
  std::size_t samples = 0;
  int status = 0;
  bool success = true;
  std::string advice;  ///< the status in words
  double noise = 0.0;
  double weight = 0.0;
  double standardError = 0.0;
  double logMean = 0.0;
  double total = 0.0;
  std::size_t peaks = 0;
};

BatchRow batchRow(const Inversion& inversion, const ReportContext& context);

/// The table for the terminal, a line at a time, so that each can be shown as soon as its
/// inversion is done.
class BatchText {
 public:
  /// For decays of these names, under this kernel.
  BatchText(const std::vector<std::string>& names, Kernel kernel);

  std::string heading() const;
  std::string row(const BatchRow& row) const;
  /// What the statuses other than success mean, and how many there are.
  static std::string ending(const std::vector<BatchRow>& rows);

 private:
  std::size_t width_;  ///< of the first column
  Kernel kernel_;
};

/// The table as CSV, with a header line; grid values in SI units.
std::string batchCsv(const std::vector<BatchRow>& rows, Kernel kernel);

}  // namespace vorin::toolkit
