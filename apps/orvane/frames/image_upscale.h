// Upscales whole images.
#pragma once

#include <functional>

#include "apps/orvane/frames/frame_server.h"
#include "apps/orvane/frames/image.h"

namespace orvane::tool {

// Called after every frame of an image, with the frame's share of the image's work (0 to 1) and the library's time.
using FrameDone = std::function<void(double share, double milliseconds)>;

// Returns the image in twice its width and height and at twice its resolution, with its transparency and colour
// profile. Sends the tiles to `server`, on another thread than the server's. Throws the library's Failure, or Stopped.
Image UpscaleImage(Image input, FrameServer& server, const FrameDone& frameDone);

}  // namespace orvane::tool
