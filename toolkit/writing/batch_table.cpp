#include "toolkit/writing/batch_table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "toolkit/measures/report_measures.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/writing/summary_lines.hpp"

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

std::string valueOrDash(double value, Kernel kernel) {
  return std::isnan(value) ? "-" : quantityText(value, gridQuantity(kernel));
}

std::string_view unitSuffix(Kernel kernel) {
  return gridQuantity(kernel) == Quantity::time        ? "_s"
         : gridQuantity(kernel) == Quantity::diffusion ? "_m2_s"
                                                       : "";
}

/// A column that lists a number of each peak, with blanks between them.
struct PeakColumn {
  std::string_view name;
  bool onGrid;  ///< in the unit of the grid
};
constexpr std::array<PeakColumn, 5> peakColumns{{{"peak_positions", true},
                                                 {"peak_centres", true},
                                                 {"peak_widths", false},
                                                 {"peak_shares", false},
                                                 {"peak_amounts", false}}};

/// Calls `visit` with the name and the value of each measure that has a column, in the order of
/// the columns: the mean, the percentiles, amount and share of each part.
template <class Visit>
void visitMeasures(const Measures& measures, Visit visit) {
  visit("mean", measures.mean);
  for (const MeasuredPercentile& one : measures.percentiles) {
    visit(fmt::format("p{:g}", one.percent), one.time);
  }
  for (const MeasuredPart& part : measures.parts) {
    const std::string range = std::isinf(part.to) ? fmt::format("above_{:g}", part.from)
                              : !(part.from > 0.0)
                                  ? fmt::format("below_{:g}", part.to)
                                  : fmt::format("{:g}_to_{:g}", part.from, part.to);
    visit("amount_" + range, part.amount);
    visit("share_" + range, part.share);
  }
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
  const Measures measures = measuresOf(inversion, context);
  row.logMean = measures.logMean.value;
  row.total = measures.total.value;
  row.peaks = measures.peaks.size();
  for (const MeasuredPeak& peak : measures.peaks) {
    row.peakList.push_back({peak.position.value, peak.centre.value, peak.width.value,
                            peak.share.value, peak.amount.value});
  }
  for (const std::string& note : allNotes(inversion, context, measures)) {
    row.notes.append(row.notes.empty() ? "" : "; ").append(inOneLine(note));
  }
  visitMeasures(measures, [&](const std::string&, const Measure& measure) {
    row.measures.push_back(measure.value);
    if (measure.interval) {
      row.measures.push_back(measure.interval->lower);
      row.measures.push_back(measure.interval->upper);
    }
  });
  return row;
}

BatchRow failureRow(const std::string& name, const std::string& sentence) {
  BatchRow row;
  row.file = name;
  row.inverted = false;
  row.success = false;
  row.advice = inOneLine(sentence);
  return row;
}

std::vector<std::string> BatchLayout::columns() const {
  // The measures of any distribution have these names; this one has no peaks.
  Band band;
  const Measures example = measuresOf({{1.0}, {0.0}}, this->measures, intervals ? &band : nullptr);
  const std::string_view unit = unitSuffix(kernel);
  std::vector<std::string> names;
  visitMeasures(example, [&](const std::string& name, const Measure&) {
    names.push_back(fmt::format("{}{}", name, unit));
    if (intervals) {
      names.push_back(fmt::format("{}_lower{}", name, unit));
      names.push_back(fmt::format("{}_upper{}", name, unit));
    }
  });
  return names;
}

BatchText::BatchText(const std::vector<std::string>& names, BatchLayout layout)
    : layout_(std::move(layout)), width_(shortestName) {
  for (const std::string& name : names) {
    width_ = std::clamp(name.size(), width_, longestName);
  }
  const std::size_t step = layout_.intervals ? 3 : 1;
  std::size_t at = step;  // behind the mean
  const Quantity quantity = gridQuantity(layout_.kernel);
  for (double percent : layout_.measures.percentiles) {
    if (layout_.showsPercentiles) {
      shown_.push_back({fmt::format("{:g} %", percent), at, false});
    }
    at += step;
  }
  const std::vector<double>& cutoffs = layout_.measures.cutoffs;
  for (std::size_t p = 0; !cutoffs.empty() && p <= cutoffs.size(); ++p) {
    // Amount and share take turns.
    const double from = p == 0 ? 0.0 : cutoffs[p - 1];
    const double to = p < cutoffs.size() ? cutoffs[p] : std::numeric_limits<double>::infinity();
    shown_.push_back({partName(from, to, quantity), at + step, true});
    at += 2 * step;
  }
}

