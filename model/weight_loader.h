// Reads the weights of all layers from a model file and keeps them. An engine that is rebuilt for another frame size
// does not read the file again.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "model/network.h"
#include "model/weight_map.h"

namespace orvane {

// Where a layer's data is in the plain model file, in bytes. The file holds the filter and the bias of each layer in
// order, without header, gaps or trailer.
struct LayerOffsets {
    uint32_t weightOffset = 0;
    uint32_t weightBytes = 0;
    uint32_t biasOffset = 0;
    uint32_t biasBytes = 0;
};

// The layout of a model file, in unsigned 32-bit arithmetic.
std::vector<LayerOffsets> CalcLayerOffsets(const NetworkConfig& config);

// The values are allocated on the general-purpose heap without throwing: if it is exhausted, the load fails.
struct FreeDeleter {
    void operator()(uint16_t* values) const { std::free(values); }
};
using HalfBlob = std::unique_ptr<uint16_t[], FreeDeleter>;

struct LayerWeights {
    HalfBlob filter;
    TensorShape filterShape{};
    HalfBlob bias;
    TensorShape biasShape{};
};

// Belongs to one engine and is used by one thread at a time.
class WeightLoader {
public:
    // Fills `weightMap` with the weights of the model file at `path` (narrow encoding). 0 on success, otherwise -1 with
    // the reason logged. Reads the file only when the path or the configuration differs from that of the weights held.
    // After a failure the loader is empty and `weightMap` is unchanged.
    int32_t LoadWeights(const std::string& path, const NetworkConfig& config, WeightMap& weightMap);

    // Forgets everything that was loaded.
    void ReleaseWeights();

    bool HoldsWeights() const { return !m_layerWeights.empty() && m_layerWeights.front().filter != nullptr; }

private:
    int32_t InitializeOffsets(const NetworkConfig& config);
    int32_t ReadLayerWeights(uint32_t layerIndex);
    void FreeLayerWeights(uint32_t layerIndex);
    int32_t GenerateWeightMap(WeightMap& weightMap) const;
    void EmptyModelStream();

    std::vector<LayerOffsets> m_offsets;
    std::vector<LayerWeights> m_layerWeights;
    NetworkConfig m_loadedConfig;
    std::string m_loadedPath;
    std::stringstream m_modelStream;
};

}  // namespace orvane
