// orvane model: model files.
#pragma once

#include <CLI/CLI.hpp>

namespace orvane::tool {

void AddModelCommand(CLI::App& app);

}  // namespace orvane::tool
