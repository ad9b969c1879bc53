// Which model is meant: by a name, from the weights folder beside the program, or by a path.
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
    std::optional<int32_t> channels;  // when they are not given, the model's card or its length says them
    std::optional<int32_t> depth;
};

struct FoundModel {
    std::filesystem::path path;
    NetworkSize network;
    int32_t reach = 0;    // input pixels, see ModelCard
    std::string purpose;  // may be empty
    std::string note;     // a sentence for the user, or empty
};

// A word without a dot, a colon or a slash is a name; everything else is a path.
bool IsModelName(const std::string& text);

// The file that a name or a path means. As long as there is no model "default", "interpolating" stands in for it, and
// the note says so. Throws Failure, with the names that there are, when there is no such name.
std::filesystem::path FindModelFile(const std::string& model, const std::filesystem::path& weightsFolder,
                                    std::string& note);

// The card of a model file, if it has one. Throws Failure when that is broken.
std::optional<ModelCard> ReadCardOf(const std::filesystem::path& model);

// Finds the model, reads it, and makes sure that it is whole and long enough for its network. Throws Failure.
FoundModel FindModel(const ModelOptions& options, const std::filesystem::path& weightsFolder);

// A model of the weights folder, with what is wrong with it as a sentence, if anything is.
struct ListedModel {
    std::string name;
    FoundModel model;
    std::string problem;
};

// By name; empty when there is no such folder.
std::vector<ListedModel> ListModels(const std::filesystem::path& weightsFolder);

}  // namespace orvane::tool
