#include "toolkit/writing/json_report.hpp"

#include <nlohmann/json.hpp>
#include <optional>

#include "toolkit/measures/measures.hpp"
#include "toolkit/model/distribution.hpp"
#include "toolkit/writing/summary_lines.hpp"

namespace vorin::toolkit {

namespace {

using Json = nlohmann::ordered_json;

/// A number above 0, or null.
Json knownOrNull(double value) {
  return value > 0.0 ? Json(value) : Json(nullptr);
}

/// Adds a measure under its name, and its interval, if there is one, under that name with
/// "_lower" and "_upper". Not a number becomes null.
void add(Json& object, const std::string& name, const Measure& measure) {
  object[name] = measure.value;
  if (measure.interval) {
    object[name + "_lower"] = measure.interval->lower;
    object[name + "_upper"] = measure.interval->upper;
  }
}

Json peakList(const Measures& measures) {
  Json list = Json::array();
  for (const MeasuredPeak& peak : measures.peaks) {
    Json one = Json::object();
    add(one, "position", peak.position);
    add(one, "width", peak.width);
    add(one, "share", peak.share);
    one["at_grid_end"] = peak.atGridEnd;
    add(one, "centre", peak.centre);
    add(one, "amount", peak.amount);
    list.push_back(std::move(one));
  }
  return list;
}

Json percentileList(const Measures& measures) {
  Json list = Json::array();
  for (const MeasuredPercentile& percentile : measures.percentiles) {
    Json one = {{"percent", percentile.percent}};
    add(one, "position", percentile.time);
    list.push_back(std::move(one));
  }
  return list;
}

Json partList(const Measures& measures) {
  Json list = Json::array();
  for (const MeasuredPart& part : measures.parts) {
    Json one = {{"from", part.from}, {"to", part.to}};  // infinity becomes null
    add(one, "amount", part.amount);
    add(one, "share", part.share);
    list.push_back(std::move(one));
  }
  return list;
}

}  // namespace

namespace {

/// What the data or the user decided beside noise and weight, and what is wrong.
void addChoice(Json& object, const Inversion& inversion) {
  const std::vector<double>& grid = inversion.distribution.time;
  const auto numberOrNull = [](const std::optional<double>& value) {
    return value ? Json(*value) : Json(nullptr);
  };
  const auto textOrNull = [](std::string_view text) {
    return text.empty() ? Json(nullptr) : Json(text);
  };
  object["noise_spread"] = knownOrNull(inversion.noiseSpread);
  object["support"] = {grid[inversion.firstColumn], grid[inversion.lastColumn]};
  object["left_out"] = inversion.spoiled;
  object["offset"] = numberOrNull(inversion.offset);
  object["efficiency"] = numberOrNull(inversion.efficiency);
  object["flip"] = numberOrNull(inversion.flip);
  object["finding"] = textOrNull(findingWord(inversion.finding.kind));
  object["finding_text"] = textOrNull(findingText(inversion.finding));
}

}  // namespace

std::string_view weightOrigin(const Inversion& inversion) {
  switch (inversion.mode) {
    case WeightMode::fixed:
      return "given";
    case WeightMode::corner:
      return "corner";
    case WeightMode::automatic:
      return "automatic";
    case WeightMode::noise:
      break;
  }
  return "noise";
}

std::string_view noiseOriginWord(NoiseOrigin origin) {
  switch (origin) {
    case NoiseOrigin::given:
      return "given";
    case NoiseOrigin::differences:
      return "differences";
    case NoiseOrigin::residual:
      return "residual";
    case NoiseOrigin::quadrature:
      return "quadrature";
    case NoiseOrigin::libraryDifference:
      return "difference";
    case NoiseOrigin::libraryFit:
      return "fit";
    case NoiseOrigin::libraryRidge:
      return "ridge";
    case NoiseOrigin::libraryScan:
      return "scan";
    case NoiseOrigin::library:
      return "library";
    case NoiseOrigin::none:
      break;
  }
  return "";
}

std::string jsonObject(const Inversion& inversion, const ReportContext& context) {
  const std::string_view noiseOrigin = noiseOriginWord(inversion.noiseOrigin);
  const std::optional<double> ratio = signalToNoise(inversion, context.decay);
  Json object = {
      {"file", context.name},
      {"kernel",
       context.kernelFile.empty() ? std::string(kernelName(context.kernel)) : context.kernelFile},
      {"status", inversion.status},
      {"status_text", statusText(inversion)},
      {"success", succeeded(inversion)},
      {"samples", context.decay.time.size()},
      {"weight", inversion.weight},
      {"weight_origin", weightOrigin(inversion)},
      {"noise", knownOrNull(inversion.noise)},
      {"noise_origin", noiseOrigin.empty() ? Json(nullptr) : Json(noiseOrigin)},
      {"signal_to_noise", ratio ? Json(*ratio) : Json(nullptr)},
      {"wanted_standard_error", knownOrNull(inversion.wantedError)},
      {"standard_error", inversion.reachedError},
      {"fit_error", inversion.fitError},
      {"iterations", inversion.weightSteps},
      {"passes", inversion.passes},
  };
  addChoice(object, inversion);
  const Measures measures = measuresOf(inversion, context);
  object["notes"] = allNotes(inversion, context, measures);
  object["amplitude_unit"] =
      context.amplitudeUnit.empty() ? Json(nullptr) : Json(context.amplitudeUnit);
  object["total"] = measures.total.value;
  object["log_mean"] = measures.logMean.value;  // not a number becomes null
  add(object, "mean", measures.mean);
  object["percentiles"] = percentileList(measures);
  object["cutoffs"] = partList(measures);
  object["peaks"] = peakList(measures);
  object["grid"] = inversion.distribution.time;
  object["distribution"] = inversion.distribution.amplitude;
  object["cumulative"] = cumulative(inversion.distribution);
  if (context.band) {
    object["bootstrap"] = {{"replicates", context.band->replicates},
                           {"lower", context.band->lower},
                           {"upper", context.band->upper},
                           {"log_mean_lower", context.band->logMeanLower},
                           {"log_mean_upper", context.band->logMeanUpper},
                           {"interval_too_narrow", context.band->intervalTooNarrow}};
  }
  // A file name need not be UTF-8.
  return object.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::string failureObject(const std::string& name, const std::string& sentence) {
  const Json object = {
      {"file", name}, {"status", nullptr}, {"status_text", sentence}, {"success", false}};
  return object.dump(2, ' ', false, Json::error_handler_t::replace);
}

std::string jsonArray(const std::vector<std::string>& objects) {
  std::string text = "[";
  for (const std::string& object : objects) {
    text += (&object == &objects.front() ? "\n" : ",\n") + object;
  }
  return text + "\n]";
}

}  // namespace vorin::toolkit
