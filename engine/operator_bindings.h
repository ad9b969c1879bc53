// What DirectML needs bound to run the network's operators: descriptors, persistent and temporary memory, tables.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/directml_context.h"
#include "engine/network_graph.h"
#include "gpu/descriptor_heap.h"
#include "gpu/device_resources.h"
#include "gpu/platform.h"
#include "model/network.h"

namespace orvane {

// Created once per frame size and used by all its frames. The lists have one entry per layer. An entry is empty when
// the operator needs no such memory.
struct OperatorBindings {
    ComPtr<IDMLOperatorInitializer> initializer;
    ComPtr<ID3D12Resource> initializerTemporary;
    DescriptorHeap descriptorHeap;
    std::vector<ComPtr<ID3D12Resource>> persistentResources;
    std::vector<ComPtr<ID3D12Resource>> temporaryResources;
    std::vector<ComPtr<IDMLBindingTable>> bindingTables;
};

// Initialises the operators on the GPU, waits, and binds the buffers of all layers. 0, or -1 with the reason logged.
// Throws std::out_of_range when a descriptor would lie outside the heap.
int32_t InitializeOperators(DX::DeviceResources& resources, const DirectMLContext& context, const NetworkGraph& graph,
                            const std::vector<LayerShape>& layers, OperatorBindings& bindings);

}  // namespace orvane
