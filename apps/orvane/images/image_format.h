// The kinds of image files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvane::tool {

// Those that can be written.
enum class ImageFormat { kPng, kJpeg, kTiff, kBmp };

// By the file's name, in capitals or not. Nothing for other endings.
std::optional<ImageFormat> FormatOfEnding(const std::filesystem::path& path);

// Whether a file of this name in a folder counts as an image: those that can be written, and WebP.
bool HasImageExtension(const std::filesystem::path& path);

std::string EndingOf(ImageFormat format);  // ".png"
std::string NameOf(ImageFormat format);    // "PNG"

}  // namespace orvane::tool
