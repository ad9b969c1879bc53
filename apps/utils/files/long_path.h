// Paths of any length.
#pragma once

#include <filesystem>

namespace orvane::tool {

// The absolute path in the form that Windows takes at any length, "\\?\C:\folder\file". Not for showing to people.
// Elsewhere the path as it is.
std::filesystem::path LongPath(const std::filesystem::path& path);

}  // namespace orvane::tool
