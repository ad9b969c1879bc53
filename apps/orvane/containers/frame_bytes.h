// What the readers of frames share.
#pragma once

#include <cstdint>
#include <vector>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

// The most pixels of a frame: 16384 x 16384. More are refused before memory is allocated for them.
inline constexpr uint64_t kMaxFramePixels = uint64_t{1} << 28;

// Whether neither side is 0 and there are at most kMaxFramePixels.
bool IsFrameSize(uint64_t width, uint64_t height);

// Appends `size` bytes of the source to `bytes`. False when the source ends before. Memory is allocated as the bytes
// arrive, so that a false size in a header costs nothing.
bool AppendBytes(ByteSource& source, uint64_t size, std::vector<uint8_t>& bytes);

}  // namespace orvane::tool
