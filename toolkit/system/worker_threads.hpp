// Threads that share the work of one call. std::jthread would do, but not every standard library
// that we build with has it.
#pragma once

#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vorin::toolkit {

/// Joins its threads at its end.
class WorkerThreads {
 public:
  WorkerThreads() = default;
  WorkerThreads(const WorkerThreads&) = delete;
  WorkerThreads& operator=(const WorkerThreads&) = delete;
  ~WorkerThreads() { wait(); }

  /// Runs `work`, which throws nothing, on a thread of its own. False where the system gives no
  /// thread; it may have none at all, as a page of a browser.
  template <class Work>
  bool start(Work work) {
    try {
      threads_.emplace_back(std::move(work));
      return true;
    } catch (const std::system_error&) {
      return false;
    }
  }

  void wait() {
    for (std::thread& thread : threads_) {
      thread.join();
    }
    threads_.clear();
  }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace vorin::toolkit
