#include <algorithm>

#include "toolkit/reading/containers/arrays_of.hpp"

namespace vorin::toolkit::containers {

namespace {

/// With one kind of separator and without one at the start, as users and both formats write paths.
std::string plain(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  std::string text(name);
  std::replace(text.begin(), text.end(), '.', '/');
  return text;
}

}  // namespace

bool Request::wants(const std::string& name) const {
  if (wanted.empty()) {
    return true;
  }
  const std::string asked = plain(wanted);
  const std::string here = plain(name);
  const std::string group = asked.substr(0, asked.rfind('/') + 1);  // npos + 1 is 0: the top
  return here.starts_with(asked) || asked.starts_with(here + "/") ||
         (here.starts_with(group) && here.find('/', group.size()) == std::string::npos);
}

bool Request::takeRoom(std::uint64_t count) {
  if (count > allowed) {
    return false;
  }
  allowed -= count;
  return true;
}

std::string extentsText(const std::vector<std::uint64_t>& shape) {
  std::string text;
  for (const std::uint64_t extent : shape) {
    text += (text.empty() ? "" : " x ") + std::to_string(extent);
  }
  return text + " numbers";
}

}  // namespace vorin::toolkit::containers
