// The state of the numerical library that one job of the toolkit works on.
#pragma once

#include <string>
#include <utility>

#include "toolbox/instance.hpp"

namespace vorin::toolkit {

/// While it lives, this thread's calls of the numerical library (its keys, its log, its kept
/// arrays) work on an instance of their own, which begins with the values after loading. Jobs on
/// different threads are thereby independent, and one job leaves nothing to the next. Jobs nest.
class LibraryJob {
 public:
  /// The log goes to the file `logFile`; an empty name leaves no log.
  explicit LibraryJob(std::string logFile = "") : scope_(instance_) {
    instance_.logFile = std::move(logFile);
  }

 private:
  Instance instance_;
  InstanceScope scope_;
};

}  // namespace vorin::toolkit
