// What to make of a video, and what of the source that has room for. Portable.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// Paths in UTF-8. The output's ending says what kind of file it is.
struct VideoJob {
    std::string input;
    std::string output;                // where ffmpeg writes to
    std::optional<std::string> start;  // as ffmpeg takes times: seconds, or hours:minutes:seconds
    std::optional<std::string> duration;
    std::string codec;   // empty: the usual one for the output's kind
    std::string crf;     // empty: a high quality
    std::string preset;  // empty: the codec's own
    std::vector<std::string> encoderArguments;
};

// ffmpeg's name of the encoder.
std::string CodecOf(const VideoJob& job);

// Whether it is one of those encoders that take a constant quality: libx264, libx265, libvpx and libaom.
bool IsX26(const std::string& codec);
bool IsVpxOrAom(const std::string& codec);

// The pixel format that the encoder is given; empty when it chooses for itself.
std::string PixelFormatOf(const VideoJob& job);

bool IsRgb(const std::string& pixelFormat);
bool HasAlpha(const std::string& pixelFormat);

// How the output takes subtitles of that codec: "copy" or the codec to convert them to; empty when it cannot.
std::string SubtitleCodecFor(const VideoJob& job, const std::string& subtitle);

bool TakesAttachments(const VideoJob& job);

// Whether the source has transparency and the output's pixels have room for it.
bool KeepsAlpha(const VideoJob& job, const VideoSource& source);

// Sentences about what of the source the output does not keep.
std::vector<std::string> LossesOf(const VideoJob& job, const VideoSource& source);

}  // namespace orvane::tool
