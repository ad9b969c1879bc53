#include "apps/utils/text.h"

#include <charconv>

#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string Quoted(const std::filesystem::path& path) {
    return Quoted(Utf8FromPath(path));
}

std::string Counted(uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

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

std::string SizeText(const Size& size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

}  // namespace orvane::tool
