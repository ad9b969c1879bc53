// The command "upscale".
#pragma once

#include <cstdint>
#include <filesystem>

namespace orvane::tool {

struct UpscaleOptions {
    std::filesystem::path input;
    std::filesystem::path output;
    std::filesystem::path model;
    int32_t channels = 32;
    int32_t depth = 2;
    int32_t repeat = 1;  // frames to process; the first one is left out of the time when there are more
    bool verbose = false;
};

bool HasPngEnding(const std::filesystem::path& path);

// Doubles a picture file and says on standard output what it did. Throws Failure, and writes nothing then.
void Upscale(const UpscaleOptions& options);

}  // namespace orvane::tool
