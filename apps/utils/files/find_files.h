// The files below a folder.
#pragma once

#include <filesystem>
#include <vector>

namespace orvane::tool {

// All files in `folder`, a LongPath(), and below it, in the order of their names; links to folders are not followed.
// What may not be read is left out. (The standard library's iterators end at 260 characters in one of the compilers.)
std::vector<std::filesystem::path> FindFiles(const std::filesystem::path& folder);

}  // namespace orvane::tool
