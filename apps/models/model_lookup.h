// Finds the model that a name or a path means. Names are those of the weights folder next to the program.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/models/model_card.h"

namespace orvane::tool {

// As the command line gives them.
struct ModelOptions {
    std::string model = "default";    // a name, or a path in UTF-8
    std::optional<int32_t> channels;  // if not given, the model's card says it, or else its length
    std::optional<int32_t> depth;     // likewise
};

struct FoundModel {
    std::filesystem::path path;
    NetworkSize network;
    int32_t reach = 0;    // input pixels, see ModelCard
    std::string purpose;  // may be empty
    std::string note;     // a sentence for the user, or empty
};

// A word without a dot, a colon or a slash is a name. Everything else is a path.
bool IsModelName(const std::string& text);

// The file that a name or a path means. If there is no model "default", the bilinear placeholder "interpolating" is
// used instead, and the note says so. Throws Failure, which lists the known names, for an unknown name.
std::filesystem::path FindModelFile(const std::string& model, const std::filesystem::path& weightsFolder,
                                    std::string& note);

// The card of a model file, if it has one. Throws Failure when the card is broken.
std::optional<ModelCard> ReadCardOf(const std::filesystem::path& model);

// Finds and reads the model. Throws Failure when it is damaged or too short for its network.
FoundModel FindModel(const ModelOptions& options, const std::filesystem::path& weightsFolder);

// A model of the weights folder.
struct ListedModel {
    std::string name;
    FoundModel model;
    std::string problem;  // a sentence that says why it cannot be used, or empty
};

// Sorted by name. Empty when there is no such folder.
std::vector<ListedModel> ListModels(const std::filesystem::path& weightsFolder);

}  // namespace orvane::tool
