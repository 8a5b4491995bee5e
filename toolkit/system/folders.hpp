// What a folder allows, and folders for temporary files.
#pragma once

#include <filesystem>
#include <string_view>

namespace vorin::toolkit {

/// Whether files can be made in `folder`; where they can't, errno says why.
bool canWriteInto(const std::filesystem::path& folder);

/// Makes a folder in `base` that nobody else has and only this user reads, "vorin-" and six
/// characters. Returns an empty path and sets errno where that fails.
std::filesystem::path makePrivateFolder(const std::filesystem::path& base);

/// The variable of the environment that says where temporary folders are made.
inline constexpr std::string_view temporaryFolderVariable =
#if defined(_WIN32)
    "TMP";
#else
    "TMPDIR";
#endif

}  // namespace vorin::toolkit
