// Gives the inputs that fuzzing has kept to their target once more, without a fuzzer, so that any
// compiler's build does: replay TARGET FOLDER. Ends with 1 where there is no such target or input.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" {
#define VORIN_TARGET(name) int vorin_##name##_fuzz(const std::uint8_t* data, std::size_t size);
VORIN_FUZZ_TARGETS
#undef VORIN_TARGET
}

namespace {

struct Target {
  const char* name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};

constexpr Target targets[] = {
#define VORIN_TARGET(name) {#name, vorin_##name##_fuzz},
    VORIN_FUZZ_TARGETS
#undef VORIN_TARGET
};

/// What is in a file, in memory of just its size.
std::vector<std::uint8_t> contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::vector<std::uint8_t> content;
  content.reserve(std::filesystem::file_size(file));
  std::transform(std::istreambuf_iterator<char>(stream), {}, std::back_inserter(content),
                 [](char c) { return static_cast<std::uint8_t>(c); });
  return content;
}

}  // namespace

int main(int count, char** arguments) {
  const Target* const target = std::find_if(
      std::begin(targets), std::end(targets),
      [&](const Target& one) { return count == 3 && std::strcmp(arguments[1], one.name) == 0; });
  if (target == std::end(targets)) {
    std::fputs("usage: replay TARGET FOLDER\n", stderr);
    return 1;
  }
  // Targets change the working folder.
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[2])) {
    files.push_back(std::filesystem::absolute(entry.path()));
  }
  std::sort(files.begin(), files.end());
  for (const std::filesystem::path& file : files) {
    const std::vector<std::uint8_t> content = contentOf(file);
    std::fprintf(stderr, "%s: %zu bytes\n", file.filename().c_str(), content.size());
    target->run(content.data(), content.size());
  }
  return files.empty() ? 1 : 0;
}
