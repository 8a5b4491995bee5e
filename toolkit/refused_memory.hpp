// Memory that the system refuses, told with what it was for.
#pragma once

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

/// The memory for what the message names is refused. Programs treat it as any other input that
/// they can't work with.
class RefusedMemory : public UserError {
 public:
  using UserError::UserError;
};

}  // namespace vorin::toolkit
