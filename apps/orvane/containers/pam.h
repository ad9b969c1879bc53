// The header of an image in netpbm's PAM format. Portable.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

// An image of 8 bits per channel. Its rows follow the header without padding.
struct PamHeader {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 0;  // 3 (R, G, B) or 4 (R, G, B, A)

    uint64_t PixelBytes() const { return uint64_t{width} * height * channels; }
};

// Reads up to the first pixel; nothing when the source is at its end. Throws Failure when there is something else than
// a header, or one of an image that is not handled here.
std::optional<PamHeader> ReadPamHeader(ByteSource& source);

std::string PamHeaderText(const PamHeader& header);

}  // namespace orvane::tool
