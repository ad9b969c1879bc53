// What ffprobe tells about a video file. Portable.
#pragma once

#include <string_view>

#include "apps/orvane/video/video_source.h"

namespace orvane::tool {

// Reads what ffprobe prints with `-of json` and FfprobeArguments. The result has no video when that is not
// JSON. It tells more than ParseVideoSource: duration and frame count of the video itself, and HDR data of its frames.
VideoSource ParseFfprobeReport(std::string_view text);

}  // namespace orvane::tool
