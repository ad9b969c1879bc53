// An image in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvane::tool {

inline constexpr size_t kBytesPerPixel = 4;

struct Image {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;  // R, G, B, A; colours not multiplied by alpha; rows from top to bottom, no padding
    bool hasAlpha = false;        // some pixel is not opaque
    std::vector<uint8_t> colourProfile;  // an ICC profile for RGB, or empty
    double dpiX = 0;                     // pixels per inch; 0 when the file does not say
    double dpiY = 0;

    size_t RowBytes() const { return size_t{width} * kBytesPerPixel; }
    uint8_t* Row(uint32_t y) { return pixels.data() + RowBytes() * y; }
    const uint8_t* Row(uint32_t y) const { return pixels.data() + RowBytes() * y; }
};

}  // namespace orvane::tool
