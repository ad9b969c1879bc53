// IEEE half precision (binary16), the number format of model files, as bit patterns.
#pragma once

#include <cstdint>

namespace orvane::tool {

// Rounds to nearest, ties to even. From 65520 on, half a step above the largest finite half, the result is infinity.
uint16_t HalfFromFloat(float value);

// Exact.
float FloatFromHalf(uint16_t half);

}  // namespace orvane::tool
