// Paths as UTF-8 text, independent of the platform's encoding.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orvane::tool {

std::filesystem::path PathFromUtf8(std::string_view text);
std::string Utf8FromPath(const std::filesystem::path& path);

}  // namespace orvane::tool
