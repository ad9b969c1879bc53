#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {

std::filesystem::path PathFromUtf8(std::string_view text) {
    return std::u8string(text.begin(), text.end());
}

std::string Utf8FromPath(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace orvane::tool
