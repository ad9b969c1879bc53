// Turns pictures into PNG files.
#pragma once

#include <cstdint>
#include <vector>

#include "apps/orvane/picture.h"

namespace orvane::tool {

// The bytes of a PNG file with the picture's colours and colour profile, opaque. Warns on standard error when
// this system cannot keep the profile. Needs COM on this thread. Throws Failure.
std::vector<uint8_t> EncodePng(const Picture& picture);

}  // namespace orvane::tool
