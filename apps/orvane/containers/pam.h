// Image headers in the PAM format of netpbm. Portable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

// An image with 8 bits per channel. Its rows follow the header without padding.
struct PamHeader {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0;  // 3 (R, G, B) or 4 (R, G, B, A)

    uint64_t PixelBytes() const { return uint64_t{width} * height * channels; }
};

// Reads up to the first pixel; nothing at the end of the source. Throws Failure when there is no valid header, or one
// of an image that is neither RGB nor RGB_ALPHA with 8 bits per channel.
std::optional<PamHeader> ReadPamHeader(ByteSource& source);

std::string PamHeaderText(const PamHeader& header);

}  // namespace orvane::tool
