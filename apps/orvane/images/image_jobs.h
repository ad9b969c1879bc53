// Which images become which files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/images/image_format.h"

namespace orvane::tool {

// As typed, in UTF-8.
struct JobOptions {
    std::vector<std::string> inputs;    // images and folders
    std::string list;                   // a file with a path on every line, "-" for standard input, or empty
    std::string output;                 // a folder, or a file for a single image
    std::optional<ImageFormat> format;  // of the results
    bool keepsFormat = false;           // results have their image's own format, where it can be written
};

struct ImageJob {
    std::filesystem::path input;  // LongPath()s
    std::filesystem::path output;
    std::string inputName;  // as the user knows them
    std::string outputName;
    ImageFormat format = ImageFormat::kPng;
};

// In the order of the options; those of a folder by their names. An image that is named and does not exist gets a job
// too, which fails. Throws UsageError when a result would replace an image of this run or another result, and Failure
// when there is nothing to do.
std::vector<ImageJob> FindImages(const JobOptions& options);

}  // namespace orvane::tool
