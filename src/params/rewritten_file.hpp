// A file that is written anew from its start, as cheaply as the file system allows.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace vorin::params {

/// Closes a file. One that openRewritten() opened ends where it was written last, at nothing
/// where nothing reached it.
struct CloseFile {
  bool rewritten = false;
  void operator()(std::FILE* file) const;
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// The file `name` for writing from its start, created where it is missing; null where that
/// fails. What it held is gone at once, but for one byte that the first write replaces.
File openRewritten(const std::string& name);

}  // namespace vorin::params
