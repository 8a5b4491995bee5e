// vorin-containers: reads the HDF5 or MATLAB file on its standard input and writes its arrays to
// standard output, as stream.hpp describes. The toolkit runs it for such files alone.
//
// It is a program of its own because the libraries that read these formats are large, hold state
// of the whole process, and trust the sizes in a file: here a damaged or hostile file costs the
// caller neither its memory nor its life, and other copies of these libraries in the caller (a
// Python with h5py) don't meet ours.
//
//   vorin-containers hdf5|matlab [PATH]    PATH is the array or group that is asked for
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "toolkit/reading/containers/arrays_of.hpp"

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

void write(const std::string& bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
    std::_Exit(1);
  }
}

}  // namespace

int main(int count, char** arguments) {
  limitProcess();
  const std::string kind = count > 1 ? arguments[1] : "";
  if (kind != "hdf5" && kind != "matlab") {
    std::fputs("vorin-containers is run by vorin for HDF5 and MATLAB files\n", stderr);
    return 2;
  }
  struct stat status {};
  const std::size_t size = fstat(STDIN_FILENO, &status) == 0 && status.st_size > 0
                               ? static_cast<std::size_t>(status.st_size)
                               : 0;
  containers::Request request;
  request.wanted = count > 2 ? arguments[2] : "";
  request.allowed = containers::numbersAllowed(size);
  request.array = [](const containers::Array& array) { write(containers::encoded(array)); };
  request.listed = [](const containers::Listed& listed) { write(containers::encoded(listed)); };
  write(containers::encodedStart());
  std::fflush(stdout);  // the toolkit takes an empty answer for a program that can't be loaded
  // Behind this the kernel lets no file be opened, whatever links in the one at hand ask for.
  const auto sealed = [] { limit(RLIMIT_NOFILE, 0); };
  std::string error;
  void* const content = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, STDIN_FILENO, 0);
  if (content == MAP_FAILED) {
    error = "the file can't be taken into memory";
  } else if (kind == "hdf5") {
    sealed();
    error = containers::readHdf5(content, size, request);
  } else if (!containers::isWholeMatlab({static_cast<const char*>(content), size})) {
    error = "this MATLAB file is damaged or cut off";
  } else {
    error = containers::readMatlab("/proc/self/fd/0", request, sealed);
  }
  write(error.empty() ? containers::encodedEnd() : containers::encodedError(error));
  std::fflush(stdout);
  std::_Exit(0);  // what the libraries do at exit is not needed
}
