// What ffmpeg tells about a video file. Portable.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::tool {

// In ffmpeg's names; empty where the file names none.
struct ColourDescription {
    std::string range;  // "tv" or "pc"
    std::string matrix;
    std::string primaries;
    std::string transfer;
};

struct VideoSource {
    bool hasVideo = false;
    std::string codec;
    std::string pixelFormat;  // for example "yuv420p"
    ColourDescription colour;
    uint32_t width = 0;
    uint32_t height = 0;
    bool isInterlaced = false;
    double framesPerSecond = 0;          // 0 when unknown
    double seconds = 0;                  // of the video, else of the file; 0 when unknown
    uint64_t frameCount = 0;             // 0 when unknown
    std::vector<std::string> subtitles;  // their codecs, in the file's order
    bool hasAttachments = false;
    uint32_t otherVideos = 0;  // video streams after the first one, without covers
    uint32_t covers = 0;
    bool hasHdrData = false;        // mastering display or light levels
    std::string decoder;            // the one that must read the video; empty: ffmpeg chooses
    uint32_t libavutilVersion = 0;  // the major version; ffmpeg 4 has 56
};

// Parses the output of `ffmpeg -i FILE`. Takes the first video stream that is not a cover image.
VideoSource ParseVideoSource(std::string_view ffmpegOutput);

// Whether ffmpeg's name of side data is one of HDR's static data.
bool IsHdrDataName(std::string_view name);

// Notes that the video, VP8 or VP9, has transparency, which only the decoder of libvpx reads.
void TakeVpxAlpha(VideoSource& source);

// Seconds from "12.5", "1:30" or "01:02:03.5"; negative when the text is not a time.
double SecondsFromText(std::string_view text);

}  // namespace orvane::tool
