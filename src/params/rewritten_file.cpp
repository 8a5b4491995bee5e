// Several file systems (ext4, XFS, Btrfs) take a file that is cut to nothing, written and closed
// for one that replaces another, and write it through at the close: 0.1 ms of processor time and
// several of waiting, where the rest of a call takes a hundredth. A file cut to one byte is not
// taken so, and differs from an empty one only until its first write.
#include "params/rewritten_file.hpp"

#if defined(__linux__)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include "toolbox/file_name.hpp"
#endif

namespace vorin::params {

#if defined(__linux__)

namespace {

/// False where a regular file can't be cut. Devices and pipes hold nothing.
bool cutToOneByte(int file) {
  struct stat state {};
  if (fstat(file, &state) != 0) {
    return false;
  }
  return !S_ISREG(state.st_mode) || state.st_size <= 1 || ftruncate(file, 1) == 0;
}

/// After a failed write, or none, the byte that was left is still there. More than that is of
/// another writer.
void cutWhereNothingWasWritten(std::FILE* file) {
  std::fflush(file);
  const int number = fileno(file);
  struct stat state {};
  const bool hasByte = lseek(number, 0, SEEK_CUR) == 0 && fstat(number, &state) == 0 &&
                       S_ISREG(state.st_mode) && state.st_size == 1;
  if (hasByte && ftruncate(number, 0) != 0) {
    return;  // a failure of the log is nobody's
  }
}

}  // namespace

File openRewritten(const std::string& name) {
  constexpr mode_t asUmaskAllows = 0666;
  // Without O_NONBLOCK the call would wait for a reader of a pipe, perhaps for ever.
  const int number = open(name.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK, asUmaskAllows);
  if (number < 0) {
    return {};
  }
  fcntl(number, F_SETFL, 0);
  std::FILE* const file = cutToOneByte(number) ? fdopen(number, "w") : nullptr;
  if (file == nullptr) {
    close(number);
  }
  return {file, CloseFile{true}};
}

void CloseFile::operator()(std::FILE* file) const {
  if (rewritten) {
    cutWhereNothingWasWritten(file);
  }
  std::fclose(file);
}

#else

File openRewritten(const std::string& name) {
  return {openFile(name, "w"), CloseFile{true}};
}

void CloseFile::operator()(std::FILE* file) const {
  std::fclose(file);
}

#endif

}  // namespace vorin::params
