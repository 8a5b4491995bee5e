#include "toolkit/reading/formats/archive.hpp"

#include <fmt/format.h>

#include <array>
#include <memory>

#include "toolkit/user_error.hpp"

#ifdef VORIN_READ_CONTAINERS
#include <minizip/unzip.h>
#endif

namespace vorin::toolkit {

bool isArchive(std::string_view content) {
  return content.starts_with("PK\x03\x04") || content.starts_with("PK\x05\x06");
}

#ifdef VORIN_READ_CONTAINERS

namespace {

constexpr std::size_t mostMembers = 10'000;
/// A sheet of numbers packs to a tenth; of zeros, to a thousandth.
constexpr std::size_t plausibleRatio = 100;
constexpr std::size_t alwaysAllowed = 64'000'000;

struct Closer {
  void operator()(void* archive) const { unzClose(archive); }
};
using Archive = std::unique_ptr<void, Closer>;

[[noreturn]] void failDamaged(const std::string& name) {
  throw UserError(fmt::format("{}: the archive is damaged or cut off", name));
}

/// The content of the member at hand, of `left` bytes at most.
std::string contentOfMember(void* archive, std::size_t left, const std::string& name) {
  if (unzOpenCurrentFile(archive) != UNZ_OK) {
    failDamaged(name);
  }
  std::string content;
  std::array<char, 65536> block{};
  int count = 0;
  while ((count = unzReadCurrentFile(archive, block.data(), static_cast<unsigned>(block.size()))) >
         0) {
    content.append(block.data(), static_cast<std::size_t>(count));
    if (content.size() > left) {
      unzCloseCurrentFile(archive);
      throw UserError(fmt::format(
          "{}: the archive unfolds to more than its size allows for; take the file out of it",
          name));
    }
  }
  if (count < 0 || unzCloseCurrentFile(archive) != UNZ_OK) {
    failDamaged(name);
  }
  return content;
}

/// Calls `use` with the name of each member, which can be read then.
template <class Use>
void forMembers(void* archive, const std::string& name, const Use& use) {
  int status = unzGoToFirstFile(archive);
  for (std::size_t count = 0; status == UNZ_OK; ++count) {
    std::array<char, 512> member{};
    unz_file_info64 info{};
    if (count >= mostMembers ||
        unzGetCurrentFileInfo64(archive, &info, member.data(), member.size() - 1, nullptr, 0,
                                nullptr, 0) != UNZ_OK) {
      failDamaged(name);
    }
    use(std::string(member.data()));
    status = unzGoToNextFile(archive);
  }
  if (status != UNZ_END_OF_LIST_OF_FILE) {
    failDamaged(name);
  }
}

Archive opened(const std::filesystem::path& path, const std::string& name) {
  Archive archive(unzOpen64(path.c_str()));
  if (!archive) {
    failDamaged(name);
  }
  return archive;
}

}  // namespace

std::map<std::string, std::string> archiveMembers(const std::filesystem::path& path,
                                                  const std::string& name,
                                                  std::string_view ending) {
  const Archive archive = opened(path, name);
  std::error_code error;
  const std::uintmax_t packed = std::filesystem::file_size(path, error);
  std::size_t left = alwaysAllowed + plausibleRatio * static_cast<std::size_t>(error ? 0 : packed);
  std::map<std::string, std::string> members;
  forMembers(archive.get(), name, [&](const std::string& member) {
    if (member.ends_with(ending)) {
      std::string content = contentOfMember(archive.get(), left, name);
      left -= content.size();
      members.emplace(member, std::move(content));
    }
  });
  return members;
}

std::vector<std::string> archiveNames(const std::filesystem::path& path, const std::string& name) {
  const Archive archive = opened(path, name);
  std::vector<std::string> names;
  forMembers(archive.get(), name, [&](const std::string& member) { names.push_back(member); });
  return names;
}

#else

std::map<std::string, std::string> archiveMembers(const std::filesystem::path& /*path*/,
                                                  const std::string& name,
                                                  std::string_view /*ending*/) {
  throw UserError(
      fmt::format("{}: this build does not read archives and workbooks; save it as CSV", name));
}

std::vector<std::string> archiveNames(const std::filesystem::path& /*path*/,
                                      const std::string& /*name*/) {
  return {};
}

#endif

}  // namespace vorin::toolkit
