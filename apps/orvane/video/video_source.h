// What a video file holds, as far as ffmpeg says. Portable.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::tool {

// ffmpeg's own names; empty where the file does not say.
struct ColourDescription {
    std::string range;  // "tv" or "pc"
    std::string matrix;
    std::string primaries;
    std::string transfer;
};

struct VideoSource {
    bool hasVideo = false;
    std::string pixelFormat;  // for example "yuv420p"
    ColourDescription colour;
    uint32_t width = 0;
    uint32_t height = 0;
    bool isInterlaced = false;
    double framesPerSecond = 0;          // 0 when unknown
    double seconds = 0;                  // 0 when unknown
    std::vector<std::string> subtitles;  // their codecs, in the file's order
    bool hasAttachments = false;
    uint32_t libavutilVersion = 0;  // the first number; 56 is that of ffmpeg 4
};

// Reads what `ffmpeg -i FILE` prints. Of the video streams it is the first one that is not a cover image.
VideoSource ParseVideoSource(std::string_view ffmpegOutput);

// "12.5", "1:30", "01:02:03.5" in seconds; a negative number when it is not a time.
double SecondsFromText(std::string_view text);

}  // namespace orvane::tool
