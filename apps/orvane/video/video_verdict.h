// Whether a video was upscaled as a whole. Portable.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "apps/orvane/video/video_output.h"

namespace orvane::tool {

// How the run over a video ended. Both programs have ended, and the encoder with success.
struct VideoEnd {
    bool decoderFailed = false;    // it ended with another exit code than 0, and not because it was told to
    bool hasEnoughFrames = false;  // the encoder was told to stop early
    uint64_t frames = 0;           // that came from the decoder
    double lastFrameSeconds = 0;   // when the last one is shown, from the start of what was upscaled
    std::string complaints;        // of both programs
};

enum class Verdict { kWhole, kComplainedOf, kDamaged };

// Text alone does not make a video damaged, because decoders and encoders complain of much. A failed decoder does, and
// complaints with frames missing: some of a known number, or the last half second and more.
Verdict JudgeVideo(const VideoJob& job, const VideoSource& source, const VideoEnd& end);

// Whether the encoder says that it could not write everything. Some versions of ffmpeg 5 end with success all the same.
bool CouldNotWrite(std::string_view encoderMessages);

}  // namespace orvane::tool
