// orvane stream: frames through pipes.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddStreamCommand(CLI::App& app);

}  // namespace orvane::tool
