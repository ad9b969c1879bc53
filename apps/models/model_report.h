// Reports on model files, as text and as JSON.
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
    std::vector<NetworkSize> fitting;  // the networks that fit the file's length
    std::optional<ModelCard> card;
    std::optional<NetworkSize> network;  // the one that was inspected; none if it is unknown
    ModelInspection inspection;

    // Whether the library accepts the file and all values are finite.
    bool IsSound() const;
};

// Reads and inspects the file. Throws Failure when it cannot be read or is damaged.
ModelReport InspectModelFile(const ModelOptions& options, const std::filesystem::path& weightsFolder);

std::string TextOf(const ModelReport& report);
std::string JsonOf(const ModelReport& report);

std::string TextOf(const std::vector<ListedModel>& models, const std::filesystem::path& weightsFolder);
std::string JsonOf(const std::vector<ListedModel>& models, const std::filesystem::path& weightsFolder);

}  // namespace orvane::tool
