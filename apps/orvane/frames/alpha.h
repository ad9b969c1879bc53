// Transparency, which the library ignores.
#pragma once

#include <cstdint>

#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// Gives fully transparent pixels within `distance` pixels of others the colours of their neighbours. Files usually hold
// black there, and the network would draw it into the visible edge.
void SpreadColours(Image& image, uint32_t distance);

// Upscales the transparency of `input` with a cubic filter (Catmull-Rom) into `output`, which has twice its width and
// height.
void UpscaleAlpha(const Image& input, Image& output);

// Blends the image with white and makes it opaque.
void LayOnWhite(Image& image);

}  // namespace orvane::tool
