// What several formats share: parameter files, lists of times, binary numbers.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#include "toolkit/reading/formats/formats.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"

namespace vorin::toolkit {

std::map<std::string, std::string> readParameters(const std::filesystem::path& path) {
  std::map<std::string, std::string> parameters;
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    return parameters;
  }
  const TextFile file = readTextFile(path);
  std::string_view rest = file.content;
  while (!rest.empty()) {
    const std::string_view line = takeLine(rest);
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) {
      std::string value(trimmed(line.substr(equals + 1)));
      value.erase(std::remove(value.begin(), value.end(), '"'), value.end());
      parameters[std::string(trimmed(line.substr(0, equals)))] = value;
    }
  }
  return parameters;
}

std::optional<double> parseListTime(std::string_view text) {
  text = trimmed(text);
  if (text.empty()) {
    return std::nullopt;
  }
  double size = 1.0;
  switch (text.back()) {
    case 's':
      text.remove_suffix(1);
      break;
    case 'm':
      size = 1e-3;
      text.remove_suffix(1);
      break;
    case 'u':
      size = 1e-6;
      text.remove_suffix(1);
      break;
    case 'n':
      size = 1e-9;
      text.remove_suffix(1);
      break;
    default:
      break;
  }
  const std::optional<double> number = parseNumber(text);
  if (!number || !std::isfinite(*number)) {
    return std::nullopt;
  }
  return toSi(*number, size);
}

template <class Number>
std::optional<Number> BinaryReader::numberAt(std::size_t at) const {
  if (at > bytes_.size() || bytes_.size() - at < sizeof(Number)) {
    return std::nullopt;
  }
  std::array<char, sizeof(Number)> own{};
  std::memcpy(own.data(), bytes_.data() + at, own.size());
  if (bigEndian_ != (std::endian::native == std::endian::big)) {
    std::reverse(own.begin(), own.end());
  }
  Number value{};
  std::memcpy(&value, own.data(), own.size());
  return value;
}

std::optional<std::int32_t> BinaryReader::int32At(std::size_t at) const {
  return numberAt<std::int32_t>(at);
}

std::optional<float> BinaryReader::floatAt(std::size_t at) const {
  return numberAt<float>(at);
}

std::optional<double> BinaryReader::doubleAt(std::size_t at) const {
  return numberAt<double>(at);
}

}  // namespace vorin::toolkit
