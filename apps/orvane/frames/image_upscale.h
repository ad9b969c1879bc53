// Upscales whole images.
#pragma once

#include <functional>

#include "apps/orvane/frames/frame_server.h"
#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// Called after every frame of an image: the share of the image's work that it was, and what the library took.
using FrameDone = std::function<void(double share, double milliseconds)>;

// The image in twice its width and height, with its transparency and colour profile and at twice its resolution. The
// frames are processed by `server`, tile by tile. Throws what made the library fail, or Stopped.
Image UpscaleImage(Image input, FrameServer& server, const FrameDone& frameDone);

}  // namespace orvane::tool
