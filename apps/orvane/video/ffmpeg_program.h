// Finds and asks the ffmpeg that reads and writes videos. Windows only.
#pragma once

#include <filesystem>
#include <string>

#include "apps/orvane/video/ffmpeg_arguments.h"
#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// Returns `named` if it is not empty, else ffmpeg.exe beside this program, else the one in PATH. The current folder is
// not searched. Throws Failure that tells how to get ffmpeg.
std::filesystem::path FindFfmpeg(const std::filesystem::path& named);

// Asks ffmpeg about the job's input. Throws Failure, with the input's `name`, when that is not a video.
VideoSource ProbeVideo(const std::filesystem::path& ffmpeg, const VideoJob& job, const std::string& name);

}  // namespace orvane::tool
