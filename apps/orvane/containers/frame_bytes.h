// What the readers of frames have in common.
#pragma once

#include <cstdint>
#include <vector>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

// More pixels than this in a frame are refused before memory is taken for them: 16384 x 16384.
inline constexpr uint64_t kMaxFramePixels = uint64_t{1} << 28;

bool IsFrameSize(uint64_t width, uint64_t height);

// Appends `size` bytes of the source and returns whether they were all there. Takes memory as the bytes come, so that a
// size that lies costs nothing.
bool AppendBytes(ByteSource& source, uint64_t size, std::vector<uint8_t>& bytes);

}  // namespace orvane::tool
