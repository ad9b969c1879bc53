// Which images become which files.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/images/image_format.h"
#include "apps/utils/files/named_path.h"

namespace orvane::tool {

// As typed, in UTF-8.
struct JobOptions {
    std::vector<std::string> inputs;    // images and folders
    std::string list;                   // a file with a path on every line, "-" for standard input, or empty
    std::string output;                 // a folder, or a file for a single image
    std::optional<ImageFormat> format;  // of the results; PNG if none is given
    bool keepsFormat = false;           // results get the format of their image, if it can be written
};

struct ImageJob {
    NamedPath input;
    NamedPath output;
    ImageFormat format = ImageFormat::kPng;
};

// In the order of the options; the images of a folder are sorted by name. A named image that does not exist gets a job,
// too, which fails. Throws UsageError when a result would replace an image of this run or another result, and Failure
// when there are no images.
std::vector<ImageJob> FindImages(const JobOptions& options);

}  // namespace orvane::tool
