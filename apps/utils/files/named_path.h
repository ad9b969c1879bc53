// A path in the form that the system takes and in the form that the user knows.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "apps/utils/files/long_path.h"
#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {

// Made once, where a path enters the program; what works on files takes it as it is.
struct NamedPath {
    std::filesystem::path path;  // any length
    std::string name;            // UTF-8, for messages

    NamedPath() = default;
    // Implicit, so that a path is converted where it is passed. NOLINTNEXTLINE(google-explicit-constructor)
    NamedPath(const std::filesystem::path& shown) : path(LongPath(shown)), name(Utf8FromPath(shown)) {}
    NamedPath(std::filesystem::path used, std::string shown) : path(std::move(used)), name(std::move(shown)) {}
};

}  // namespace orvane::tool
