// Results as the texts of the command's files.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/job.hpp"
#include "toolkit/c/map_job.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/two_dimensional/map_report.hpp"
#include "toolkit/writing/batch_table.hpp"
#include "toolkit/writing/html_report.hpp"
#include "toolkit/writing/json_report.hpp"
#include "toolkit/writing/report.hpp"

namespace vorin::toolkit::c {

namespace {

/// The arguments of a host.
struct TextRequest {
  std::string_view form;
  const vorin_result* const* inversions;
  const vorin_result* const* bootstraps;
  const char* const* names;
  std::size_t count;
  std::string_view picture;
  const vorin_settings& settings;

  std::string name(std::size_t index) const {
    const bool given = names != nullptr && names[index] != nullptr;
    return given ? names[index] : "decay";
  }
  const Inverted& job(std::size_t index) const { return inversionOf(inversions[index]); }
  ReportContext context(std::size_t index) const {
    ReportContext result =
        contextOf(job(index), bootstraps == nullptr ? nullptr : bootstraps[index], settings);
    result.name = name(index);
    return result;
  }
};

void requireForm(const TextRequest& request) {
  constexpr std::array<std::string_view, 6> forms{"distribution", "fit",   "json",
                                                  "summary",      "table", "report"};
  if (std::find(forms.begin(), forms.end(), request.form) == forms.end()) {
    throw UserError(fmt::format("form {}: write distribution, fit, json, summary, table or report",
                                inQuotes(request.form)));
  }
  if (request.count > 1 && request.form != "json" && request.form != "table") {
    throw UserError(fmt::format("form {}: it takes one inversion, and there are {}",
                                inQuotes(request.form), request.count));
  }
}

std::string tableOf(const TextRequest& request) {
  const ReportContext first = request.context(0);
  std::vector<BatchRow> rows;
  bool intervals = false;
  for (std::size_t i = 0; i < request.count; ++i) {
    const ReportContext context = request.context(i);
    if (gridQuantity(context.kernel) != gridQuantity(first.kernel)) {
      throw UserError(
          "table: relaxation times and diffusion coefficients have no columns in common; make a "
          "table of each");
    }
    intervals = intervals || context.band.has_value();
    rows.push_back(batchRow(request.job(i).inversion, context));
  }
  if (intervals && std::any_of(request.bootstraps, request.bootstraps + request.count,
                               [](const vorin_result* band) { return band == nullptr; })) {
    throw UserError("table: give a bootstrap for every inversion or for none");
  }
  return batchCsv(rows, {first.kernel, first.measures, intervals, false});
}

std::string jsonOf(const TextRequest& request) {
  std::vector<std::string> objects;
  for (std::size_t i = 0; i < request.count; ++i) {
    objects.push_back(jsonObject(request.job(i).inversion, request.context(i)));
  }
  return (objects.size() > 1 ? jsonArray(objects) : objects.front()) + "\n";
}

std::string textOf(const TextRequest& request) {
  if (request.form == "json") {
    return jsonOf(request);
  }
  if (request.form == "table") {
    return tableOf(request);
  }
  const Inversion& inversion = request.job(0).inversion;
  const ReportContext context = request.context(0);
  if (request.form == "distribution") {
    return distributionCsv(inversion, context);
  }
  if (request.form == "fit") {
    return fitCsv(inversion, context);
  }
  return request.form == "summary" ? summary(inversion, context)
                                   : htmlReport(reportContent(inversion, context), request.picture);
}

std::string mapTextOf(const TextRequest& request) {
  const InvertedMap& job = mapOfResult(request.inversions[0]);
  const MapInversion& inversion = job.inversion;
  MapContext context;
  context.name = request.name(0);
  context.kernel1 = job.input.settings.kernel1;
  context.kernel2 = job.input.settings.kernel2;
  context.kernelFile1 = context.kernelFile2 = ownKernel;
  context.phase = job.input.phase;
  if (request.form == "json") {
    return mapJson(inversion, context) + "\n";
  }
  if (request.form == "summary") {
    return mapSummary(inversion, context);
  }
  constexpr int digits = 9;
  if (request.form == "distribution") {
    return matrixCsv(inversion.grid1, inversion.grid2, inversion.distribution, digits);
  }
  throw UserError(
      fmt::format("form {} of a map: write distribution, json or summary", inQuotes(request.form)));
}

std::string checkedText(const TextRequest& request) {
  requireForm(request);
  for (std::size_t i = 0; i < request.count; ++i) {
    requireAddress(request.inversions[i], "inversions");
  }
  const bool map = request.count == 1 && request.inversions[0]->map != nullptr;
  return map ? mapTextOf(request) : textOf(request);
}

}  // namespace

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_write_text(const char* form, const vorin_result* const* inversions,
                         const vorin_result* const* bootstraps, const char* const* names,
                         int64_t count, const char* picture, const vorin_settings* settings,
                         vorin_result** result, char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    c::requireAddress(form, "form");
    c::requireAddress(inversions, "inversions");
    if (count < 1) {
      throw vorin::toolkit::UserError("count: at least one inversion is required");
    }
    const vorin_settings defaults;
    auto made = std::make_unique<vorin_result>();
    made->add("text", c::checkedText(
                          {form, inversions, bootstraps, names, static_cast<std::size_t>(count),
                           picture == nullptr ? "" : picture, c::orDefaults(settings, defaults)}));
    return made;
  });
}

}  // extern "C"
