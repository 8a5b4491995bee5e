// Helpers on blank-padded text fields, and the date text of the log.
#include "params/text.hpp"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace vorin::params {
namespace {

bool equalLetters(char a, char b) {
  return ToUpperCase(a) == ToUpperCase(b);
}

std::tm localTime(std::time_t seconds) {
  std::tm parts{};
#if defined(_WIN32)
  localtime_s(&parts, &seconds);
#else
  localtime_r(&seconds, &parts);  // std::localtime would disturb the host's own calls
#endif
  return parts;
}

}  // namespace

std::string ToUpperCase(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return ToUpperCase(c); });
  return upper;
}

std::string_view trimmed(std::string_view text) {
  // find_last_not_of gives npos for a blank text, and npos + 1 is 0.
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  a = trimmed(a);
  b = trimmed(b);
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), equalLetters);
}

bool beginsNoCase(std::string_view text, std::string_view prefix) {
  const std::string_view start = text.substr(0, prefix.size());
  return std::equal(start.begin(), start.end(), prefix.begin(), prefix.end(), equalLetters);
}

void fillField(std::span<char> field, std::string_view text) {
  const std::size_t kept = std::min(text.size(), field.size());
  std::copy_n(text.begin(), kept, field.begin());
  std::fill(field.begin() + static_cast<std::ptrdiff_t>(kept), field.end(), ' ');
}

std::string DateTimeText(std::size_t width) {
  using std::chrono::milliseconds;
  using std::chrono::seconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto wholeSeconds = std::chrono::floor<seconds>(now);
  const auto fraction = std::chrono::floor<milliseconds>(now - wholeSeconds).count();
  const std::tm parts = localTime(static_cast<std::time_t>(wholeSeconds.count()));

  char upToSeconds[64] = "";
  std::strftime(upToSeconds, sizeof upToSeconds, "%Y%m%d  %H%M%S", &parts);
  const std::string thousands = std::to_string(1000 + fraction);  // 1sss
  std::string text = upToSeconds + ('.' + thousands.substr(1));
  text.resize(width, ' ');
  return text;
}

}  // namespace vorin::params
