// Files, and the table of the numerical library's keys.
#include <memory>
#include <optional>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"
#include "toolkit/inverting/keys.hpp"
#include "toolkit/inverting/library_job.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit::c {

namespace {

DecayFormat formatOf(const vorin_settings& settings) {
  return readDecayFormat({settings.text("columns"), settings.text("time_unit"),
                          settings.text("header_lines"), settings.text("spacing")},
                         abscissaQuantity(settings.kernel().kernel), "");
}

/// Adds what the reader found: texts by name, and the notes as a list.
void addFound(vorin_result& result, Found found) {
  result.add("format", std::move(found.format));
  result.add("columns", std::move(found.columns));
  result.add("unit", std::move(found.unit));
  result.add("unit_origin", std::move(found.unitOrigin));
  result.add("notes", std::move(found.notes));
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
    std::vector<vorin::toolkit::FileDecay> decays =
        vorin::toolkit::readDecays(path, c::formatOf(c::orDefaults(settings, defaults)));
    auto made = std::make_unique<vorin_result>();
    std::vector<std::string> names;
    std::vector<double> sizes;
    std::vector<double> time;
    std::vector<double> amplitude;
    std::vector<double> imaginary;
    for (const vorin::toolkit::FileDecay& decay : decays) {
      const vorin::toolkit::MeasuredDecay& measured = decay.measured;
      const auto append = [](std::vector<double>& all, const std::vector<double>& more) {
        all.insert(all.end(), more.begin(), more.end());
      };
      names.push_back(decay.column);
      sizes.push_back(static_cast<double>(measured.decay.time.size()));
      append(time, measured.decay.time);
      append(amplitude, measured.decay.amplitude);
      append(imaginary, measured.imaginary);
    }
    made->add("time", std::move(time));
    made->add("amplitude", std::move(amplitude));
    if (!imaginary.empty()) {
      made->add("imaginary", std::move(imaginary));
    }
    made->add("names", std::move(names));
    made->add("sizes", std::move(sizes));
    c::addFound(*made, std::move(decays.front().found));
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
