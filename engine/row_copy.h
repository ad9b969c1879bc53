// Copies a finished image to the host. Portable among systems on x64 processors, all of which have SSE2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvane {

// Copies as memcpy does, but past the caches. Faster for large images, which would push everything else out of them.
void StreamBytes(uint8_t* target, const uint8_t* source, size_t byteCount);

// Copies `height` rows of `rowBytes` bytes from a read-back buffer, `rowPitch` bytes from row to row, to the host's
// rows, `stride` bytes apart. A stride below the row pitch truncates the rows to the stride. Otherwise `rowPitch` bytes
// of each row are written, including the padding, as far as the read-back buffer reaches (its last row has no padding).
// `rowPitch` is at least `rowBytes`; `stride` is not negative.
void CopyRows(std::span<const uint8_t> source, uint32_t rowPitch, uint8_t* target, int32_t stride, uint32_t rowBytes,
              uint32_t height);

}  // namespace orvane
