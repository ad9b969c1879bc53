// The kinds of picture files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvane::tool {

// Those that can be written.
enum class PictureFormat { kPng, kJpeg, kTiff, kBmp };

// By the file's name, in capitals or not. Nothing for other endings.
std::optional<PictureFormat> FormatOfEnding(const std::filesystem::path& path);

// Whether a file of this name in a folder counts as a picture: those that can be written, and WebP.
bool HasPictureEnding(const std::filesystem::path& path);

std::string EndingOf(PictureFormat format);  // ".png"
std::string NameOf(PictureFormat format);    // "PNG"

}  // namespace orvane::tool
