// The network on the GPU for one frame size: operators, weights and the buffers between them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/directml_context.h"
#include "engine/frame_size.h"
#include "engine/network_weights.h"
#include "engine/tensor_buffers.h"
#include "engine/tensor_plan.h"
#include "gpu/device_resources.h"
#include "gpu/platform.h"
#include "model/network.h"
#include "model/weight_loader.h"

namespace orvane {

struct NetworkGraph {
    NetworkPlan plan;
    NetworkWeights weights;
    std::vector<ComPtr<IDMLCompiledOperator>> operators;  // one per layer
    TensorBuffers buffers;

    // The tensor that depth-to-space reads.
    ID3D12Resource* FinalTensor() const { return buffers.m_modelIntermediateResult[plan.lastLayer].Get(); }
};

// Builds the network for one frame size and replaces what `graph` holds, except its weights. Reads the model file at
// `modelPath` unless `weightLoader` still has it. 0, or -1 with the reason logged. Throws what the upload batch throws.
int32_t BuildNetworkGraph(DX::DeviceResources& resources, const DirectMLContext& context, FrameSize inputSize,
                          const NetworkConfig& config, const std::vector<LayerShape>& layers,
                          const std::string& modelPath, WeightLoader& weightLoader, NetworkGraph& graph);

}  // namespace orvane
