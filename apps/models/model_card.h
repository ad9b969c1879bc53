// The small JSON file that lies beside a model file and says what it holds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "apps/models/network_size.h"

namespace orvane::tool {

//     { "channels": 32, "depth": 2, "reach": 4, "purpose": "photographs, fast" }
//
// Further members are allowed and not read.
struct ModelCard {
    NetworkSize network;
    int32_t reach = 0;    // how many input pixels away a pixel can influence a result; at most the number of layers
    std::string purpose;  // for people; may be empty
};

// What the layers allow, which is what a network reaches unless its weights are known to reach less.
int32_t FullReach(const NetworkSize& network);

// The card's file of a model file: the same name ending in .json.
std::filesystem::path CardPath(const std::filesystem::path& model);

// `text` in UTF-8. "reach" and "purpose" may be missing. Throws Failure with half a sentence that goes on after a
// file name: "is not valid JSON ...".
ModelCard ParseModelCard(std::string_view text);

std::string ModelCardText(const ModelCard& card);

}  // namespace orvane::tool
