// The model that a command works with.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace orvane::tool {

// As typed.
struct ModelOptions {
    std::string model;
    int32_t channels = 32;
    int32_t depth = 2;
};

// What the library needs to know of it.
struct ModelChoice {
    std::string path;  // in the ANSI encoding, short enough for orvane_open_param
    int32_t channels = 0;
    int32_t depth = 0;

    // How far, in pixels of the input, a pixel of the result depends on what lies around it: every layer looks one
    // further.
    uint32_t Reach() const { return static_cast<uint32_t>(depth + 2); }
};

// Adds --model, --channels and --depth.
void AddModelOptions(CLI::App& command, ModelOptions& options);

// Throws Failure when there is no such model.
ModelChoice ChooseModel(const ModelOptions& options);

}  // namespace orvane::tool
