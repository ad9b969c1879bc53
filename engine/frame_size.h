// The size of frames. Portable.
#pragma once

#include <cstdint>

namespace orvane {

inline constexpr uint32_t kScale = 2;  // output width / input width, and the same for heights
inline constexpr uint32_t kBytesPerPixel = 4;

struct FrameSize {
    uint32_t width = 0;  // pixels
    uint32_t height = 0;

    bool operator==(const FrameSize&) const = default;
};

inline FrameSize Upscaled(FrameSize size) {
    return {kScale * size.width, kScale * size.height};
}

}  // namespace orvane
