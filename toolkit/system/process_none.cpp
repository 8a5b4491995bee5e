// Processes where there are none but this: a page of a browser. No program is found, and none runs.
#include "toolkit/system/process.hpp"

namespace vorin::toolkit {

std::int64_t processId() {
  return 1;
}

bool processExists(std::int64_t /*id*/) {
  return true;
}

std::size_t processorCount() {
  return 1;
}

std::string runProgram(const std::filesystem::path& /*program*/,
                       const std::vector<std::string>& /*arguments*/,
                       const std::filesystem::path& /*folder*/, const std::string& /*log*/) {
  return "no program runs here";
}

}  // namespace vorin::toolkit
