// A picture in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvane::tool {

inline constexpr size_t kBytesPerPixel = 4;

struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;         // R, G, B, A; rows from top to bottom without padding
    std::vector<uint8_t> colourProfile;  // an ICC profile for RGB, or empty

    size_t RowBytes() const { return size_t{width} * kBytesPerPixel; }
};

}  // namespace orvane::tool
