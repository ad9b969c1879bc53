// A run over images.
#pragma once

#include <cstdint>

#include "apps/orvane/commands/model_options.h"
#include "apps/orvane/images/image_jobs.h"
#include "apps/utils/progress.h"

namespace orvane::tool {

struct UpscaleOptions {
    JobOptions jobs;
    ModelOptions model;
    ProgressOptions progress;
    int32_t quality = 95;  // of JPEG results
    int32_t passes = 1;    // how often each image is upscaled
    uint32_t tile = 2048;  // the longest side of a frame
    bool rawEdges = false;
    bool force = false;  // results that exist are replaced
    bool verbose = false;
};

// Upscales all images and says how far it is. An image that fails is named, and the others are done. Throws Failure
// at the end when any failed or Ctrl-C ended the run, and UsageError before anything is done.
void Upscale(const UpscaleOptions& options);

}  // namespace orvane::tool
