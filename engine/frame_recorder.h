// Records the GPU work of one frame.
#pragma once

#include <cstdint>

#include "engine/directml_context.h"
#include "engine/frame_resources.h"
#include "engine/layout_shaders.h"
#include "engine/network_graph.h"
#include "engine/operator_bindings.h"
#include "gpu/device_resources.h"

namespace orvane {

// Records one frame onto the engine's open command list. Call the functions in the order below. Borrows the parts of
// the engine.
class FrameRecorder {
public:
    FrameRecorder(DX::DeviceResources& resources, const DirectMLContext& context, const LayoutShaders& shaders,
                  const NetworkGraph& graph, const OperatorBindings& bindings, const FrameResources& frame);

    // The host's pixels into the input texture; rows are `rowPitch` bytes apart. The data is copied before this
    // returns. 0, or -1 with the reason logged when nothing could be copied.
    int32_t UploadFrame(const void* data, uint64_t byteSize, uint32_t rowPitch);
    // Input texture -> network input.
    void ImageToTensor(FrameSize inputSize);
    // Every layer in order.
    void RunNetwork();
    // Network output -> output texture.
    void DepthToSpace();
    // Output texture -> read-back buffer.
    void CopyToReadback();

private:
    void Transition(ID3D12Resource* resource, D3D12_RESOURCE_STATES before, D3D12_RESOURCE_STATES after);
    void UavBarrier();
    template <typename Constants>
    void Dispatch(const ComputeShader& shader, const DescriptorHeap& descriptors, const Constants& constants,
                  ThreadGroups groups, uint32_t depth);

    ID3D12Device& m_device;
    ID3D12GraphicsCommandList& m_commandList;
    const DirectMLContext& m_context;
    const LayoutShaders& m_shaders;
    const NetworkGraph& m_graph;
    const OperatorBindings& m_bindings;
    const FrameResources& m_frame;
};

}  // namespace orvane
