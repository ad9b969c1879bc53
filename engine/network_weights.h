// The weights of the network in GPU memory.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/tensor_plan.h"
#include "gpu/device_resources.h"
#include "gpu/platform.h"
#include "model/network.h"
#include "model/weight_map.h"

namespace orvane {

// One filter and one bias buffer per layer. An entry is empty when its buffer could not be created.
struct NetworkWeights {
    std::vector<ComPtr<ID3D12Resource>> filters;
    std::vector<ComPtr<ID3D12Resource>> biases;

    bool IsEmpty() const { return filters.empty() || !filters.front(); }
};

// Uploads the weights of all layers in the order of the layout and waits until they have arrived. A buffer that cannot
// be created is logged and left out. Throws what the upload batch throws.
void UploadWeights(DX::DeviceResources& resources, const std::vector<LayerShape>& layers, TensorLayout layout,
                   WeightMap weightMap, NetworkWeights& weights);

}  // namespace orvane
