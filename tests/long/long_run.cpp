// A host that inverts all day: COUNT inversions (first argument) over changing shapes, entries
// and settings in one process. Every answer must be the first one's bit for bit, and neither
// the resident memory nor the open files may grow once each case has been met. Prints its
// figures, and what is wrong, with exit status 1.
//
//   long_run COUNT [--no-memory]   the flag leaves the memory out, for a run under valgrind
#include <unistd.h>
#include <vorin.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "support/problems.hpp"
#include "support/store.hpp"

namespace {

using vorin::test::area;
using vorin::test::loadSettings;
using vorin::test::setNumber;
using vorin::test::setText;

/// What a call answered, as bytes.
using Answer = std::vector<unsigned char>;

template <class Value>
void add(Answer& answer, const std::vector<Value>& values) {
  const std::size_t at = answer.size();
  answer.resize(at + values.size() * sizeof(Value));
  if (!values.empty()) {
    std::memcpy(answer.data() + at, values.data(), values.size() * sizeof(Value));
  }
}

using Entry = decltype(&Voriny_s);

struct Case {
  Entry entry;
  int m;
  int n;
  std::vector<std::pair<const char*, float>> numbers;
  std::vector<std::pair<const char*, const char*>> texts;
};

const std::vector<Case>& cases() {
  static const std::vector<Case> all = {
      {Voriny_s, 300, 40, {}, {}},
      {Voriny_s, 120, 25, {{"REPO", 4}, {"SAVE", 1}}, {{"PRMO", "NONE"}}},
      {VorinyC5_s, 250, 30, {{"SVDN", 12}, {"SVDT", 1e-5F}}, {}},
      {VorinyC5_s, 90, 14, {{"L2MO", 1}, {"L2NS", 4}, {"REPO", 4}}, {{"PRMO", "LIN"}}},
      {VorinyC_s, 80, 20, {{"SVDN", 9}, {"SVDT", 1e-4F}}, {{"PRMO", "NONE"}}},
      {VorinyC2_s, 140, 18, {{"PRPO", 60}}, {{"NALG", "D3"}}},
      {VorinyC3_s, 200, 22, {{"SVDN", 8}, {"SVDT", 1e-4F}}, {{"NALG", "D2"}}},
      {VorinyC4_s, 170, 33, {{"SVDN", 10}, {"SVDT", 1e-5F}}, {{"PRMO", "LILO"}}},
      {Voriny_s, 60, 12, {}, {{"TARG", "2"}}},
      {Voriny_s, 100, 20, {{"BRDA", 1}, {"SIG", 0.01F}}, {{"NALG", "FIT"}}},
      {Voriny_s, 64, 16, {{"BRDA", 3}, {"WEIG", 0.3F}}, {{"TARG", "WEIG"}}},
      {Voriny_s, 150, 24, {}, {{"NALG", "REG"}}},
      {Voriny_s, 110, 15, {}, {{"NALG", "ASYM"}}},
      {Voriny_s, 1, 1, {}, {{"PRMO", "NONE"}}},
      {Voriny_s, 0, 7, {}, {}},
  };
  return all;
}

constexpr const char* resultKeys[] = {"CSTA", "CWEI", "CWIT", "CITE", "CSIG", "CSI2", "DSE", "CSE"};

Answer invert(const Case& test, std::uint64_t seed) {
  loadSettings();
  // Not every entry writes each of them, and what one left the next would answer.
  for (const char* key : resultKeys) {
    setNumber(key, 99.0F);
  }
  for (const auto& [key, value] : test.numbers) {
    setNumber(key, value);
  }
  for (const auto& [key, value] : test.texts) {
    setText(key, value);
  }
  const auto problem = vorin::test::laplaceProblem<float>(test.m, test.n, 0.01, seed);
  const auto rows = static_cast<std::size_t>(test.m);
  const auto columns = static_cast<std::size_t>(test.n);
  std::vector<float> T(rows), W(rows), G(columns), F(columns), FIT(rows);
  for (std::size_t i = 0; i < rows; ++i) {
    T[i] = static_cast<float>(i + 1);
  }
  std::int32_t status = -1;
  test.entry(test.m, test.n, &test.m, &test.n, problem.K.data(), T.data(), problem.d.data(),
             W.data(), G.data(), F.data(), FIT.data(), &status);
  Answer answer;
  add(answer, std::vector<std::int32_t>{status});
  for (const std::vector<float>* part : {&W, &F, &FIT}) {
    add(answer, *part);
  }
  for (const char* key : resultKeys) {
    add(answer, std::vector<float>{vorin::test::getNumber(key)});
  }
  return answer;
}

std::int64_t residentKilobytes() {
  std::ifstream file("/proc/self/statm");
  std::int64_t whole = 0;
  std::int64_t resident = 0;
  file >> whole >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

std::int64_t openFiles() {
  std::int64_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

// Three decays a case, so that a shape meets other data before it comes again.
constexpr std::uint64_t decays = 3;
// What the allocator may hold more at the end than once everything has been met.
constexpr std::int64_t allowedGrowth = 2048;

}  // namespace

int main(int argc, char** argv) {
  const std::int64_t wanted = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
  const bool looksAtMemory = argc < 3 || std::string(argv[2]) != "--no-memory";
  if (wanted < 1) {
    std::fputs("usage: long_run COUNT [--no-memory]\n", stderr);
    return 2;
  }
  std::vector<Answer> first;
  std::int64_t done = 0;
  std::int64_t different = 0;
  std::int64_t memoryAtStart = 0;
  std::int64_t filesAtStart = 0;
  while (done < wanted) {
    std::size_t which = 0;
    for (std::uint64_t seed = 1; seed <= decays; ++seed) {
      for (const Case& test : cases()) {
        Answer answer = invert(test, seed);
        ++done;
        if (which == first.size()) {
          first.push_back(std::move(answer));
        } else {
          different += answer != first[which] ? 1 : 0;
        }
        ++which;
      }
    }
    if (memoryAtStart == 0 && done >= 10 * static_cast<long>(first.size())) {
      memoryAtStart = residentKilobytes();
      filesAtStart = openFiles();
    }
  }
  const std::int64_t growth = memoryAtStart == 0 ? 0 : residentKilobytes() - memoryAtStart;
  const std::int64_t moreFiles = memoryAtStart == 0 ? 0 : openFiles() - filesAtStart;
  std::printf(
      "%ld inversions, %zu different ones: %ld answers differ from the first,"
      " resident memory %ld kB after ten rounds and %+ld kB since, open files %+ld\n",
      done, first.size(), different, memoryAtStart, growth, moreFiles);
  const bool memoryIsFlat = !looksAtMemory || growth <= allowedGrowth;
  return different == 0 && memoryIsFlat && moreFiles == 0 ? 0 : 1;
}
