// Widths and heights.
#pragma once

#include <cstdint>

namespace orvane::tool {

// Of an image or a frame, in pixels.
struct Size {
    uint32_t width = 0;
    uint32_t height = 0;

    uint64_t Area() const { return uint64_t{width} * height; }
    bool operator==(const Size&) const = default;
};

}  // namespace orvane::tool
