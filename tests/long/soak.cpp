// A program that inverts through the toolkit for days: COUNT jobs (first argument) over threads,
// shapes, paths and failing inputs in one process, and inversions by the exports beside them.
// Every answer, statuses and sentences of refusals among it, must be the first one of its case bit
// for bit, and neither memory, mappings, open files nor threads may grow once each case has been
// met. Prints its figures, and ends with 1 where something is wrong.
//
//   soak COUNT [--threads N] [--seconds S] [--no-memory]
//
// --seconds begins no job after that time; --no-memory leaves the memory out, for sanitizers.
#include <unistd.h>
#include <vorin.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "support/problems.hpp"
#include "toolkit/vorin_toolkit.h"

namespace {

namespace fs = std::filesystem;

/// FNV-1a over all bytes of an answer.
class Digest {
 public:
  void add(const void* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      value_ = (value_ ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001b3U;
    }
  }
  std::uint64_t value() const { return value_ == 0 ? 1 : value_; }

 private:
  std::uint64_t value_ = 0xcbf29ce484222325U;
};

using Words = std::vector<std::pair<const char*, const char*>>;

/// Settings with which a decay is inverted.
struct Path {
  const char* kernel;
  Words settings;
};

const std::vector<Path>& paths() {
  static const std::vector<Path> all = {
      {"t2", {{"noise", "0.01"}}},
      {"t2", {{"weight", "0.02"}, {"compress", "6"}}},
      {"t2", {{"weight", "corner"}}},
      {"t2", {}},
      {"t2", {{"prune", "none"}, {"noise", "0.02"}}},
      {"t2", {{"prune", "linear"}, {"prune_points", "10"}, {"noise", "0.02"}}},
      {"t2", {{"method", "classic"}, {"noise", "0.01"}}},
      {"t2", {{"method", "classic"}, {"noise", "scan"}}},
      {"t2", {{"baseline", "fit"}, {"noise", "0.01"}}},
      {"t2", {{"reject_outliers", "on"}, {"noise", "0.01"}}},
      {"t2", {{"noise", "0.01"}, {"key.BRDA", "1"}}},
      {"t2", {{"weight", "0.1"}, {"key.BRDA", "3"}}},
      {"t2-epg", {{"flip", "150"}, {"noise", "0.01"}}},
      {"t1-inversion", {{"noise", "0.01"}}},
      {"t1-saturation", {{"noise", "0.01"}}},
      // Refused, or without success.
      {"t2", {{"noise", "1e6"}}},
      {"t2", {{"noise", "1e-12"}}},
      {"t2", {{"skip", "1000"}}},
      {"t2", {{"noise", "0.01"}, {"key.MAXI", "1"}}},
      {"none", {}},
      {"t2", {{"compress", "x"}}},
  };
  return all;
}

constexpr int shapes[][2] = {{2, 5}, {6, 12}, {12, 8}, {20, 16}, {33, 10}, {48, 24}};
constexpr std::size_t shapeCount = sizeof shapes / sizeof shapes[0];
constexpr std::size_t decayCount = 3;
// What a decay is besides a decay.
enum Spoil { none, notANumber, falling, zeros, complexData, spoilCount };

std::size_t caseCount() {
  return paths().size() * shapeCount * decayCount * spoilCount;
}

struct Decay {
  std::vector<double> t;
  std::vector<double> y;
  std::vector<double> imaginary;
};

Decay decayOf(int samples, std::size_t which, Spoil spoil, bool rises) {
  vorin::test::Normal normal(1000 * which + static_cast<std::size_t>(samples));
  Decay decay;
  for (int i = 0; i < samples; ++i) {
    const double t = 0.1 / samples * (i + 1);
    const double exact =
        0.3 * std::exp(-t / 4e-3) + 0.7 * std::exp(-t / (0.02 + 0.01 * static_cast<double>(which)));
    decay.t.push_back(t);
    decay.y.push_back((rises ? 1.0 - 2.0 * exact : exact) + 0.01 * normal());
    decay.imaginary.push_back(0.3 * exact + 0.01 * normal());
  }
  if (spoil == notANumber) {
    decay.y.back() = NAN;
  } else if (spoil == falling) {
    std::swap(decay.t.front(), decay.t.back());
  } else if (spoil == zeros) {
    decay.y.assign(decay.y.size(), 0.0);
  }
  return decay;
}

void addResult(Digest& digest, const vorin_result* result) {
  const char* name = nullptr;
  std::int32_t kind = 0;
  std::int64_t count = 0;
  for (std::int64_t i = 0; vorin_result_field(result, i, &name, &kind, &count, nullptr, 0) == 0;
       ++i) {
    double number = 0.0;
    const double* values = nullptr;
    const char* text = nullptr;
    if (kind == VORIN_TOOLKIT_NUMBER &&
        vorin_result_number(result, name, &number, nullptr, 0) == 0) {
      digest.add(&number, sizeof number);
    } else if (kind == VORIN_TOOLKIT_ARRAY &&
               vorin_result_array(result, name, &values, &count, nullptr, 0) == 0) {
      digest.add(values, static_cast<std::size_t>(count) * sizeof *values);
    } else if (kind == VORIN_TOOLKIT_TEXT &&
               vorin_result_text(result, name, &text, nullptr, 0) == 0) {
      digest.add(text, std::strlen(text));
    }
  }
}

/// One job from its settings to its freed results.
std::uint64_t answerOf(std::size_t number, bool& succeeded) {
  const Path& path = paths()[number % paths().size()];
  number /= paths().size();
  const auto& shape = shapes[number % shapeCount];
  number /= shapeCount;
  const std::size_t which = number % decayCount;
  const auto spoil = static_cast<Spoil>(number / decayCount);
  const bool rises = std::string_view(path.kernel) == "t1-inversion";
  const Decay decay = decayOf(shape[0], which, spoil, rises);
  std::string message(VORIN_TOOLKIT_MESSAGE_SIZE, '\0');
  const auto size = static_cast<std::int64_t>(message.size());
  Digest digest;
  const auto add = [&](std::int32_t status) {
    digest.add(&status, sizeof status);
    digest.add(message.data(), std::strlen(message.data()));
    return status == VORIN_TOOLKIT_OK;
  };
  vorin_settings* settings = nullptr;
  add(vorin_settings_create(&settings, message.data(), size));
  const std::string grid = "1ms:0.2s:" + std::to_string(shape[1]);
  add(vorin_settings_set_text(settings, "grid", grid.c_str(), message.data(), size));
  add(vorin_settings_set_text(settings, "kernel", path.kernel, message.data(), size));
  for (const auto& [name, value] : path.settings) {
    add(vorin_settings_set_text(settings, name, value, message.data(), size));
  }
  vorin_result* result = nullptr;
  succeeded = add(vorin_invert(settings, decay.t.data(), decay.y.data(),
                               spoil == complexData ? decay.imaginary.data() : nullptr, shape[0],
                               &result, message.data(), size));
  if (succeeded) {
    addResult(digest, result);
    double success = 0.0;
    vorin_result_number(result, "success", &success, nullptr, 0);
    succeeded = success > 0.0;
  }
  vorin_settings_free(settings);
  vorin_result_free(result);
  return digest.value();
}

/// Inversions by the exports, which one thread at a time may call.
class Exports {
 public:
  /// False where an answer is not the first one.
  bool invertOnce() {
    const std::size_t which = next_++ % first_.size();
    const int m = shapes[which % shapeCount][0];
    const int n = shapes[which % shapeCount][1];
    const auto problem = vorin::test::laplaceProblem<float>(m, n, 0.01, which + 1);
    std::vector<float> F(static_cast<std::size_t>(n));
    std::int32_t status = -1;
    (which % 2 == 0 ? Vorin_s : VorinC5_s)(m, n, problem.K.data(), problem.d.data(), F.data(),
                                           &status);
    Digest digest;
    digest.add(&status, sizeof status);
    digest.add(F.data(), F.size() * sizeof(float));
    if (first_[which] == 0) {
      first_[which] = digest.value();
    }
    return first_[which] == digest.value();
  }

