// orvane bench: how fast this machine is.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddBenchCommand(CLI::App& app);

}  // namespace orvane::tool
