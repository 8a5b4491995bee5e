// Jobs on several threads, ended early by a signal: what a batch of decays runs on.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "toolkit/reading/files.hpp"

namespace vorin::toolkit {

/// While it lives, SIGINT (Ctrl-C), SIGTERM and SIGHUP ask a batch to stop, in place of ending
/// the process; a second one ends it.
class StopOnSignal {
 public:
  StopOnSignal();
  StopOnSignal(const StopOnSignal&) = delete;
  StopOnSignal& operator=(const StopOnSignal&) = delete;
  ~StopOnSignal();

  /// The signal that asked, or 0.
  static int received();

  /// Ends the process as the signal would have, if there was one.
  static void passOn();
};

/// The count of threads that `text` asks for, one for each processor where it is empty. Throws
/// UserError, which names --jobs.
std::size_t jobCount(const std::string& text);

/// Calls job(i, folder) for i from 0 to count - 1, begun in that order, on `threads` threads, each
/// of which has a folder of its own. A signal (StopOnSignal) or an exception lets no further job
/// begin; that of the least i is thrown again when those under way have ended.
void runJobs(std::size_t count, std::size_t threads,
             const std::function<void(std::size_t, const PrivateFolder&)>& job);

}  // namespace vorin::toolkit
