// The model that a command works with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "apps/models/model_lookup.h"

namespace CLI {
class App;
}

namespace orvane::tool {

// What the library needs to know of a model.
struct ModelChoice {
    std::string path;  // in the ANSI encoding, short enough for orvane_open_param
    int32_t channels = 0;
    int32_t depth = 0;
    uint32_t reach = 0;  // how far, in pixels of the input, a pixel of the result depends on what lies around it
    std::string note;    // a sentence that the user should read, or empty
};

// Where the models lie that have a name: beside the program.
std::filesystem::path WeightsFolder();

// Adds --model, --channels and --depth, or only the last two.
void AddModelOptions(CLI::App& command, ModelOptions& options);
void AddNetworkOptions(CLI::App& command, ModelOptions& options);

// Finds the model and makes sure that it is whole. Throws Failure.
ModelChoice ChooseModel(const ModelOptions& options);

}  // namespace orvane::tool
