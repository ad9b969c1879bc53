// The command "upscale".
#pragma once

#include <cstdint>
#include <filesystem>

#include "apps/orvane/model_options.h"

namespace orvane::tool {

struct UpscaleOptions {
    std::filesystem::path input;
    std::filesystem::path output;
    ModelOptions model;
    int32_t repeat = 1;  // frames to process; the first one is left out of the time when there are more
    bool verbose = false;
};

bool HasPngEnding(const std::filesystem::path& path);

// Doubles a picture file and says on standard output what it did. Throws Failure, and writes nothing then.
void Upscale(const UpscaleOptions& options);

}  // namespace orvane::tool
