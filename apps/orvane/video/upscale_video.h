// Upscales videos.
#pragma once

#include <filesystem>

#include "apps/orvane/frames/frame_run.h"
#include "apps/orvane/video/video_output.h"
#include "apps/utils/files/named_path.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct VideoOptions {
    NamedPath input;  // absolute paths, but not in Windows' long form, which is not for ffmpeg
    NamedPath output;
    std::filesystem::path ffmpeg;  // empty: see FindFfmpeg
    VideoJob job;                  // its paths are filled in by UpscaleVideo
    bool force = false;            // an existing output is replaced
    FrameOptions frames;
};

// Throws Failure and then leaves nothing behind, with two exceptions. When the source turns out to be damaged, the
// output holds what could be read of it. When the output cannot be replaced at the end, the finished video keeps its
// temporary name, which the failure tells.
void UpscaleVideo(const VideoOptions& options, Progress& progress);

}  // namespace orvane::tool
