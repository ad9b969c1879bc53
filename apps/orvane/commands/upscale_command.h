// orvane upscale: images.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddUpscaleCommand(CLI::App& app);

}  // namespace orvane::tool
