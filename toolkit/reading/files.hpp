// Files that a program leaves: each appears whole or not at all, and what is only
// needed on the way stays in a private folder.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

/// The files a run leaves. Each is first written under a temporary name beside its
/// target; commit() renames them, and without it they are removed.
class OutputFiles {
 public:
  OutputFiles() = default;
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;
  ~OutputFiles();

  /// Takes note of a file that is read, which no target may be.
  void protect(const std::filesystem::path& input);

  /// Takes note of `path`, given by `option`, before any work is done, and returns it
  /// as an absolute path, for write(), which makes its folder. Throws UserError when its folder
  /// can't be made, when it is a folder itself, or when it is `input` (or none), a protected
  /// file, or a target announced before.
  std::filesystem::path announce(const std::filesystem::path& path, std::string_view option,
                                 const std::filesystem::path& input = {});

  /// Removes what runs that were killed have left in the folders of the announced files: temporary
  /// files for them of processes that are no more.
  void removeLeftovers() const;

  /// A temporary file for `target`, which announce() returned and which is no device, for callers
  /// that write it part by part; commit() puts it in place. Makes its folder. Throws UserError
  /// where that can't be.
  std::filesystem::path stage(const std::filesystem::path& target);

  /// Keeps `content` for `target`, which announce() returned. Throws UserError when it
  /// can't be written.
  void write(const std::filesystem::path& target, std::string_view content);

  /// Puts all that was written in place. A file that can't be renamed throws
  /// UserError; the ones before it stay in place.
  void commit();

 private:
  struct Staged {
    std::filesystem::path temporary;
    std::filesystem::path target;
  };
  std::set<std::filesystem::path> protected_;
  std::set<std::filesystem::path> announced_;
  std::vector<Staged> staged_;
};

/// A folder of this process alone, made on construction and removed with all it holds.
class PrivateFolder {
 public:
  PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;
  ~PrivateFolder();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

/// A private folder that meanwhile is the working directory, since the library's exports leave
/// their log there and take no path in lower case. For one thread of a process only.
class ScratchFolder : public PrivateFolder {
 public:
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

 private:
  std::filesystem::path before_;
};

/// The whole of a file. Throws UserError when it can't be read.
std::string contentOf(const std::filesystem::path& path);

}  // namespace vorin::toolkit
