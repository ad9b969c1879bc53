// The bilinear placeholder: a model whose network does bilinear scaling. Its results are easy to check.
#pragma once

#include <cstdint>
#include <vector>

#include "apps/models/network_size.h"

namespace orvane::tool {

// Three colours for the image itself, and three for each of its four edges and four corners.
inline constexpr uint32_t kMinBilinearChannels = 27;
inline constexpr int32_t kMinBilinearDepth = 1;
// In input pixels. A result pixel depends on its nearest four, whatever the number of layers.
inline constexpr int32_t kBilinearReach = 1;

// The bytes of a plain model file for a network of depth + 2 layers with `channels` feature channels that
// upscales an image by bilinear interpolation. Pixels are sampled at their centres and the edge is repeated outside, so
// each result is (9 a + 3 b + 3 c + d) / 16 of the nearest four pixels. No weight is rounded. Throws Failure when the
// numbers are outside the limits above.
std::vector<uint8_t> MakeBilinearModel(uint32_t channels, int32_t depth);

}  // namespace orvane::tool
