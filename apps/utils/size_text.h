// Frame sizes on the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvane::tool {

struct Size {
    uint32_t width = 0;
    uint32_t height = 0;
};

// "320x180", both at least 1; nothing else.
std::optional<Size> SizeFromText(std::string_view text);

}  // namespace orvane::tool
