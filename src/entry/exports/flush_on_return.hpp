// Log lines of an export that runs outside an inversion.
#pragma once

#include "params/log.hpp"

namespace vorin::entry {

/// The compressed drivers may leave the log open, and an export that is called afterwards may
/// write lines to it. This guard brings them to the file when the export returns.
struct FlushOnReturn {
  FlushOnReturn() = default;
  ~FlushOnReturn() { params::flushLog(); }
  FlushOnReturn(const FlushOnReturn&) = delete;
  FlushOnReturn& operator=(const FlushOnReturn&) = delete;
};

}  // namespace vorin::entry
