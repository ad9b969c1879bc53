// IEEE half precision (binary16), the number format of model files, as bit patterns.
#pragma once

#include <cstdint>

namespace orvane::tool {

// Rounds to nearest, ties to even. Beyond the largest finite half (65504) by half a step or more: infinity.
uint16_t HalfFromFloat(float value);

// Exact.
float FloatFromHalf(uint16_t half);

}  // namespace orvane::tool
