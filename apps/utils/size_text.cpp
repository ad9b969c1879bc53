#include "apps/utils/size_text.h"

#include <charconv>

namespace orvane::tool {

std::optional<Size> SizeFromText(std::string_view text) {
    Size size;
    const char* const end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') {
        return std::nullopt;
    }
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec != std::errc() || height.ptr != end || size.width == 0 || size.height == 0) {
        return std::nullopt;
    }
    return size;
}

}  // namespace orvane::tool
