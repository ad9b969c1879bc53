// What a video becomes, and what the output can hold of the source. Portable.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// Paths in UTF-8. The extension of the output selects the container.
struct VideoJob {
    std::string input;
    std::string output;                // the file that ffmpeg writes
    std::optional<std::string> start;  // in ffmpeg's form: seconds, or hours:minutes:seconds
    std::optional<std::string> duration;
    std::string codec;   // empty: the usual one for the container
    std::string crf;     // empty: high quality
    std::string preset;  // empty: the default of the encoder
    std::vector<std::string> encoderArguments;
};

// ffmpeg's name of the encoder.
std::string CodecOf(const VideoJob& job);

// The pixel format for the encoder; empty when the encoder chooses.
std::string PixelFormatOf(const VideoJob& job, const VideoSource& source);

// Whether the output's pixels are RGB, which have no matrix.
bool IsRgbOutput(const VideoJob& job, const VideoSource& source);

// The duration of what is upscaled; 0 or less when unknown.
double SecondsToUpscale(const VideoJob& job, const VideoSource& source);

// Whether the output is of the family of MP4, which QuickTime's .mov belongs to.
bool IsMp4(const VideoJob& job);

bool IsRgb(const std::string& pixelFormat);
bool HasAlpha(const std::string& pixelFormat);

// How subtitles of this codec get into the output: "copy", or the codec to convert them to. Empty if they cannot.
std::string SubtitleCodecFor(const VideoJob& job, const std::string& subtitle);

// Whether the output can hold attached files, such as fonts.
bool TakesAttachments(const VideoJob& job);

// Whether the source has transparency and the output's pixel format can hold it.
bool KeepsAlpha(const VideoJob& job, const VideoSource& source);

// One sentence for each part of the source that the output does not keep.
std::vector<std::string> LossesOf(const VideoJob& job, const VideoSource& source);

}  // namespace orvane::tool
