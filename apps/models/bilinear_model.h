// A model whose network is plain bilinear upscaling: a model file that anyone can check by eye and by
// arithmetic.
#pragma once

#include <cstdint>
#include <vector>

#include "apps/models/network_size.h"

namespace orvane::tool {

// Three colours, and each once more for every edge and corner of the image.
inline constexpr uint32_t kMinBilinearChannels = 27;
inline constexpr int32_t kMinBilinearDepth = 1;
// Input pixels: however many layers there are, a result pixel comes from its nearest four.
inline constexpr int32_t kBilinearReach = 1;

// The bytes of a plain model file for a network of depth + 2 layers with `channels` feature channels that
// doubles an image by bilinear interpolation. Pixels are sampled at their centres, and pixels outside repeat
// the edge, so each result is (9 a + 3 b + 3 c + d) / 16 of the nearest four pixels; no weight is rounded.
// Throws Failure when the numbers are outside the limits above.
std::vector<uint8_t> MakeBilinearModel(uint32_t channels, int32_t depth);

}  // namespace orvane::tool
