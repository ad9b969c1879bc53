// The ffmpeg that reads and writes videos. Windows only.
#pragma once

#include <filesystem>

#include "apps/orvane/video/ffmpeg_arguments.h"
#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// `named` if it is not empty, else ffmpeg.exe beside this program, else the one in PATH. The current folder is not
// looked into. Throws Failure that says how to get one.
std::filesystem::path FindFfmpeg(const std::filesystem::path& named);

// Asks ffmpeg what the job's input holds. Throws Failure when that is no video.
VideoSource ProbeVideo(const std::filesystem::path& ffmpeg, const VideoJob& job);

}  // namespace orvane::tool
