#include "apps/orvane/containers/frame_bytes.h"

#include <algorithm>
#include <span>

namespace orvane::tool {

bool IsFrameSize(uint64_t width, uint64_t height) {
    return width > 0 && height > 0 && width <= kMaxFramePixels / height;
}

bool AppendBytes(ByteSource& source, uint64_t size, std::vector<uint8_t>& bytes) {
    constexpr uint64_t kPiece = uint64_t{16} << 20;
    while (size > 0) {
        const auto piece = static_cast<size_t>(std::min(size, kPiece));
        const size_t before = bytes.size();
        bytes.resize(before + piece);
        const size_t count = source.Read(std::span(bytes).subspan(before));
        if (count < piece) {
            bytes.resize(before + count);
            return false;
        }
        size -= piece;
    }
    return true;
}

}  // namespace orvane::tool
