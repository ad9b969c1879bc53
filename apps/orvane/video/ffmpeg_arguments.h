// The command lines that ffmpeg is started with. Portable.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/orvane/containers/nut.h"
#include "apps/orvane/video/video_output.h"
#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// What the result's colours are said to be, and converted with. The matrix is always named, because a upscaled image
// may be so large that players would guess another one than for the source: where the source does not say, it is bt709
// from 720 rows on and that of NTSC and PAL below.
ColourDescription ResolvedColour(const VideoSource& source);

std::vector<std::string> ProbeArguments(const VideoJob& job);

// Frames in NUT on standard output, each once, with the source's time stamps.
std::vector<std::string> DecodeArguments(const VideoJob& job, const VideoSource& source);

// Frames in NUT from standard input, everything else from the source. `video` describes the frames, the first of which
// is shown at `firstTime` of its time base.
std::vector<std::string> EncodeArguments(const VideoJob& job, const VideoSource& source, const NutVideo& video,
                                         uint64_t firstTime);

// ffmpeg's complaints, as the end of a sentence: the first one, which is most often the cause, and the last.
std::string SummaryOfMessages(const std::string& messages);

}  // namespace orvane::tool
