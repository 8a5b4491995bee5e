#include "jobs.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "stop_signals.hpp"
#include "toolkit/reading/numbers.hpp"
#include "toolkit/reading/text.hpp"
#include "toolkit/system/process.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

std::atomic<int> signalReceived = 0;
static_assert(std::atomic<int>::is_always_lock_free);  // as a handler needs it

extern "C" void rememberSignal(int signal) {
  signalReceived = signal;
}

/// The exception of the least job so far.
class FirstFailure {
 public:
  void take(std::size_t job) {
    const std::lock_guard guard(guard_);
    if (!exception_ || job < job_) {
      job_ = job;
      exception_ = std::current_exception();
    }
    any_ = true;
  }
  bool any() const { return any_; }
  void rethrow() const {
    if (exception_) {
      std::rethrow_exception(exception_);
    }
  }

 private:
  std::mutex guard_;
  std::atomic<bool> any_ = false;
  std::size_t job_ = 0;
  std::exception_ptr exception_;
};

}  // namespace

StopOnSignal::StopOnSignal() {
  signalReceived = 0;
  catchStops(&rememberSignal);
}

StopOnSignal::~StopOnSignal() {
  releaseStops(&rememberSignal);
}

int StopOnSignal::received() {
  return signalReceived;
}

void StopOnSignal::passOn() {
  if (const int signal = signalReceived; signal != 0) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
  }
}

std::size_t jobCount(const std::string& text) {
  constexpr long long mostJobs = 1024;
  if (text.empty()) {
    return processorCount();
  }
  const std::optional<long long> count = parseInteger(text);
  if (!count || *count < 1 || *count > mostJobs) {
    throw UserError(fmt::format("--jobs {}: a whole number from 1 to {} is required",
                                inQuotes(text), mostJobs));
  }
  return static_cast<std::size_t>(*count);
}

void runJobs(std::size_t count, std::size_t threads,
             const std::function<void(std::size_t, const PrivateFolder&)>& job) {
  std::atomic<std::size_t> next = 0;
  FirstFailure failure;
  const auto work = [&] {
    std::size_t i = count;
    try {
      const PrivateFolder folder;
      while (StopOnSignal::received() == 0 && !failure.any() && (i = next++) < count) {
        job(i, folder);
      }
    } catch (...) {
      failure.take(i);
    }
  };
  {
    std::vector<std::jthread> others;
    for (std::size_t k = 1; k < std::min(threads, count); ++k) {
      others.emplace_back(work);
    }
    work();
  }
  failure.rethrow();
}

}  // namespace vorin::toolkit
