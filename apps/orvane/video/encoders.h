// The encoders of ffmpeg that the program sets up itself. Portable.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace orvane::tool {

struct Encoder {
    std::string_view name = {};
    std::string_view pixelFormat = {};       // empty: the encoder chooses
    std::string_view alphaPixelFormat = {};  // for sources with transparency; empty: it has none
    bool isRgb = false;                      // whether it stores RGB if it chooses the pixel format
    std::string_view qualityOption = "-crf";
    std::string_view quality = {};                           // the default; empty: the encoder's own
    bool isQualityAlone = false;                             // it needs a bit rate of 0, so that the quality decides
    std::array<std::string_view, 2> inOrder = {"-bf", "0"};  // stores the frames in the order of their display
    std::array<std::string_view, 3> chatter = {};  // beginnings of lines on standard error that do not name a problem
};

// The row of the encoder, or one without a name that leaves everything to the encoder.
Encoder EncoderNamed(std::string_view name);

// The messages without the encoder's chatter.
std::string WithoutChatter(const Encoder& encoder, std::string_view messages);

}  // namespace orvane::tool
