// orvane video: video files.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddVideoCommand(CLI::App& app);

}  // namespace orvane::tool
