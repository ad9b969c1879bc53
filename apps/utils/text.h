// Pieces of the sentences that users read, and frame sizes as text.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "apps/utils/size.h"

namespace orvane::tool {

// In quotation marks. The text is UTF-8.
std::string Quoted(const std::string& text);
std::string Quoted(const std::filesystem::path& path);

// A number and its noun: "1 image", "2 images".
std::string Counted(uint64_t count, const std::string& noun);

// As std::snprintf does. Longer results are cut off.
std::string Formatted(const char* format, auto... values) {
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

// "320x180", both at least 1; nothing for any other text.
std::optional<Size> SizeFromText(std::string_view text);

// For people: "320 x 180".
std::string SizeText(const Size& size);

}  // namespace orvane::tool
