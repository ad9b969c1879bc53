// orvane check: whether this machine can do it.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddCheckCommand(CLI::App& app);

}  // namespace orvane::tool
