// The content of a model file, read as the weights of a given network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "apps/models/network_size.h"
#include "model/network.h"

namespace orvane::tool {

// The values of one filter or bias.
struct ValueRange {
    size_t count = 0;      // values that the file has
    size_t notFinite = 0;  // infinities and NaNs
    float lowest = 0;      // of the finite values; 0 when there are none
    float highest = 0;     // likewise
};

struct LayerInspection {
    LayerShape shape;
    ValueRange filter;
    ValueRange bias;
};

struct ModelInspection {
    std::vector<LayerInspection> layers;
    uint64_t missingBytes = 0;  // the file is too short for the network: the library refuses it
    uint64_t extraBytes = 0;    // the file is too long: the library does not read the rest
    size_t notFinite = 0;       // values of all layers
};

// `plain` is the plain content of a model file; `size` must be valid.
ModelInspection InspectModel(std::span<const uint8_t> plain, const NetworkSize& size);

}  // namespace orvane::tool
