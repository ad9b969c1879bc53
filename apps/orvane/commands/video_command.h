// orvane video: a video file in, a larger one out.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddVideoCommand(CLI::App& app);

}  // namespace orvane::tool
