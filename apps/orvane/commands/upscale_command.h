// orvane upscale: pictures.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddUpscaleCommand(CLI::App& app);

}  // namespace orvane::tool
