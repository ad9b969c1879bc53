// Colour profiles in files that are already written, for systems whose codecs do not take them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "apps/orvane/images/image_format.h"

namespace orvane::tool {

// Puts an ICC profile into a PNG or JPEG file that has none. False for other formats, with nothing changed. Throws
// Failure.
bool EmbedProfile(const std::filesystem::path& path, ImageFormat format, const std::vector<uint8_t>& profile);

}  // namespace orvane::tool
