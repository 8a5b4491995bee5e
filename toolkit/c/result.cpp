// The handle of results: fields by name.
#include <type_traits>

#include "toolkit/c/boundary.hpp"
#include "toolkit/c/handles.hpp"

namespace c = vorin::toolkit::c;

namespace {

template <class Kind>
constexpr std::string_view kindName() {
  if constexpr (std::is_same_v<Kind, double>) {
    return "number";
  } else if constexpr (std::is_same_v<Kind, std::string>) {
    return "text";
  } else if constexpr (std::is_same_v<Kind, std::vector<double>>) {
    return "array";
  } else {
    return "list of texts";
  }
}

/// A field's kind and how many numbers or texts it has, as the header counts them.
std::pair<std::int32_t, std::size_t> describe(const vorin_result::Value& value) {
  if (const auto* array = std::get_if<std::vector<double>>(&value)) {
    return {VORIN_TOOLKIT_ARRAY, array->size()};
  }
  if (const auto* texts = std::get_if<std::vector<std::string>>(&value)) {
    return {VORIN_TOOLKIT_TEXTS, texts->size()};
  }
  return {std::holds_alternative<double>(value) ? VORIN_TOOLKIT_NUMBER : VORIN_TOOLKIT_TEXT, 1};
}

}  // namespace

template <class Kind>
const Kind& vorin_result::at(std::string_view name) const {
  for (const Field& field : fields) {
    if (field.name == name) {
      if (const Kind* value = std::get_if<Kind>(&field.value)) {
        return *value;
      }
    }
  }
  throw c::NoField(fmt::format("the result has no {} of the name {}", kindName<Kind>(), name));
}

extern "C" {

void vorin_result_free(vorin_result* result) noexcept {
  delete result;
}

int32_t vorin_result_field(const vorin_result* result, int64_t index, const char** name,
                           int32_t* kind, int64_t* count, char* message,
                           int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(result, "result");
    c::requireAddress(name, "name");
    c::requireAddress(kind, "kind");
    c::requireAddress(count, "count");
    if (index < 0 || index >= static_cast<int64_t>(result->fields.size())) {
      throw c::NoField(
          fmt::format("the result has {} fields; index is {}", result->fields.size(), index));
    }
    const vorin_result::Field& field = result->fields[static_cast<std::size_t>(index)];
    const auto [fieldKind, fieldCount] = describe(field.value);
    *name = field.name.data();  // a literal, which ends with a zero byte
    *kind = fieldKind;
    *count = static_cast<int64_t>(fieldCount);
  });
}

int32_t vorin_result_number(const vorin_result* result, const char* name, double* value,
                            char* message, int64_t message_size) noexcept {
  return vorin_result_numbers(result, &name, 1, value, message, message_size);
}

int32_t vorin_result_numbers(const vorin_result* result, const char* const* names, int64_t count,
                             double* values, char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(result, "result");
    c::requireAddress(names, "names");
    c::requireAddress(values, "value");
    std::vector<double> found;
    for (int64_t i = 0; i < count; ++i) {
      c::requireAddress(names[i], "name");
      found.push_back(result->at<double>(names[i]));
    }
    std::copy(found.begin(), found.end(), values);
  });
}

int32_t vorin_result_text(const vorin_result* result, const char* name, const char** text,
                          char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(result, "result");
    c::requireAddress(name, "name");
    c::requireAddress(text, "text");
    *text = result->at<std::string>(name).c_str();
  });
}

int32_t vorin_result_text_at(const vorin_result* result, const char* name, int64_t index,
                             const char** text, char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(result, "result");
    c::requireAddress(name, "name");
    c::requireAddress(text, "text");
    const auto& texts = result->at<std::vector<std::string>>(name);
    if (index < 0 || index >= static_cast<int64_t>(texts.size())) {
      throw c::NoField(fmt::format("{} has {} texts; index is {}", name, texts.size(), index));
    }
    *text = texts[static_cast<std::size_t>(index)].c_str();
  });
}

int32_t vorin_result_array(const vorin_result* result, const char* name, const double** values,
                           int64_t* count, char* message, int64_t message_size) noexcept {
  return c::guarded(message, message_size, [&] {
    c::requireAddress(result, "result");
    c::requireAddress(name, "name");
    c::requireAddress(values, "values");
    c::requireAddress(count, "count");
    const auto& array = result->at<std::vector<double>>(name);
    *values = array.data();
    *count = static_cast<int64_t>(array.size());
  });
}

}  // extern "C"
