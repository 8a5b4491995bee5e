#include "toolkit/writing/report_content.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <utility>

#include "toolkit/inverting/library.hpp"
#include "toolkit/measures/measures.hpp"
#include "toolkit/measures/residual_checks.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/reading/units.hpp"
#include "toolkit/writing/summary_lines.hpp"

namespace vorin::toolkit {

namespace {

using Row = std::vector<ReportCell>;
using Text = std::function<std::string(double)>;

/// A text of a file or a user as one line that is safe to show.
std::string shown(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return inOneLine(text);
}

std::string numberText(double value, const Text& text) {
  return std::isnan(value) ? "not known" : text(value);
}

std::string intervalText(const Measure& measure, const Text& text) {
  return measure.interval ? fmt::format("{} to {}", numberText(measure.interval->lower, text),
                                        numberText(measure.interval->upper, text))
                          : std::string();
}

/// The names and texts of lines that are no remarks.
ReportTable lineTable(std::string heading, const std::vector<FoundLine>& lines) {
  ReportTable table{std::move(heading), {}, {}};
  for (const FoundLine& line : lines) {
    if (line.label != noteLabel) {
      table.rows.push_back({{std::string(line.label)}, {shown(line.text)}});
    }
  }
  return table;
}

/// Total, means, percentiles and parts; with a bootstrap a column of intervals.
class ResultRows {
 public:
  explicit ResultRows(bool intervals)
      : intervals_(intervals), table_{"Results", {"measure", "value"}, {}} {
    if (intervals) {
      table_.columns.emplace_back("68 % interval");
    }
  }

  void add(std::string name, const Measure& measure, const Text& text) {
    Row row{{std::move(name)}, {numberText(measure.value, text)}};
    if (intervals_) {
      row.push_back({intervalText(measure, text)});
    }
    table_.rows.push_back(std::move(row));
  }

  ReportTable table() && { return std::move(table_); }

