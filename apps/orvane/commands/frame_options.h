// The options of every command that upscales.
#pragma once

#include <CLI/CLI.hpp>

#include "apps/orvane/frames/frame_run.h"

namespace orvane::tool {

// Adds --model, --channels, --depth, --passes, --tile, --raw-edges and --verbose.
void AddFrameOptions(CLI::App& command, FrameOptions& options);

}  // namespace orvane::tool
