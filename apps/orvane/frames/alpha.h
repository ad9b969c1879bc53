// Transparency, which the library does not know.
#pragma once

#include <cstdint>

#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// Gives the wholly transparent pixels within `distance` of others the colour of their neighbours. What a file holds
// there is usually black, and the network would draw it into the visible edge.
void SpreadColours(Image& image, uint32_t distance);

// Upscales the transparency of `input` with a cubic filter (Catmull and Rom's) into `output`, which has twice its width
// and height.
void UpscaleAlpha(const Image& input, Image& output);

// Lays the image on white and makes it opaque.
void LayOnWhite(Image& image);

}  // namespace orvane::tool
