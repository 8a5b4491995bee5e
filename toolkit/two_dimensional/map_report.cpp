#include "toolkit/two_dimensional/map_report.hpp"

#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <nlohmann/json.hpp>
#include <numbers>

#include "toolkit/measures/measures.hpp"
#include "toolkit/reading/numbers.hpp"

namespace vorin::toolkit {

namespace {

using Json = nlohmann::ordered_json;

/// A number above 0, or null.
Json knownOrNull(double value) {
  return value > 0.0 ? Json(value) : Json(nullptr);
}

Json interval(const MapInterval& range) {
  return Json::array({range.lower, range.upper});
}

void addSpread(Json& object, const MapSpread& spread) {
  object["share_interval"] = interval(spread.share);
  object["log_mean1_interval"] = interval(spread.logMean1);
  object["log_mean2_interval"] = interval(spread.logMean2);
}

Json peakList(const MapView& map, const MapContext& context) {
  Json list = Json::array();
  const std::vector<MapPeak> peaks = mapPeaks(map);
  for (std::size_t p = 0; p < peaks.size(); ++p) {
    const MapPeak& peak = peaks[p];
    Json object = {{"position1", peak.position1}, {"position2", peak.position2},
                   {"share", peak.share},         {"log_mean1", peak.logMean1},
                   {"log_mean2", peak.logMean2},  {"width1", peak.width1},
                   {"width2", peak.width2},       {"at_grid_end", peak.atGridEnd}};
    if (bothAreTimes(context)) {
      object["ratio"] = peak.position1 / peak.position2;
    }
    if (context.bootstrap && p < context.bootstrap->peaks.size()) {
      addSpread(object, context.bootstrap->peaks[p]);
    }
    list.push_back(object);
  }
  return list;
}

Json regionList(const MapView& map, const MapContext& context) {
  Json list = Json::array();
  for (std::size_t r = 0; r < context.regions.size(); ++r) {
    const MapRegion& region = context.regions[r];
    Json object = {{"axis1", Json::array({region.from1, region.to1})},
                   {"axis2", Json::array({region.from2, region.to2})},
                   {"share", regionShare(map, region)}};
    if (context.bootstrap && r < context.bootstrap->regions.size()) {
      addSpread(object, context.bootstrap->regions[r]);
    }
    list.push_back(object);
  }
  return list;
}

std::string kernelText(Kernel kernel, const std::string& file) {
  return file.empty() ? std::string(kernelName(kernel)) : file;
}

/// "1.2 % to 3.4 %" behind a share, if there is a bootstrap.
std::string shareRange(const std::vector<MapSpread>& spreads, std::size_t index) {
  return index < spreads.size()
             ? fmt::format("  ({} to {})", percentText(spreads[index].share.lower),
                           percentText(spreads[index].share.upper))
             : "";
}

}  // namespace

bool bothAreTimes(const MapContext& context) {
  return gridQuantity(context.kernel1) == Quantity::time &&
         gridQuantity(context.kernel2) == Quantity::time;
}

std::string mapSummary(const MapInversion& inversion, const MapContext& context) {
  const MapView map{inversion.grid1, inversion.grid2, inversion.distribution};
  const Quantity first = gridQuantity(context.kernel1);
  const Quantity second = gridQuantity(context.kernel2);
  const std::string_view name1 = relaxationTimeName(context.kernel1);
  const std::string_view name2 = relaxationTimeName(context.kernel2);
  std::string text;
  const auto line = [&](std::string_view name, const std::string& value) {
    fmt::format_to(std::back_inserter(text), "  {:<18}{}\n", name, value);
  };
  fmt::format_to(std::back_inserter(text), "{}: {} x {} map, {} and {}\n", context.name,
                 inversion.grid1.size(), inversion.grid2.size(),
                 kernelText(context.kernel1, context.kernelFile1),
                 kernelText(context.kernel2, context.kernelFile2));
  line("status", std::string(mapStatusText(inversion.status)));
  line("weight",
       fmt::format("{} ({})", significant(inversion.weight), weightOriginWord(inversion.mode)));
  if (inversion.noise > 0.0) {
    line("noise", fmt::format("{} ({})", significant(inversion.noise),
                              noiseOriginWord(inversion.noiseOrigin)));
  }
  line("standard error",
       inversion.wantedError > 0.0
           ? fmt::format("{}, wanted {}, closest {}", significant(inversion.error),
                         significant(inversion.wantedError), significant(inversion.closestError))
           : significant(inversion.error));
  if (context.phase) {
    line("phase", fmt::format("{:.1f} degrees", *context.phase * 180.0 / std::numbers::pi));
  }
  line("total", significant(totalAmplitude(map)));
  line("log means",
       fmt::format("{} {}, {} {}", name1,
                   quantityText(logMean({inversion.grid1, projection1(map)}), first), name2,
                   quantityText(logMean({inversion.grid2, projection2(map)}), second)));
  const std::vector<MapPeak> peaks = mapPeaks(map);
  for (std::size_t p = 0; p < peaks.size(); ++p) {
    const MapPeak& peak = peaks[p];
    line(
        p == 0 ? "peaks" : "",
        fmt::format("{} {}, {} {}: {}{}{}", name1, quantityText(peak.position1, first), name2,
                    quantityText(peak.position2, second), percentText(peak.share),
                    bothAreTimes(context)
                        ? fmt::format(", ratio {}", significant(peak.position1 / peak.position2, 3))
                        : "",
                    context.bootstrap ? shareRange(context.bootstrap->peaks, p) : ""));
  }
  for (std::size_t r = 0; r < context.regions.size(); ++r) {
    const MapRegion& region = context.regions[r];
    line(r == 0 ? "regions" : "",
         fmt::format("{} {} to {}, {} {} to {}: {}{}", name1, quantityText(region.from1, first),
                     quantityText(region.to1, first), name2, quantityText(region.from2, second),
                     quantityText(region.to2, second), percentText(regionShare(map, region)),
                     context.bootstrap ? shareRange(context.bootstrap->regions, r) : ""));
  }
  return text;
}

std::string matrixCsv(const std::vector<double>& first, const std::vector<double>& second,
                      const std::vector<double>& values, int digits) {
  std::string text = "0";
  for (double value : second) {
    fmt::format_to(std::back_inserter(text), ",{:.{}g}", value, digits);
  }
  text += '\n';
  for (std::size_t i = 0; i < first.size(); ++i) {
    fmt::format_to(std::back_inserter(text), "{:.{}g}", first[i], digits);
    for (std::size_t k = 0; k < second.size(); ++k) {
      fmt::format_to(std::back_inserter(text), ",{:.{}g}", values[i * second.size() + k], digits);
    }
    text += '\n';
  }
  return text;
}

std::string mapJson(const MapInversion& inversion, const MapContext& context) {
  const MapView map{inversion.grid1, inversion.grid2, inversion.distribution};
  Json rows = Json::array();
  const auto columns = static_cast<std::ptrdiff_t>(inversion.grid2.size());
  for (auto row = inversion.distribution.begin(); row != inversion.distribution.end();
       row += columns) {
    rows.push_back(std::vector<double>(row, row + columns));
  }
  const std::string_view origin = noiseOriginWord(inversion.noiseOrigin);
  const Json object = {
      {"file", context.name},
      {"kernels", Json::array({kernelText(context.kernel1, context.kernelFile1),
                               kernelText(context.kernel2, context.kernelFile2)})},
      {"status", static_cast<int>(inversion.status)},
      {"status_text", mapStatusText(inversion.status)},
      {"success", succeeded(inversion)},
      {"weight", inversion.weight},
      {"weight_origin", weightOriginWord(inversion.mode)},
      {"noise", knownOrNull(inversion.noise)},
      {"noise_origin", origin.empty() ? Json(nullptr) : Json(origin)},
      {"wanted_standard_error", knownOrNull(inversion.wantedError)},
      {"standard_error", inversion.error},
      {"closest_standard_error", knownOrNull(inversion.closestError)},
      {"rows", inversion.rows},
      {"duality_gap", inversion.gap},
      {"iterations", inversion.weights},
      {"passes", inversion.steps},
      {"phase", context.phase ? Json(*context.phase * 180.0 / std::numbers::pi) : Json(nullptr)},
      {"total", totalAmplitude(map)},
      {"log_mean1", logMean({inversion.grid1, projection1(map)})},
      {"log_mean2", logMean({inversion.grid2, projection2(map)})},
      {"peaks", peakList(map, context)},
      {"regions", regionList(map, context)},
      {"bootstrap_replicates",
       context.bootstrap ? Json(context.bootstrap->replicates) : Json(nullptr)},
      {"grid1", inversion.grid1},
      {"grid2", inversion.grid2},
      {"projection1", projection1(map)},
      {"projection2", projection2(map)},
      {"distribution", rows},
  };
  // A file name need not be UTF-8.
  return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace vorin::toolkit
