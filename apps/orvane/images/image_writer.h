// Writes images.
#pragma once

#include <filesystem>

#include "apps/orvane/frames/image.h"
#include "apps/orvane/images/image_format.h"
#include "apps/orvane/images/image_reader.h"

namespace orvane::tool {

struct WritingOptions {
    ImageFormat format = ImageFormat::kPng;
    int32_t quality = 95;  // of JPEG, 1..100
};

// Writes a file with 8 bits per channel and the image's colours, transparency, colour profile and resolution. Calls
// `warn` for what the format or this system cannot keep. Throws Failure, and may then leave a half-written file. Needs
// COM on this thread.
void WriteImage(const std::filesystem::path& path, const Image& image, const WritingOptions& options,
                const Warning& warn);

}  // namespace orvane::tool
