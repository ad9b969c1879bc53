// The command lines for ffmpeg. Portable.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/orvane/containers/nut.h"
#include "apps/orvane/video/video_output.h"
#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// The colour description of the result, which also selects the conversion. The matrix is always named: from the size of
// an upscaled image, players would guess another matrix than for the source. If the source names none, it is bt709 from
// 720 rows on and smpte170m (NTSC and PAL) below.
ColourDescription ResolvedColour(const VideoSource& source);

// Makes ffmpeg describe the input and end.
std::vector<std::string> ProbeArguments(const VideoJob& job);

// For ffprobe: a report in JSON about the file, its streams and the frames in its first packets.
std::vector<std::string> FfprobeArguments(const VideoJob& job);

// Writes every frame once to standard output, in NUT, with the time stamps of the source.
std::vector<std::string> DecodeArguments(const VideoJob& job, const VideoSource& source);

// Reads frames in NUT from standard input and everything else from the source. `video` describes the frames. The first
// one is shown at `firstTime`, in units of its time base.
std::vector<std::string> EncodeArguments(const VideoJob& job, const VideoSource& source, const NutVideo& video,
                                         uint64_t firstTime);

// The first and the last of ffmpeg's error messages, as the end of a sentence. The first one is usually the cause.
std::string SummaryOfMessages(const std::string& messages);

}  // namespace orvane::tool
