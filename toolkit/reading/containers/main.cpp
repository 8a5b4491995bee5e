// vorin-containers: reads the HDF5 or MATLAB file on its standard input and writes its arrays to
// standard output, as stream.hpp describes. The toolkit runs it for such files alone.
//
// It is a program of its own because the libraries that read these formats are large, hold state
// of the whole process, and trust the sizes in a file: here a damaged or hostile file costs the
// caller neither its memory nor its life, and other copies of these libraries in the caller (a
// Python with h5py) don't meet ours.
//
//   vorin-containers hdf5|matlab [PATH]    PATH is the array or group that is asked for
//
// Volumes of any size and files of maps are asked for as volumes.hpp describes.
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "toolkit/reading/containers/arrays_of.hpp"
#include "toolkit/reading/containers/volumes.hpp"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VORIN_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VORIN_SANITIZED
#endif
#endif

namespace {

namespace containers = vorin::toolkit::containers;

void limit(decltype(RLIMIT_CPU) what, rlim_t most) {
  rlimit limits{};
  if (getrlimit(what, &limits) == 0) {
    limits.rlim_cur = limits.rlim_max < most ? limits.rlim_max : most;
    setrlimit(what, &limits);
  }
}

void limitProcess() {
  constexpr rlim_t seconds = 60;
  limit(RLIMIT_CPU, seconds);
  limit(RLIMIT_CORE, 0);
#ifndef VORIN_SANITIZED  // sanitizers reserve terabytes
  constexpr rlim_t bytes = 3'000'000'000;
  limit(RLIMIT_AS, bytes);
#endif
}

/// Behind this the kernel lets no file be opened, whatever links in the one at hand ask for.
void seal() {
  limit(RLIMIT_NOFILE, 0);
}

std::size_t inputSize() {
  struct stat status {};
  return fstat(STDIN_FILENO, &status) == 0 && status.st_size > 0
             ? static_cast<std::size_t>(status.st_size)
             : 0;
}

void write(const std::string& bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
    std::_Exit(1);
  }
}

[[noreturn]] void end() {
  std::fflush(stdout);
  std::_Exit(0);  // what the libraries do at exit is not needed
}

/// A whole number of `text`, or -1.
long long numberIn(const char* text) {
  char* stop = nullptr;
  const long long number = std::strtoll(text, &stop, 10);
  return stop != text && *stop == '\0' ? number : -1;
}

/// The extents "4,16,16".
std::vector<std::uint64_t> extentsIn(const std::string& text) {
  std::vector<std::uint64_t> extents;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t stop = std::min(text.find(',', start), text.size());
    extents.push_back(
        static_cast<std::uint64_t>(numberIn(text.substr(start, stop - start).c_str())));
    start = stop + 1;
  }
  return extents;
}

/// describe, boxes and maps. False for other words.
bool doVolume(int count, char** arguments) {
  const std::string what = count > 1 ? arguments[1] : "";
  if (what == "maps" && count == 3) {
    const std::string error = containers::writeMaps(arguments[2]);
    write(error.empty() ? "{}" : "{\"error\": \"" + error + "\"}");
    return true;
  }
  if ((what != "describe" || count != 4) && (what != "boxes" || count != 7)) {
    return false;
  }
  // A volume takes as long as its size asks for: a second for each megabyte is plenty, packed or
  // not.
  constexpr rlim_t least = 60;
  limit(RLIMIT_CPU, least + inputSize() / 1'000'000);
  containers::VolumeQuery query;
  query.path = arguments[2];
  query.hasAxis = std::string(arguments[3]) != "-";
  query.axis = query.hasAxis ? std::strtol(arguments[3], nullptr, 10) : 0;
  if (what == "describe") {
    write(containers::describeVolume(query, seal));
    return true;
  }
  const long long first = numberIn(arguments[5]);
  const long long last = numberIn(arguments[6]);
  // An answer that ends early tells that something is wrong.
  containers::writeBoxes(query, extentsIn(arguments[4]), static_cast<std::uint64_t>(first),
                         static_cast<std::uint64_t>(last), seal);
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  limitProcess();
  if (doVolume(count, arguments)) {
    end();
  }
  const std::string kind = count > 1 ? arguments[1] : "";
  if (kind != "hdf5" && kind != "matlab") {
    std::fputs("vorin-containers is run by vorin for HDF5 and MATLAB files\n", stderr);
    return 2;
  }
  const std::size_t size = inputSize();
  containers::Request request;
  request.wanted = count > 2 ? arguments[2] : "";
  request.allowed = containers::numbersAllowed(size);
  request.array = [](const containers::Array& array) { write(containers::encoded(array)); };
  request.listed = [](const containers::Listed& listed) { write(containers::encoded(listed)); };
  write(containers::encodedStart());
  std::fflush(stdout);  // the toolkit takes an empty answer for a program that can't be loaded
  std::string error;
  void* const content = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, STDIN_FILENO, 0);
  if (content == MAP_FAILED) {
    error = "the file can't be taken into memory";
  } else if (kind == "hdf5") {
    seal();
    error = containers::readHdf5(content, size, request);
  } else if (!containers::isWholeMatlab({static_cast<const char*>(content), size})) {
    error = "this MATLAB file is damaged or cut off";
  } else {
    error = containers::readMatlab("/proc/self/fd/0", request, seal);
  }
  write(error.empty() ? containers::encodedEnd() : containers::encodedError(error));
  end();
}
