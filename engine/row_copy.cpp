#include "engine/row_copy.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace orvane {

void CopyRows(std::span<const uint8_t> source, uint32_t rowPitch, uint8_t* target, int32_t stride, uint32_t rowBytes,
              uint32_t height) {
    // Offsets are unsigned 32-bit products: bottom-up images (negative strides) are not supported.
    const auto targetPitch = static_cast<uint32_t>(stride);
    if (rowPitch == rowBytes && targetPitch == rowBytes) {
        std::memcpy(target, source.data(), height * rowBytes);
        return;
    }
    const size_t copyBytes = std::min(rowPitch, targetPitch);
    for (uint32_t row = 0; row < height; ++row) {
        const std::span<const uint8_t> rest = source.subspan(row * rowPitch);
        std::memcpy(target + row * targetPitch, rest.data(), std::min(copyBytes, rest.size()));
    }
}

}  // namespace orvane
