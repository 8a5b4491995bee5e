#include "toolkit/reading/files.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>

#include "toolkit/reading/numbers.hpp"
#include "toolkit/system/folders.hpp"
#include "toolkit/system/process.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace fs = std::filesystem;

namespace {

/// `path` as an absolute one, through symbolic links, so that a rename replaces what
/// a link leads to and not the link, and a change of folder does not matter.
fs::path resolved(const fs::path& path) {
  std::error_code error;
  // Made absolute first: a relative name of no file would stay relative.
  const fs::path whole = fs::absolute(path);
  fs::path result = fs::weakly_canonical(whole, error);
  return error ? whole : result;
}

UserError cannotWrite(const fs::path& path, std::string_view why) {
  return UserError(fmt::format("{}: the file can't be written ({})", path.string(), why));
}

void writeAll(const fs::path& path, const fs::path& shown, std::string_view content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  file.close();
  if (!file) {
    throw cannotWrite(shown, std::strerror(errno));
  }
}

}  // namespace

OutputFiles::~OutputFiles() {
  std::error_code ignored;
  for (const Staged& file : staged_) {
    fs::remove(file.temporary, ignored);
  }
}

void OutputFiles::protect(const fs::path& input) {
  protected_.insert(resolved(input));
}

fs::path OutputFiles::announce(const fs::path& path, std::string_view option,
                               const fs::path& input) {
  const auto fail = [&](std::string_view why) {
    return UserError(fmt::format("{} {}: {}", option, path.string(), why));
  };
  std::error_code error;
  if (path.filename().empty() || fs::is_directory(path, error)) {
    throw fail("this is a folder; give the name of a file");
  }
  fs::path target = resolved(path);
  // The folder is made when the first file is written; whether it can be is looked at now.
  fs::path folder = target.parent_path();
  while (!fs::exists(folder, error) && folder.has_relative_path()) {
    folder = folder.parent_path();
  }
  if (!fs::is_directory(folder, error)) {
    throw fail(fmt::format("{} is no folder; give another name", folder.string()));
  }
  if (folder != target.parent_path() && !canWriteInto(folder)) {
    throw fail(
        fmt::format("no folder can be made in {} ({})", folder.string(), std::strerror(errno)));
  }
  if ((!input.empty() && target == resolved(input)) || protected_.contains(target)) {
    throw fail("this is the file that is read; give another name");
  }
  if (announced_.contains(target)) {
    throw fail("two outputs have this name; give each its own");
  }
  if (!fs::exists(target, error) || fs::is_regular_file(target, error)) {
    announced_.insert(target);  // a device or a pipe may take several
  }
  return target;
}

void OutputFiles::removeLeftovers() const {
  std::set<fs::path> folders;
  for (const fs::path& target : announced_) {
    folders.insert(target.parent_path());
  }
  constexpr std::string_view ending = ".part";
  for (const fs::path& folder : folders) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
      // ".NAME.PROCESS.part"
      const std::string name = entry->path().filename().string();
      if (name.front() != '.' || !name.ends_with(ending)) {
        continue;
      }
      const std::string body = name.substr(1, name.size() - 1 - ending.size());
      const std::size_t dot = body.rfind('.');
      const std::optional<long long> process =
          dot == std::string::npos ? std::nullopt : parseInteger(body.substr(dot + 1));
      constexpr long long mostProcesses = 1LL << 30;
      if (process && *process > 0 && *process < mostProcesses &&
          announced_.contains(folder / body.substr(0, dot)) && !processExists(*process)) {
        std::error_code ignored;
        fs::remove(entry->path(), ignored);
      }
    }
  }
}

fs::path OutputFiles::stage(const fs::path& target) {
  std::error_code error;
  fs::create_directories(target.parent_path(), error);
  if (error) {
    throw cannotWrite(target, error.message());
  }
  fs::path temporary =
      target.parent_path() / fmt::format(".{}.{}.part", target.filename().string(), processId());
  staged_.push_back({temporary, target});
  return temporary;
}

void OutputFiles::write(const fs::path& target, std::string_view content) {
  std::error_code error;
  if (fs::exists(target, error) && !fs::is_regular_file(target, error)) {
    writeAll(target, target, content);  // a device or a pipe must not be replaced
    return;
  }
  const fs::path temporary = stage(target);
  try {
    writeAll(temporary, target, content);
  } catch (const UserError&) {
    fs::remove(temporary, error);
    staged_.pop_back();  // a batch commits what it has written so far
    throw;
  }
}

void OutputFiles::commit() {
  while (!staged_.empty()) {
    std::error_code error;
    fs::rename(staged_.front().temporary, staged_.front().target, error);
    if (error) {
      throw cannotWrite(staged_.front().target, error.message());
    }
    staged_.erase(staged_.begin());
  }
}

PrivateFolder::PrivateFolder() {
  std::error_code error;
  const fs::path base = fs::temp_directory_path(error);
  const fs::path place = error ? fs::path("/tmp") : base;
  const fs::path folder = makePrivateFolder(place);
  if (folder.empty()) {
    throw UserError(
        fmt::format("{}: no folder for temporary files can be made here ({}); set "
                    "{} to a folder where it can",
                    place.string(), std::strerror(errno), temporaryFolderVariable));
  }
  path_ = fs::absolute(folder);
}

PrivateFolder::~PrivateFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

ScratchFolder::ScratchFolder() : before_(fs::current_path()) {
  fs::current_path(path());
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::current_path(before_, ignored);
}

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw UserError(
        fmt::format("{}: the file can't be read ({})", path.string(), std::strerror(errno)));
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace vorin::toolkit
