// The small JSON file next to a model file that describes the network.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "apps/models/network_size.h"

namespace orvane::tool {

//     { "channels": 32, "depth": 2, "reach": 4, "purpose": "photographs, fast" }
//
// Other members are allowed and ignored.
struct ModelCard {
    NetworkSize network;
    int32_t reach = 0;    // input pixels from a result to the furthest pixel that influences it; at most one per layer
    std::string purpose;  // for people; may be empty
};

// The largest reach that the layers allow: one pixel per layer.
int32_t FullReach(const NetworkSize& network);

// Where the card of a model file is: the same name with the extension .json.
std::filesystem::path CardPath(const std::filesystem::path& model);

// `text` is UTF-8. "reach" and "purpose" may be missing. Throws Failure with half a sentence that follows the file's
// name: "is not valid JSON ...".
ModelCard ParseModelCard(std::string_view text);

std::string ModelCardText(const ModelCard& card);

}  // namespace orvane::tool
