// The files below a folder.
#pragma once

#include <filesystem>
#include <vector>

namespace orvane::tool {

// All files in `folder`, a LongPath(), and below it, sorted by path. Links to folders are not followed, and folders
// that cannot be read are left out. (With one of the compilers the standard library's iterators fail beyond 260
// characters.)
std::vector<std::filesystem::path> FindFiles(const std::filesystem::path& folder);

}  // namespace orvane::tool
