// What a user gave that a program cannot work with. The message is one sentence
// that names the place (file and line, or option) and what would be right; the
// programs print it and end with ExitStatus::badInput.
#pragma once

#include <stdexcept>
#include <string>

namespace vorin::toolkit {

/// Exit statuses of the programs.
enum class ExitStatus {
  success = 0,
  unsuccessfulInversion = 1,  ///< outputs are written all the same
  badInput = 2                ///< nothing is written
};

class UserError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Thrown through a job by a progress function that ends it.
class Cancelled : public std::runtime_error {
 public:
  Cancelled() : std::runtime_error("the job was cancelled") {}
};

}  // namespace vorin::toolkit
