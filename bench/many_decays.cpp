// Many decays through the C header of the toolkit: on 1, 2 and 8 threads, which must give equal
// bits, and in processes. Prints the time and the processor time of each run.
//
//   many_decays [DECAYS]   10000 unless given, of 56 samples on 60 grid times
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "toolkit/vorin_toolkit.h"

namespace {

constexpr int sampleCount = 56;
constexpr double noise = 0.01;
constexpr const char* grid = "1ms:1s:60";

void require(int32_t status, const char* message) {
  if (status != VORIN_TOOLKIT_OK) {
    throw std::runtime_error(message);
  }
}

struct Decays {
  std::vector<double> t;
  std::vector<std::vector<double>> y;
};

Decays madeDecays(std::size_t count) {
  Decays made;
  for (int i = 0; i < sampleCount; ++i) {
    made.t.push_back(2e-3 * (i + 1));
  }
  std::mt19937_64 engine(7);
  std::normal_distribution<double> draw(0.0, noise);
  for (std::size_t k = 0; k < count; ++k) {
    std::vector<double> y;
    for (const double t : made.t) {
      const double slow = 0.02 + 0.03 * static_cast<double>(k) / static_cast<double>(count);
      y.push_back(0.4 * std::exp(-t / 0.005) + 0.6 * std::exp(-t / slow) + draw(engine));
    }
    made.y.push_back(std::move(y));
  }
  return made;
}

/// Settings that all threads share; so they compute one kernel matrix.
class Settings {
 public:
  Settings() {
    char message[VORIN_TOOLKIT_MESSAGE_SIZE];
    require(vorin_settings_create(&handle_, message, sizeof message), message);
    require(vorin_settings_set_text(handle_, "grid", grid, message, sizeof message), message);
    require(vorin_settings_set_number(handle_, "noise", noise, message, sizeof message), message);
  }
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;
  ~Settings() { vorin_settings_free(handle_); }

  /// The distribution of one decay.
  std::vector<double> invert(const std::vector<double>& t, const std::vector<double>& y) const {
    char message[VORIN_TOOLKIT_MESSAGE_SIZE];
    vorin_result* result = nullptr;
    require(vorin_invert(handle_, t.data(), y.data(), nullptr, sampleCount, &result, message,
                         sizeof message),
            message);
    const double* values = nullptr;
    int64_t count = 0;
    require(vorin_result_array(result, "distribution", &values, &count, message, sizeof message),
            message);
    std::vector<double> copy(values, values + count);
    vorin_result_free(result);
    return copy;
  }

 private:
  vorin_settings* handle_ = nullptr;
};

using Found = std::vector<std::vector<double>>;

Found onThreads(const Decays& decays, unsigned threads) {
  const Settings settings;
  Found found(decays.y.size());
  std::atomic<std::size_t> next = 0;
  const auto work = [&] {
    for (std::size_t k = next++; k < found.size(); k = next++) {
      found[k] = settings.invert(decays.t, decays.y[k]);
    }
  };
  std::vector<std::jthread> others;
  for (unsigned i = 1; i < threads; ++i) {
    others.emplace_back(work);
  }
  work();
  return found;
}

void inProcesses(const Decays& decays, unsigned processes) {
  std::vector<pid_t> children;
  for (unsigned p = 0; p < processes; ++p) {
    const pid_t child = fork();
    if (child == 0) {
      const Settings settings;
      for (std::size_t k = p; k < decays.y.size(); k += processes) {
        (void)settings.invert(decays.t, decays.y[k]);
      }
      _exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) < 0 || status != 0) {
      throw std::runtime_error("a process failed");
    }
  }
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

/// Processor time of this process and its children that have ended.
double processorTime() {
  double sum = 0.0;
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    getrusage(who, &usage);
    sum += seconds(usage.ru_utime) + seconds(usage.ru_stime);
  }
  return sum;
}

template <class Run>
void timed(const char* what, unsigned count, std::size_t decays, const Run& run) {
  const auto start = std::chrono::steady_clock::now();
  const double before = processorTime();
  const char* const verdict = run();
  const double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double each = 1e3 * (processorTime() - before) / static_cast<double>(decays);
  std::printf("%u %-10s %7.2f s  %7.0f decays a second  %6.3f ms of processor time each  %s\n",
              count, what, wall, static_cast<double>(decays) / wall, each, verdict);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10000;
    const Decays decays = madeDecays(count);
    Found alone;
    bool same = true;
    timed("thread", 1, count, [&] {
      alone = onThreads(decays, 1);
      return "";
    });
    for (const unsigned threads : {2U, 8U}) {
      timed("threads", threads, count, [&] {
        const bool equal = onThreads(decays, threads) == alone;
        same = same && equal;
        return equal ? "the same bits" : "OTHER BITS";
      });
    }
    for (const unsigned processes : {1U, 2U, 8U}) {
      timed("processes", processes, count, [&] {
        inProcesses(decays, processes);
        return "";
      });
    }
    return same ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "many_decays: %s\n", error.what());
    return 2;
  }
}
