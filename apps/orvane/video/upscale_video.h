// Upscales videos.
#pragma once

#include <filesystem>

#include "apps/orvane/commands/model_options.h"
#include "apps/orvane/video/frame_line.h"
#include "apps/orvane/video/video_output.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct VideoOptions {
    std::filesystem::path input;
    std::filesystem::path output;
    std::filesystem::path ffmpeg;  // empty: to be found
    VideoJob job;                  // its paths are filled in here
    bool force = false;            // an older output is replaced
    ModelChoice model;
    FrameOptions upscale;
    bool verbose = false;
};

// Throws Failure and leaves nothing behind then; but when the source turns out to be damaged the output holds what
// could be read of it.
void UpscaleVideo(const VideoOptions& options, Progress& progress);

}  // namespace orvane::tool