 private:
  std::vector<std::uint64_t> first_ = std::vector<std::uint64_t>(2 * shapeCount);
  std::size_t next_ = 0;
};

using Clock = std::chrono::steady_clock;

struct Footprint {
  long kilobytes = 0;
  long mappings = 0;
  long files = 0;
  long threads = 0;

  static Footprint now() {
    Footprint found;
    std::ifstream statm("/proc/self/statm");
    long whole = 0;
    statm >> whole >> found.kilobytes;
    found.kilobytes *= sysconf(_SC_PAGESIZE) / 1024;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
      ++found.mappings;
    }
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) {
      ++found.files;
    }
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/task")) {
      ++found.threads;
    }
    return found;
  }
};

/// What all threads share.
struct Soak {
  explicit Soak(Clock::time_point at) : end(at), first(caseCount()) {}

  Clock::time_point end;  ///< no job is begun after it
  std::vector<std::atomic<std::uint64_t>> first;
  std::atomic<std::size_t> done = 0;
  std::atomic<std::size_t> next = 0;
  std::atomic<std::size_t> successes = 0;
  std::atomic<std::size_t> different = 0;

  void work(std::size_t until) {
    for (std::size_t job = next++; job < until && Clock::now() < end; job = next++) {
      // Every case once, in order, then by a multiplicative hash in an order that mixes them.
      const std::size_t cases = first.size();
      const std::size_t number = job < cases ? job : (job * 0x9e3779b97f4a7c15U >> 32U) % cases;
      bool succeeded = false;
      const std::uint64_t answer = answerOf(number, succeeded);
      std::uint64_t before = 0;
      if (!first[number].compare_exchange_strong(before, answer) && before != answer) {
        ++different;
      }
      successes += succeeded ? 1U : 0U;
      ++done;
    }
  }

