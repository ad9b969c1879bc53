// The model that a run works with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "apps/models/model_lookup.h"

namespace orvane::tool {

// What the library needs to know of a model.
struct ModelChoice {
    std::string path;  // in the ANSI encoding, short enough for orvane_open_param
    int32_t channels = 0;
    int32_t depth = 0;
    uint32_t reach = 0;  // how many input pixels around its own a pixel of the result depends on
    std::string note;    // a sentence that the user should read, or empty
};

// The folder of the models that have a name: "weights" beside the program.
std::filesystem::path WeightsFolder();

// Finds the model and checks that its file is complete. Throws Failure.
ModelChoice ChooseModel(const ModelOptions& options);

}  // namespace orvane::tool
