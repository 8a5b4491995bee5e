// Zip archives: workbooks and numpy's .npz are such.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

/// The members of an archive whose names end in `ending`, by name. Nothing is written anywhere,
/// whatever the names are. Throws UserError, which calls the file `name`, for a damaged archive,
/// for one with too many members, and for one that unfolds to more than decays do.
std::map<std::string, std::string> archiveMembers(const std::filesystem::path& path,
                                                  const std::string& name, std::string_view ending);

/// The names of all members. Throws UserError as above.
std::vector<std::string> archiveNames(const std::filesystem::path& path, const std::string& name);

/// True for content that begins as a zip archive does.
bool isArchive(std::string_view content);

}  // namespace vorin::toolkit