std::string BatchText::heading() const {
  std::string text = fmt::format(
      "{:<{}}  {:>7}  {:>6}  {:>9}  {:>9}  {:>9}  {:>12}  {:>9}  {:>5}", "file", width_, "samples",
      "status", "noise", "weight", "std.err.",
      fmt::format("log mean {}",
                  layout_.kernel == Kernel::matrix ? "" : relaxationTimeName(layout_.kernel)),
      "total", "peaks");
  for (const Shown& column : shown_) {
    text += fmt::format("  {:>8}", column.heading);
  }
  return text + '\n';
}

std::string BatchText::row(const BatchRow& row) const {
  const std::string name = shortened(inOneLine(row.file), width_);
  if (!row.inverted) {
    return fmt::format("{:<{}}  {:>7}  {:>6}\n", name, width_, "-", "- (!)");
  }
  std::string text = fmt::format(
      "{:<{}}  {:>7}  {:>6}  {:>9}  {:>9}  {:>9}  {:>12}  {:>9}  {:>5}", name, width_, row.samples,
      row.success ? std::to_string(row.status) : fmt::format("{} (!)", row.status),
      numberOrDash(row.noise), numberOrDash(row.weight), numberOrDash(row.standardError),
      valueOrDash(row.logMean, layout_.kernel), numberOrDash(row.total), row.peaks);
  for (const Shown& column : shown_) {
    const double value = row.measures.at(column.index);
    text += fmt::format("  {:>{}}",
                        !column.share       ? valueOrDash(value, layout_.kernel)
                        : std::isnan(value) ? "-"
                                            : percentText(value),
                        std::max<std::size_t>(column.heading.size(), 8));
  }
  return text + '\n';
}

std::string BatchText::ending(const std::vector<BatchRow>& rows) {
  std::string text;
  for (const BatchRow& row : rows) {
    if (!row.inverted) {
      text += row.advice + '\n';
    } else if (!row.success) {
      text += fmt::format("{}: {} ({})\n", inOneLine(row.file), row.advice, row.status);
    }
  }
  const auto good =
      std::count_if(rows.begin(), rows.end(), [](const BatchRow& row) { return row.success; });
  return text + fmt::format("{} of {} inversions successful\n", good, rows.size());
}

std::string batchCsv(const std::vector<BatchRow>& rows, const BatchLayout& layout) {
  const std::vector<std::string> columns = layout.columns();
  std::string text =
      fmt::format("file,samples,status,success,noise,weight,standard_error,log_mean{},total,peaks",
                  unitSuffix(layout.kernel));
  for (const std::string& column : columns) {
    text.append(1, ',').append(column);
  }
  text += ",message,notes";
  for (const PeakColumn& column : peakColumns) {
    fmt::format_to(std::back_inserter(text), ",{}{}", column.name,
                   column.onGrid ? unitSuffix(layout.kernel) : "");
  }
  text += '\n';
  for (const BatchRow& row : rows) {
    const std::string file = csvField(inOneLine(row.file));
    if (row.inverted) {
      fmt::format_to(std::back_inserter(text), "{},{},{},{},{},{},{},{},{},{}", file, row.samples,
                     row.status, row.success, csvNumber(row.noise), csvNumber(row.weight),
                     csvNumber(row.standardError), csvNumber(row.logMean), csvNumber(row.total),
                     row.peaks);
      for (double measure : row.measures) {
        fmt::format_to(std::back_inserter(text), ",{}", csvNumber(measure));
      }
    } else {
      text += fmt::format("{},,,false,,,,,,", file) + std::string(columns.size(), ',');
    }
    fmt::format_to(std::back_inserter(text), ",{},{}", row.success ? "" : csvField(row.advice),
                   csvField(row.notes));
    for (std::size_t k = 0; k < peakColumns.size(); ++k) {
      text += ',';
      for (const std::array<double, 5>& peak : row.peakList) {
        text.append(&peak == &row.peakList.front() ? "" : " ").append(csvNumber(peak[k]));
      }
    }
    text += '\n';
  }
  return text;
}

}  // namespace vorin::toolkit
