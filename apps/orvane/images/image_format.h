// The formats of image files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvane::tool {

// Those that can be written.
enum class ImageFormat { kPng, kJpeg, kTiff, kBmp };

// By the file name's extension, in upper or lower case. Nothing for other extensions.
std::optional<ImageFormat> FormatOfExtension(const std::filesystem::path& path);

// Whether a file that lies in a folder counts as an image: the formats above and WebP.
bool HasImageExtension(const std::filesystem::path& path);

std::string ExtensionOf(ImageFormat format);  // ".png"
std::string NameOf(ImageFormat format);       // "PNG"

}  // namespace orvane::tool
