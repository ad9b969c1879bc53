// Reads pictures.
#pragma once

#include <filesystem>

#include "apps/orvane/picture.h"

namespace orvane::tool {

// The longest side whose double still fits into a Direct3D 12 texture.
inline constexpr uint32_t kMaxPictureSide = 16384 / 2;

// Reads the first picture of a file of any kind that Windows can read, turned upright, and warns on standard
// error of what the result will not keep. Needs COM on this thread. Throws Failure.
Picture ReadPicture(const std::filesystem::path& path);

}  // namespace orvane::tool
