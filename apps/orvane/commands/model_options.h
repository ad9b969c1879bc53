// The options that name a model.
#pragma once

#include <CLI/CLI.hpp>

#include "apps/models/model_lookup.h"

namespace orvane::tool {

// Adds --model, --channels and --depth.
void AddModelOptions(CLI::App& command, ModelOptions& options);

// Adds --channels and --depth only.
void AddNetworkOptions(CLI::App& command, ModelOptions& options);

}  // namespace orvane::tool
