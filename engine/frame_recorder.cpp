#include "engine/frame_recorder.h"

#include "api/log.h"

namespace orvane {

FrameRecorder::FrameRecorder(DX::DeviceResources& resources, const DirectMLContext& context,
                             const LayoutShaders& shaders, const NetworkGraph& graph, const OperatorBindings& bindings,
                             const FrameResources& frame)
    : m_device(*resources.GetD3DDevice()),
      m_commandList(*resources.GetCommandList()),
      m_context(context),
      m_shaders(shaders),
      m_graph(graph),
      m_bindings(bindings),
      m_frame(frame) {
}

int32_t FrameRecorder::UploadFrame(const void* data, uint64_t byteSize, uint32_t rowPitch) {
    ID3D12Resource* const texture = m_frame.inputTexture.Get();
    const D3D12_SUBRESOURCE_DATA source{data, static_cast<LONG_PTR>(rowPitch), static_cast<LONG_PTR>(byteSize)};
    Transition(texture, D3D12_RESOURCE_STATE_GENERIC_READ, D3D12_RESOURCE_STATE_COPY_DEST);
    const uint64_t uploaded = UpdateSubresources(&m_commandList, texture, m_frame.uploadHeap.Get(), 0, 0, 1, &source);
    Transition(texture, D3D12_RESOURCE_STATE_COPY_DEST, D3D12_RESOURCE_STATE_GENERIC_READ);
    // Without this check the frame would show the previous image. The call reports no reason: memory is exhausted, or
    // the upload heap cannot be mapped.
    return CheckHResult(uploaded != 0 ? S_OK : E_FAIL, "UpdateSubresources");
}

void FrameRecorder::ImageToTensor(FrameSize inputSize) {
    const ImageLayoutConstants constants{inputSize.height, inputSize.width, m_graph.plan.depthToSpace.useNhwc};
    Dispatch(m_shaders.imageToTensor, m_frame.textureDescriptors, constants,
             CoverWithGroups(inputSize.width, inputSize.height), 1);
    UavBarrier();
}

void FrameRecorder::RunNetwork() {
    ID3D12DescriptorHeap* const heaps[] = {m_bindings.descriptorHeap.Get()};
    m_commandList.SetDescriptorHeaps(1, heaps);
    for (size_t i = 0; i < m_graph.operators.size(); ++i) {
        m_context.recorder->RecordDispatch(&m_commandList, m_graph.operators[i].Get(),
                                           m_bindings.bindingTables[i].Get());
        UavBarrier();
    }
}

void FrameRecorder::DepthToSpace() {
    ID3D12Resource* const tensor = m_graph.FinalTensor();
    const DepthToSpaceConstants& constants = m_graph.plan.depthToSpace;
    const DescriptorHeap& descriptors = m_frame.depthToSpaceDescriptors;

    Transition(tensor, D3D12_RESOURCE_STATE_UNORDERED_ACCESS, D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE);
    CreateTensorReadView(m_device, *tensor, descriptors.GetCpuHandle(kReadSlot));
    CreateImageWriteView(m_device, *m_frame.outputTexture.Get(), descriptors.GetCpuHandle(kWriteSlot));
    Dispatch(m_shaders.depthToSpace, descriptors, constants,
             CoverWithGroups(constants.blockSize * constants.inputW, constants.blockSize * constants.inputH),
             constants.inputN);
    Transition(tensor, D3D12_RESOURCE_STATE_NON_PIXEL_SHADER_RESOURCE, D3D12_RESOURCE_STATE_UNORDERED_ACCESS);
}

void FrameRecorder::CopyToReadback() {
    ID3D12Resource* const texture = m_frame.outputTexture.Get();
    const CD3DX12_TEXTURE_COPY_LOCATION target(m_frame.m_outputTextureReadback.Get(), m_frame.readbackFootprint);
    const CD3DX12_TEXTURE_COPY_LOCATION source(texture, 0);

    Transition(texture, D3D12_RESOURCE_STATE_UNORDERED_ACCESS, D3D12_RESOURCE_STATE_COPY_SOURCE);
    m_commandList.CopyTextureRegion(&target, 0, 0, 0, &source, nullptr);
    Transition(texture, D3D12_RESOURCE_STATE_COPY_SOURCE, D3D12_RESOURCE_STATE_UNORDERED_ACCESS);
}

void FrameRecorder::Transition(ID3D12Resource* resource, D3D12_RESOURCE_STATES before, D3D12_RESOURCE_STATES after) {
    const auto barrier = CD3DX12_RESOURCE_BARRIER::Transition(resource, before, after);
    m_commandList.ResourceBarrier(1, &barrier);
}

void FrameRecorder::UavBarrier() {
    const auto barrier = CD3DX12_RESOURCE_BARRIER::UAV(nullptr);
    m_commandList.ResourceBarrier(1, &barrier);
}

template <typename Constants>
void FrameRecorder::Dispatch(const ComputeShader& shader, const DescriptorHeap& descriptors, const Constants& constants,
                             ThreadGroups groups, uint32_t depth) {
    ID3D12DescriptorHeap* const heaps[] = {descriptors.Get()};
    m_commandList.SetDescriptorHeaps(1, heaps);
    m_commandList.SetComputeRootSignature(shader.rootSignature.Get());
    m_commandList.SetComputeRoot32BitConstants(kRootConstants, sizeof(Constants) / sizeof(uint32_t), &constants, 0);
    m_commandList.SetComputeRootDescriptorTable(kRootShaderResource, descriptors.GetGpuHandle(kReadSlot));
    m_commandList.SetComputeRootDescriptorTable(kRootUnorderedAccess, descriptors.GetGpuHandle(kWriteSlot));
    m_commandList.SetPipelineState(shader.pipelineState.Get());
    m_commandList.Dispatch(groups.x, groups.y, depth);
}

}  // namespace orvane
