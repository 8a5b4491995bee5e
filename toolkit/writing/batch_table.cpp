#include "toolkit/writing/batch_table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "toolkit/measures/measures.hpp"
#include "toolkit/reading/numbers.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t shortestName = 12;
constexpr std::size_t longestName = 40;

/// The end of a name that is too long, which says more than its start.
std::string shortened(const std::string& name, std::size_t width) {
  return name.size() <= width ? name : ".." + name.substr(name.size() - width + 2);
}

std::string numberOrDash(double value) {
  return std::isnan(value) ? "-" : significant(value);
}

/// A field of a CSV file: quoted where it holds what separates fields.
std::string csvField(const std::string& text) {
  if (text.find_first_of(",;\"\n\r") == std::string::npos) {
    return text;
  }
  std::string quoted = "\"";
  for (char c : text) {
    quoted += c;
    if (c == '"') {
      quoted += c;
    }
  }
  return quoted + "\"";
}

std::string csvNumber(double value) {
  return std::isnan(value) ? "" : fmt::format("{:.8g}", value);
}

}  // namespace

BatchRow batchRow(const Inversion& inversion, const ReportContext& context) {
  BatchRow row;
  row.file = context.name;
  row.samples = context.decay.time.size();
  row.status = inversion.status;
  row.success = succeeded(inversion);
  row.advice = statusText(inversion);
  row.noise = inversion.noise > 0.0 ? inversion.noise : std::numeric_limits<double>::quiet_NaN();
  row.weight = inversion.weight;
  row.standardError = inversion.reachedError;
  row.logMean = logMean(inversion.distribution);
  row.total = totalAmplitude(inversion.distribution);
  row.peaks = peaks(inversion.distribution).size();
  return row;
}

BatchText::BatchText(const std::vector<std::string>& names, Kernel kernel)
    : width_(shortestName), kernel_(kernel) {
  for (const std::string& name : names) {
    width_ = std::clamp(name.size(), width_, longestName);
  }
}

std::string BatchText::heading() const {
  return fmt::format(
      "{:<{}}  {:>7}  {:>6}  {:>9}  {:>9}  {:>9}  {:>12}  {:>9}  {:>5}\n", "file", width_,
      "samples", "status", "noise", "weight", "std.err.",
      fmt::format("log mean {}", kernel_ == Kernel::matrix ? "" : relaxationTimeName(kernel_)),
      "total", "peaks");
}

std::string BatchText::row(const BatchRow& row) const {
  return fmt::format(
      "{:<{}}  {:>7}  {:>6}  {:>9}  {:>9}  {:>9}  {:>12}  {:>9}  {:>5}\n",
      shortened(row.file, width_), width_, row.samples,
      row.success ? std::to_string(row.status) : fmt::format("{} (!)", row.status),
      numberOrDash(row.noise), numberOrDash(row.weight), numberOrDash(row.standardError),
      std::isnan(row.logMean) ? "-" : quantityText(row.logMean, gridQuantity(kernel_)),
      numberOrDash(row.total), row.peaks);
}

std::string BatchText::ending(const std::vector<BatchRow>& rows) {
  std::string text;
  for (const BatchRow& row : rows) {
    if (!row.success) {
      text += fmt::format("{}: {} ({})\n", row.file, row.advice, row.status);
    }
  }
  const auto good =
      std::count_if(rows.begin(), rows.end(), [](const BatchRow& row) { return row.success; });
  return text + fmt::format("{} of {} inversions successful\n", good, rows.size());
}

std::string batchCsv(const std::vector<BatchRow>& rows, Kernel kernel) {
  const std::string_view unit = gridQuantity(kernel) == Quantity::time        ? "_s"
                                : gridQuantity(kernel) == Quantity::diffusion ? "_m2_s"
                                                                              : "";
  std::string text = fmt::format(
      "file,samples,status,success,noise,weight,standard_error,log_mean{},total,peaks\n", unit);
  for (const BatchRow& row : rows) {
    fmt::format_to(std::back_inserter(text), "{},{},{},{},{},{},{},{},{},{}\n", csvField(row.file),
                   row.samples, row.status, row.success, csvNumber(row.noise),
                   csvNumber(row.weight), csvNumber(row.standardError), csvNumber(row.logMean),
                   csvNumber(row.total), row.peaks);
  }
  return text;
}

}  // namespace vorin::toolkit
