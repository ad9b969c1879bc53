// Passes weights to the GPU side: the filter and the bias of each layer by name.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvane {

// Half-precision values as bit patterns, in file order, under "filter1", "bias1", "filter2", ...
using WeightMap = std::map<std::string, std::vector<uint16_t>>;

// Layer indices count from 0, the numbers in keys from 1.
inline std::string FilterKey(uint32_t layerIndex) {
    return "filter" + std::to_string(layerIndex + 1);
}
inline std::string BiasKey(uint32_t layerIndex) {
    return "bias" + std::to_string(layerIndex + 1);
}

}  // namespace orvane
