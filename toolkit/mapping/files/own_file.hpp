// Files by descriptor: those that are read in parts at any place, and those without a name that
// vanish with the process, whatever ends it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace vorin::toolkit {

/// A descriptor that is closed at the end, and the name of its file for messages.
class OwnFile {
 public:
  OwnFile() = default;
  OwnFile(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}
  OwnFile(OwnFile&& other) noexcept;
  OwnFile& operator=(OwnFile&& other) noexcept;
  OwnFile(const OwnFile&) = delete;
  OwnFile& operator=(const OwnFile&) = delete;
  ~OwnFile();

  /// `path` to read. Throws UserError where that can't be.
  static OwnFile toRead(const std::filesystem::path& path);
  /// `path` to read and write, made where it is not there. Throws UserError where that can't be.
  static OwnFile toWrite(const std::filesystem::path& path, bool emptied);
  /// A file without a name on the disk of `folder`. Throws UserError where that can't be.
  static OwnFile unnamed(const std::filesystem::path& folder);

  int descriptor() const { return descriptor_; }
  const std::string& name() const { return name_; }
  std::uint64_t size() const;

  /// The bytes at `at`. Throws UserError where the file is shorter or can't be read.
  void read(std::uint64_t at, char* bytes, std::size_t count) const;
  /// The same, as many as there are.
  std::size_t readSome(std::uint64_t at, char* bytes, std::size_t count) const;
  /// Throws UserError where the bytes can't be written, as on a full disk.
  void write(std::uint64_t at, const char* bytes, std::size_t count) const;
  void cut(std::uint64_t size) const;
  /// Waits until the disk has what was written.
  void flush() const;

 private:
  int descriptor_ = -1;
  std::string name_;
};

/// The nearest folder above `path` that there is.
std::filesystem::path folderAbove(const std::filesystem::path& path);

}  // namespace vorin::toolkit
