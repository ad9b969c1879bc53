// Turns images that a camera stored lying on their side.
#pragma once

#include <cstdint>

#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// `orientation` is Exif's: 1 is upright, 2 to 8 are the other mirrorings and quarter turns. Anything else
// counts as upright.
Image Upright(Image stored, uint16_t orientation);

}  // namespace orvane::tool
