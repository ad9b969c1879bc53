// A run over images.
#pragma once

#include <cstdint>

#include "apps/orvane/frames/frame_run.h"
#include "apps/orvane/images/image_jobs.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct ImageOptions {
    JobOptions jobs;
    FrameOptions frames;
    ProgressOptions progress;
    int32_t quality = 95;  // of JPEG results, 1 to 100
    bool force = false;    // results that exist are replaced
};

// Upscales all images and reports the progress. An image that fails is named, and the others are done. Throws Failure
// at the end when an image failed or Ctrl-C ended the run, and UsageError before anything is done.
void UpscaleImages(const ImageOptions& options);

}  // namespace orvane::tool
