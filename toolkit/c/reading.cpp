// Files, and the table of the numerical library's keys.
#include <memory>
#include <optional>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/inverting/keys.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/reading/csv.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit::c {

namespace {

DecayFormat formatOf(const vorin_settings& settings) {
  DecayFormat format;
  format.abscissa = abscissaQuantity(settings.kernel().kernel);
  format.unit = readUnit(settings.text("time_unit"), "time_unit", format.abscissa);
  if (const std::string& columns = settings.text("columns"); !columns.empty()) {
    format.columns = parseColumns(columns, "columns");
  }
  return format;
}

}  // namespace

}  // namespace vorin::toolkit::c

namespace c = vorin::toolkit::c;

extern "C" {

int32_t vorin_read_decay(const char* path, const vorin_settings* settings, vorin_result** result,
                         char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [&] {
    c::requireAddress(path, "path");
    const vorin_settings defaults;
    vorin::toolkit::MeasuredDecay measured =
        vorin::toolkit::readMeasuredDecay(path, c::formatOf(c::orDefaults(settings, defaults)));
    auto made = std::make_unique<vorin_result>();
    made->add("time", std::move(measured.decay.time));
    made->add("amplitude", std::move(measured.decay.amplitude));
    if (!measured.imaginary.empty()) {
      made->add("imaginary", std::move(measured.imaginary));
    }
    return made;
  });
}

int32_t vorin_keys(vorin_result** result, char* message, int64_t message_size) noexcept {
  return c::making(result, message, message_size, [] {
    const vorin::toolkit::LibraryJob job;  // the values after loading
    std::vector<std::string> key;
    std::vector<std::string> kind;
    std::vector<std::string> range;
    std::vector<std::string> unit;
    std::vector<std::string> meaning;
    std::vector<std::string> value;
    std::vector<double> settable;
    for (const vorin::toolkit::KeyInfo& info : vorin::toolkit::keyInfos()) {
      key.emplace_back(info.key);
      kind.emplace_back(vorin::toolkit::kindName(info.kind));
      range.emplace_back(info.range);
      unit.emplace_back(info.unit);
      meaning.emplace_back(info.meaning);
      value.push_back(vorin::toolkit::keyValueText(info));
      settable.push_back(info.settable ? 1.0 : 0.0);
    }
    auto made = std::make_unique<vorin_result>();
    made->add("key", std::move(key));
    made->add("kind", std::move(kind));
    made->add("range", std::move(range));
    made->add("unit", std::move(unit));
    made->add("meaning", std::move(meaning));
    made->add("value", std::move(value));
    made->add("settable", std::move(settable));
    return made;
  });
}

}  // extern "C"