  /// All jobs up to `until`, on `threads` threads; the exports' inversions on the last.
  void run(std::size_t until, int threads, Exports& exports) {
    std::vector<std::jthread> others;
    for (int i = 0; i < threads; ++i) {
      others.emplace_back([this, until] { work(until); });
    }
    while (next < until && Clock::now() < end) {
      different += exports.invertOnce() ? 0U : 1U;
      ++exported;
      std::this_thread::yield();
    }
    others.clear();
    next = until;
  }

  std::size_t exported = 0;
};

}  // namespace

int main(int count, char** arguments) {
  const long wanted = count > 1 ? std::strtol(arguments[1], nullptr, 10) : 0;
  int threads = 4;
  Clock::time_point end = Clock::time_point::max();
  bool looksAtMemory = true;
  for (int i = 2; i < count; ++i) {
    if (std::strcmp(arguments[i], "--no-memory") == 0) {
      looksAtMemory = false;
    } else if (std::strcmp(arguments[i], "--threads") == 0 && i + 1 < count) {
      threads = static_cast<int>(std::strtol(arguments[++i], nullptr, 10));
    } else if (std::strcmp(arguments[i], "--seconds") == 0 && i + 1 < count) {
      end = Clock::now() + std::chrono::seconds(std::strtol(arguments[++i], nullptr, 10));
    }
  }
  if (wanted < 1 || threads < 1) {
    std::fputs("usage: soak COUNT [--threads N] [--seconds S] [--no-memory]\n", stderr);
    return 2;
  }
  float nothing = 0.0F;
  std::int32_t ignored = 0;
  VorinSQR("S", "REPO", &nothing, &ignored);
  const auto all = static_cast<std::size_t>(wanted);
  Soak soak(end);
  Exports exports;
  // The first part meets each case; the allocator has what it needs by then.
  const std::size_t warm = std::min(all, std::max(2 * soak.first.size(), all / 10));
  soak.run(warm, threads, exports);
  const std::size_t warmed = soak.done;
  const Footprint start = Footprint::now();
  soak.run(all, threads, exports);
  const Footprint after = Footprint::now();
  std::printf(
      "%zu jobs of %zu cases on %d threads, %zu with success, and %zu inversions by the exports:\n"
      "%zu answers differ from the first; resident memory %ld kB after %zu jobs and %+ld kB since,"
      " mappings %+ld, open files %+ld, threads %+ld\n",
      soak.done.load(), soak.first.size(), threads, soak.successes.load(), soak.exported,
      soak.different.load(), start.kilobytes, warmed, after.kilobytes - start.kilobytes,
      after.mappings - start.mappings, after.files - start.files, after.threads - start.threads);
  // Each thread has an arena of the allocator's, which may hold a little more at one moment.
  const long allowedGrowth = 2048 + 512L * threads;
  const long allowedMappings = 8 + 2L * threads;
  const bool isFlat = !looksAtMemory || (after.kilobytes - start.kilobytes <= allowedGrowth &&
                                         after.mappings - start.mappings <= allowedMappings);
  return soak.different == 0 && soak.successes > 0 && isFlat && after.files == start.files &&
                 after.threads == start.threads
             ? 0
             : 1;
}