 private:
  bool intervals_;
  ReportTable table_;
};

ReportTable resultTable(const Measures& measures, const ReportContext& context) {
  const Quantity quantity = gridQuantity(context.kernel);
  const Text position = [=](double value) {
    return quantityText(value, quantity, UnitStyle::typeset);
  };
  const Text amplitude = [&](double value) {
    return shown(amplitudeText(value, context.amplitudeUnit));
  };
  const std::string name(relaxationTimeName(context.kernel));
  ResultRows rows(context.band.has_value());
  rows.add("total amplitude", measures.total, amplitude);
  rows.add("log mean of " + name, measures.logMean, position);
  if (context.truth) {
    rows.add("true log mean", {logMean(*context.truth)}, position);
  }
  rows.add("arithmetic mean", measures.mean, position);
  for (const MeasuredPercentile& one : measures.percentiles) {
    rows.add(fmt::format("percentile {:g} %", one.percent), one.time, position);
  }
  for (const MeasuredPart& part : measures.parts) {
    const std::string range = partName(part.from, part.to, quantity, UnitStyle::typeset);
    rows.add("amount " + range, part.amount, amplitude);
    rows.add("share " + range, part.share, percentText);
  }
  return std::move(rows).table();
}

ReportTable peakTable(const Measures& measures, const ReportContext& context) {
  const Quantity quantity = gridQuantity(context.kernel);
  const Text position = [=](double value) {
    return quantityText(value, quantity, UnitStyle::typeset);
  };
  const Text amplitude = [&](double value) {
    return shown(amplitudeText(value, context.amplitudeUnit));
  };
  const Text decades = [](double value) { return fmt::format("{:.2f}", value); };
  ReportTable table{"Peaks", {"position", "centre", "share", "amount", "width (decades)"}, {}};
  const bool remarks = std::any_of(measures.peaks.begin(), measures.peaks.end(),
                                   [](const MeasuredPeak& peak) { return peak.atGridEnd; });
  if (remarks) {
    table.columns.emplace_back("remark");
  }
  const auto cell = [](const Measure& measure, const Text& text) {
    return ReportCell{numberText(measure.value, text), intervalText(measure, text)};
  };
  for (const MeasuredPeak& peak : measures.peaks) {
    table.rows.push_back({cell(peak.position, position), cell(peak.centre, position),
                          cell(peak.share, percentText), cell(peak.amount, amplitude),
                          cell(peak.width, decades)});
    if (remarks) {
      table.rows.back().push_back({peak.atGridEnd ? "at the end of the grid" : ""});
    }
  }
  return table;
}

/// "like noise" or what it points at, for a check that is `off` standard deviations away.
std::string verdict(double off, std::string_view trouble) {
  return std::isnan(off)                         ? "not known"
         : std::fabs(off) < suspiciousDeviations ? "like noise"
                                                 : std::string(trouble);
}

ReportTable checkTable(const Inversion& inversion, const ReportContext& context) {
  std::vector<double> residual;
  for (std::size_t i = 0; i < inversion.fit.size(); ++i) {
    residual.push_back(context.decay.amplitude[i] - inversion.fit[i]);
  }
  const ResidualChecks checks = checkResidual(residual, inversion.rejected);
  const auto deviations = [](double off) {
    return std::isnan(off) ? "not known" : fmt::format("{:+.1f} standard deviations", off);
  };
  ReportTable table{"Checks of the residual", {"check", "found", "verdict"}, {}};
  const auto add = [&](const char* name, std::string found, std::string told) {
    table.rows.push_back({{name}, {std::move(found)}, {std::move(told)}});
  };
  const double ratio =
      inversion.noise > 0.0 ? checks.rootMeanSquare / inversion.noise : std::nan("");
  constexpr double close = 0.8;
  constexpr double far = 1.2;
  add("root mean square over the noise",
      numberText(ratio, [](double r) { return fmt::format("{:.2f}", r); }),
      std::isnan(ratio) ? "no noise is known"
      : ratio < close   ? "closer than the noise: the fit follows noise, or the noise is less"
      : ratio <= far    ? "like noise"
                        : "the fit misses the data by more than the noise");
  add("mean", deviations(checks.mean), verdict(checks.mean, "the fit is off to one side"));
  const double root = std::sqrt(static_cast<double>(checks.samples));
  add("correlation of neighbours",
      std::isnan(checks.correlation)
          ? "not known"
          : fmt::format("{:+.3f} ({})", checks.correlation, deviations(checks.correlation * root)),
      verdict(checks.correlation * root, checks.correlation > 0.0
                                             ? "neighbours go together: the fit misses the curve, "
                                               "or the noise is filtered"
                                             : "neighbours alternate: the noise is filtered"));
  add("runs of one sign", fmt::format("{} ({})", checks.runs, deviations(checks.runsOff)),
      verdict(checks.runsOff, checks.runsOff < 0.0
                                  ? "too few: the fit misses the curve, or the noise is filtered"
                                  : "too many: the noise is filtered"));
  constexpr double allowance = 1.5;
  add("largest residual",
      std::isnan(checks.largest)
          ? "not known"
          : fmt::format("{:.1f} root mean squares; {:.1f} is usual for noise", checks.largest,
                        checks.largestOfNoise),
      std::isnan(checks.largest)                           ? "not known"
      : checks.largest < allowance * checks.largestOfNoise ? "like noise"
                                                           : "a sample is off the curve");
  return table;
}

ReportTable settingTable(const ReportContext& context) {
  ReportTable table{"Settings and versions", {}, {}};
  for (const auto& [name, value] : context.settings) {
    table.rows.push_back({{shown(name)}, {shown(value)}});
  }
  table.rows.push_back({{context.settings.empty() ? "settings" : "other settings"}, {"default"}});
  table.rows.push_back({{"toolkit"}, {VORIN_TOOLKIT_BUILD_VERSION}});
  table.rows.push_back({{"numerical library"}, {queryText("VERS")}});
  return table;
}

}  // namespace

ReportContent reportContent(const Inversion& inversion, const ReportContext& given) {
  ReportContext context = given;
  context.units = UnitStyle::typeset;
  const Measures measures = measuresOf(inversion, context);
  ReportContent content;
  content.title =
      shown(context.picture.title.empty() ? std::filesystem::path(context.name).filename().string()
                                          : context.picture.title);
  content.subtitle = shown(fmt::format("{}: {}", context.name, sampleText(context)));
  content.success = succeeded(inversion);
  content.status = shown(fmt::format("{} ({})", statusText(inversion), inversion.status));
  content.notes = allNotes(inversion, context, measures);
  if (context.band && context.band->intervalTooNarrow) {
    content.notes.push_back("the interval of the log mean is " + std::string(tooNarrowText()));
  }
  std::transform(content.notes.begin(), content.notes.end(), content.notes.begin(), shown);
  content.picture = pictureContent(inversion, context);
  content.picture.title.clear();
  content.tables.push_back(resultTable(measures, context));
  if (!measures.peaks.empty()) {
    content.tables.push_back(peakTable(measures, context));
  }
  content.tables.push_back(lineTable("Data", dataLines(inversion, context)));
  content.tables.push_back(lineTable("Inversion", inversionLines(inversion, context)));
  if (context.band) {
    content.tables.back().rows.push_back(
        {{"bootstrap"}, {fmt::format("{} replicates", context.band->replicates)}});
  }
  content.tables.push_back(checkTable(inversion, context));
  content.tables.push_back(settingTable(context));
  return content;
}

}  // namespace vorin::toolkit
