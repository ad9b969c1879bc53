// What there is to say of model files, for people and for programs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/models/model_card.h"
#include "apps/models/model_file.h"
#include "apps/models/model_inspection.h"
#include "apps/models/model_lookup.h"

namespace orvane::tool {

struct ModelReport {
    std::string note;  // a sentence, or empty
    std::filesystem::path path;
    uint64_t fileBytes = 0;
    uint64_t plainBytes = 0;
    std::vector<NetworkSize> fitting;    // whose length is the file's
    std::optional<ModelCard> card;       // what is known of the model
    std::optional<NetworkSize> network;  // that the inspection is of; none if nothing tells
    ModelInspection inspection;

    // Whether the library would take it and its values are numbers.
    bool IsSound() const;
};

// Reads the file and looks into it. Throws Failure when it cannot be read or is damaged.
ModelReport InspectModelFile(const ModelOptions& options, const std::filesystem::path& weightsFolder);

std::string TextOf(const ModelReport& report);
std::string JsonOf(const ModelReport& report);

std::string TextOf(const std::vector<ListedModel>& models, const std::filesystem::path& weightsFolder);
std::string JsonOf(const std::vector<ListedModel>& models, const std::filesystem::path& weightsFolder);

}  // namespace orvane::tool
