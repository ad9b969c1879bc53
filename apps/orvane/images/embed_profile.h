// Adds colour profiles to written files, for systems whose codecs cannot write them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "apps/orvane/images/image_format.h"

namespace orvane::tool {

// Adds an ICC profile to a PNG or JPEG file that has none. False for other formats, which are not changed. Throws
// Failure.
bool EmbedProfile(const std::filesystem::path& path, ImageFormat format, const std::vector<uint8_t>& profile);

}  // namespace orvane::tool
