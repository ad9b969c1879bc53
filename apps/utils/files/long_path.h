// Paths of any length.
#pragma once

#include <filesystem>

namespace orvane::tool {

// The absolute path in the form that Windows accepts at any length, "\\?\C:\folder\file". Not for messages. On other
// systems the path is not changed.
std::filesystem::path LongPath(const std::filesystem::path& path);

}  // namespace orvane::tool
