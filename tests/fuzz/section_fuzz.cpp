// Logs of any bytes: their save sections are read, or refused with a sentence that names the
// file.
#include <algorithm>
#include <string>
#include <string_view>

#include "bytes.hpp"
#include "toolkit/reading/save_section.hpp"
#include "toolkit/user_error.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string content(reinterpret_cast<const char*>(data), size);
  const std::size_t count = vorin::toolkit::saveSectionCount(content);
  for (std::size_t number = 0; number <= count + 1 && number < 5; ++number) {
    try {
      const vorin::toolkit::SaveSection section =
          vorin::toolkit::readSaveSection(content, "x.log", number);
      // What is announced is there; a size below 0 counts as 0.
      const auto rows = static_cast<std::size_t>(std::max(section.points, 0LL));
      const auto columns = static_cast<std::size_t>(std::max(section.coefficients, 0LL));
      vorin::fuzz::require(number >= 1 && number <= count);
      vorin::fuzz::require(section.distribution.size() == columns);
      vorin::fuzz::require(section.data.size() == rows);
      vorin::fuzz::require(section.compact || section.kernel.size() == rows * columns);
    } catch (const vorin::toolkit::UserError& error) {
      vorin::fuzz::require(std::string_view(error.what()).find("x.log") != std::string_view::npos);
    }
  }
  return 0;
}
