// Turns images upright that a camera stored rotated.
#pragma once

#include <cstdint>

#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// `orientation` is the Exif value: 1 is upright, 2 to 8 are mirrored or rotated by quarter turns. All other values
// count as upright.
Image Upright(Image stored, uint16_t orientation);

}  // namespace orvane::tool
