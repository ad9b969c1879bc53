#include "apps/orvane/video/encoders.h"

#include <algorithm>
#include <array>

namespace orvane::tool {
namespace {

// yuv420p is the format that every player shows. Qualities are high ones.
constexpr auto kEncoders = std::to_array<Encoder>({
    {.name = "libx264", .pixelFormat = "yuv420p", .quality = "18"},
    {.name = "libx264rgb", .pixelFormat = "rgb24", .isRgb = true, .quality = "18"},
    {.name = "libx265",
     .pixelFormat = "yuv420p",
     .quality = "18",
     .inOrder = {"-x265-params", "bframes=0"},
     .chatter = {"x265 [info]", "x265 [warning]", "encoded "}},
    {.name = "libvpx",
     .pixelFormat = "yuv420p",
     .alphaPixelFormat = "yuva420p",
     .quality = "24",
     .isQualityAlone = true},
    {.name = "libvpx-vp9",
     .pixelFormat = "yuv420p",
     .alphaPixelFormat = "yuva420p",
     .quality = "24",
     .isQualityAlone = true},
    {.name = "libaom-av1", .pixelFormat = "yuv420p", .quality = "24", .isQualityAlone = true},
    {.name = "libsvtav1", .pixelFormat = "yuv420p", .quality = "24", .chatter = {"Svt[info]", "Svt[warn]"}},
    {.name = "ffv1", .isRgb = true},
    {.name = "huffyuv", .isRgb = true},
    {.name = "ffvhuff", .isRgb = true},
    {.name = "utvideo", .isRgb = true},
    {.name = "png", .isRgb = true},
    {.name = "apng", .isRgb = true},
    {.name = "qtrle", .isRgb = true},
});

bool IsChatter(const Encoder& encoder, std::string_view line) {
    return std::any_of(encoder.chatter.begin(), encoder.chatter.end(),
                       [line](std::string_view start) { return !start.empty() && line.starts_with(start); });
}

}  // namespace

Encoder EncoderNamed(std::string_view name) {
    const auto found = std::find_if(kEncoders.begin(), kEncoders.end(),
                                    [name](const Encoder& encoder) { return encoder.name == name; });
    return found == kEncoders.end() ? Encoder() : *found;
}

std::string WithoutChatter(const Encoder& encoder, std::string_view messages) {
    std::string rest;
    while (!messages.empty()) {
        const size_t length = std::min(messages.find('\n'), messages.size() - 1) + 1;
        const std::string_view line = messages.substr(0, length);
        if (!IsChatter(encoder, line)) {
            rest += line;
        }
        messages.remove_prefix(length);
    }
    return rest;
}

}  // namespace orvane::tool
